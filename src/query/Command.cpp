#include "query/Command.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <typeinfo>

namespace velmora {

std::string Command::typeName() const {
  const char* mangled = typeid(*this).name();
  int status = 0;
  std::unique_ptr<char, decltype(&std::free)> demangled(abi::__cxa_demangle(mangled, nullptr, nullptr, &status),
                                                        &std::free);
  std::string name = status == 0 && demangled ? demangled.get() : mangled;
  if (auto colon = name.rfind("::"); colon != std::string::npos) name.erase(0, colon + 2);
  return name;
}

namespace {
std::string quoted(const std::string& text) {
  std::string out = "\"";
  for (char c : text) {
    if (c == '"') out += '\\';
    out += c;
  }
  return out + "\"";
}
}  // namespace

std::string Command::commandToQueryText() const {
  if (consumedParts_.empty()) return commandToString();
  std::string text;
  const SentenceComponent* lastParent = nullptr;
  const SentenceComponent* previous = nullptr;
  for (const SentenceComponent& part : consumedParts_) {
    // "^a.*z$" arrives as "^a." with a trailing star touching "z$".
    const bool touches = previous && previous->wildcard == SentenceComponent::Wildcard::prefix &&
                         part.position.lowerBound == previous->position.upperBound + 1;
    previous = &part;
    std::string word;
    if (!part.parent.empty()) {
      // Words split from one quoted phrase are written as that phrase, once.
      const SentenceComponent& parent = part.parent.front();
      if (lastParent && *lastParent == parent) continue;
      lastParent = &part.parent.front();
      word = quoted(parent.textOriginalCase);
    } else {
      lastParent = nullptr;
      word = part.wasInQuotes ? quoted(part.textOriginalCase) : part.textOriginalCase;
      if (part.wildcard == SentenceComponent::Wildcard::prefix) word += '*';
      if (part.wildcard == SentenceComponent::Wildcard::suffix) word.insert(word.begin(), '*');
    }
    text += (text.empty() || touches ? "" : " ") + word;
  }
  return text;
}

std::string Command::debugDescription() const { return "<" + typeName() + " " + commandToString() + ">"; }

}  // namespace velmora
