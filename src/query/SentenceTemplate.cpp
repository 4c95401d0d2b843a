#include "query/SentenceTemplate.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace velmora {

namespace {

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> pieces;
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t end = text.find(separator, start);
    if (end == std::string_view::npos) end = text.size();
    if (end > start) pieces.emplace_back(text.substr(start, end - start));
    start = end + 1;
  }
  return pieces;
}

std::string newTemplateId() {
  static std::atomic<unsigned long long> next{1};
  return "template-" + std::to_string(next.fetch_add(1));
}

}  // namespace

bool SentenceTemplate::isTemplateLine(std::string_view line) { return !SentenceComponent::parseWords(line).empty(); }

SentenceTemplate::SentenceTemplate(std::string_view line) : debugTemplate(line), id(newTemplateId()) {
  std::vector<SentenceComponent> all = SentenceComponent::parseWords(line);
  if (all.empty()) {
    std::fprintf(stderr, "SentenceTemplate: a template line holds no word\n");
    std::abort();
  }
  const std::string descriptor = all.back().textOriginalCase;
  all.pop_back();
  components = std::move(all);
  for (const SentenceComponent& c : components) {
    words.push_back(c.textOriginalCase);
    keys.push_back(variableKey(c.textOriginalCase));
  }
  numberOfKeywords = int(words.size());

  std::vector<std::string> pieces = split(descriptor, '/');
  if (!pieces.empty()) command = pieces.front();
  if (descriptor.find('/') != std::string::npos && !pieces.empty()) {
    for (const std::string& item : split(pieces.back(), ',')) {
      std::vector<std::string> pair = split(item, '=');
      if (pair.size() == 2) flags[pair[0]] = pair[1];
    }
  }
}

std::string SentenceTemplate::variableKey(std::string_view word) {
  std::vector<std::string> pieces = split(word, '/');
  if (pieces.size() == 2) return pieces[0];
  return std::string(word);
}

std::string SentenceTemplate::completorKey(std::string_view word) {
  std::vector<std::string> pieces = split(word, '/');
  if (pieces.size() == 2) return pieces[1];
  return {};
}

}  // namespace velmora
