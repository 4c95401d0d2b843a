// `velmora explain QUERY [--json]`: how a query was understood — its words,
// the commands recognised, what was left unrecognised, and the hints the
// data sources get. Answers "why did my query match that?".
#include <CLI/CLI.hpp>

#include <ctime>
#include <iostream>
#include <memory>
#include <string>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "app/CliRegistry.h"
#include "common/JSONText.h"
#include "query/QueryContainer.h"
#include "stores/PreferenceStore.h"

namespace velmora::app {

namespace {

using Json = nlohmann::ordered_json;

std::string isoDate(Date date) {
  std::time_t seconds = std::chrono::system_clock::to_time_t(date);
  std::tm utc{};
  gmtime_r(&seconds, &utc);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
  return text;
}

Json componentJSON(const SentenceComponent& c) {
  Json parent = Json::array();
  for (const auto& p : c.parent) parent.push_back(componentJSON(p));
  return Json{{"textLowered", c.textLowered},
              {"textOriginalCase", c.textOriginalCase},
              {"position", {{"lowerBound", c.position.lowerBound}, {"upperBound", c.position.upperBound}}},
              {"isAfterAColon", c.isAfterAColon},
              {"wasInQuotes", c.wasInQuotes},
              {"parent", parent},
              {"wildcard", toString(c.wildcard)}};
}

Json componentsJSON(const std::vector<SentenceComponent>& parts) {
  Json list = Json::array();
  for (const auto& c : parts) list.push_back(componentJSON(c));
  return list;
}

template <typename T, typename Fn>
Json rangeJSON(const std::optional<ValueRange<T>>& range, Fn convert) {
  if (!range) return nullptr;
  return Json{{"lowerBound", convert(range->lowerBound)}, {"upperBound", convert(range->upperBound)}};
}

Json argumentsJSON(const QuerySearchArguments& a) {
  return Json{{"checkPathForResults", a.checkPathForResults},
              {"word", a.word ? Json(*a.word) : Json(nullptr)},
              {"modificationDate", rangeJSON(a.modificationDate, isoDate)},
              {"creationDate", rangeJSON(a.creationDate, isoDate)},
              {"fileSize", rangeJSON(a.fileSize, [](std::uint64_t n) { return n; })}};
}

Json explainJSON(const QueryContainer& q) {
  Json commands = Json::array();
  for (const auto& c : q.commandsFoundInQuery)
    commands.push_back(Json{{"type", c->typeName()},
                            {"commandToString", c->commandToString()},
                            {"commandIsOnlyAFilter", c->commandIsOnlyAFilter()},
                            {"commandStopsWordBasedSearches", c->commandStopsWordBasedSearches()},
                            {"commandConsumedParts", componentsJSON(c->commandConsumedParts())}});
  return Json{{"baseString", q.baseString},
              {"allWords", componentsJSON(q.allWords)},
              {"searchWords", q.searchWords},
              {"searchWordsOriginalCase", q.searchWordsOriginalCase},
              {"orStringGroups", q.orStringGroups},
              {"includesORStatement", q.includesORStatement},
              {"isWordBasedSearch", q.isWordBasedSearch()},
              {"isORCommandSearch", q.isORCommandSearch()},
              {"commandsFoundInQuery", commands},
              {"allRecoginsedParts", componentsJSON(q.allRecoginsedParts)},
              {"unusedCommandAreaWords", componentsJSON(q.unusedCommandAreaWords)},
              {"invalidCommandAreaWords", componentsJSON(q.invalidCommandAreaWords)},
              {"failedCommandAreaWords", componentsJSON(q.failedCommandAreaWords)},
              {"querySearchArguments", argumentsJSON(q.querySearchArguments)},
              {"searchWordsHighlightStrings", q.searchWordsHighlightStrings},
              {"searchWordStringsSoundexValues", q.searchWordStringsSoundexValues}};
}

std::string listed(const std::vector<std::string>& words) {
  if (words.empty()) return "(none)";
  std::string text;
  for (const auto& w : words) text += (text.empty() ? "\"" : ", \"") + w + "\"";
  return text;
}

std::string listed(const std::vector<SentenceComponent>& parts) {
  std::vector<std::string> words;
  for (const auto& p : parts) words.push_back(p.textOriginalCase);
  return listed(words);
}

std::string explainText(const QueryContainer& q) {
  std::string out = fmt::format("Query: {}\n", q.baseString);
  out += "Words:\n";
  if (q.allWords.empty()) out += "  (none)\n";
  for (const auto& w : q.allWords) {
    std::string flags;
    if (w.isAfterAColon) flags += " after-colon";
    if (w.wasInQuotes) flags += " quoted";
    if (w.wildcard != SentenceComponent::Wildcard::none) flags += fmt::format(" wildcard={}", toString(w.wildcard));
    if (containsComponent(q.allRecoginsedParts, w)) flags += " recognised";
    out += fmt::format("  {:>3}-{:<3} \"{}\"{}\n", w.position.lowerBound, w.position.upperBound, w.textOriginalCase,
                       flags);
  }
  out += fmt::format("Search words: {}\n", listed(q.searchWords));
  out += fmt::format("As typed: {}\n", listed(q.searchWordsOriginalCase));
  if (q.includesORStatement) {
    out += "OR groups:";
    for (const auto& g : q.orStringGroups) out += " (" + listed(g) + ")";
    out += "\n";
  }
  out += "Commands:\n";
  if (q.commandsFoundInQuery.empty()) out += "  (none)\n";
  for (const auto& c : q.commandsFoundInQuery) {
    std::string text = c->commandToString();
    out += fmt::format("  {}{}{}\n", c->typeName(), text.empty() ? "" : ": " + text,
                       c->commandIsOnlyAFilter() ? " (filter)" : "");
  }
  out += fmt::format("Recognised words: {}\n", listed(q.allRecoginsedParts));
  out += fmt::format("Unrecognised command words: {}\n", listed(q.unusedCommandAreaWords));
  out += fmt::format("Words no command used: {}\n", listed(q.invalidCommandAreaWords));
  out += fmt::format("Phrases that made no command: {}\n", listed(q.failedCommandAreaWords));
  const auto& a = q.querySearchArguments;
  out += "Search arguments:";
  out += a.word ? fmt::format(" word \"{}\"", *a.word) : " no word";
  if (!a.checkPathForResults) out += ", any location";
  if (a.modificationDate)
    out += fmt::format(", modified {} to {}", isoDate(a.modificationDate->lowerBound), isoDate(a.modificationDate->upperBound));
  if (a.creationDate)
    out += fmt::format(", created {} to {}", isoDate(a.creationDate->lowerBound), isoDate(a.creationDate->upperBound));
  if (a.fileSize) out += fmt::format(", size {} to {} bytes", a.fileSize->lowerBound, a.fileSize->upperBound);
  out += "\n";
  out += fmt::format("Word-based search: {}\n", q.isWordBasedSearch() ? "yes" : "no");
  out += fmt::format("Names OR commands: {}\n", q.isORCommandSearch() ? "yes" : "no");
  out += fmt::format("Highlighted: {}\n", listed(q.searchWordsHighlightStrings));
  return out;
}

const bool registered = registerCli(20, [](CLI::App& root, CliContext& context) {
  CLI::App* explain = root.add_subcommand("explain", "show how a query is understood: words, commands, what was not recognised");
  auto json = std::make_shared<bool>(false);
  auto soundex = std::make_shared<bool>(false);
  explain->add_flag("--json", *json, "print JSON; keys are the query's field names");
  explain->add_flag("--soundex", *soundex, "match names by how they sound");
  // The query is everything from the first word that is no option of ours,
  // so that a query may begin with "-" (a negative word) and several
  // arguments make one query; so do the words after "--".
  explain->prefix_command();
  auto afterDashes = std::make_shared<std::vector<std::string>>();
  explain->add_option("QUERY", *afterDashes, "the query");
  explain->footer("QUERY: the query, e.g. \"report budget : modified today\" or \"-draft report\"");
  explain->callback([&context, explain, json, soundex, afterDashes] {
    std::string query;
    auto words = explain->remaining();
    words.insert(words.end(), afterDashes->begin(), afterDashes->end());
    words.insert(words.end(), context.afterDashes.begin(), context.afterDashes.end());
    context.afterDashesTaken = true;
    // An empty argument is the empty query, which is legal (not word based);
    // no argument at all is a usage error.
    if (words.empty()) throw CLI::RequiredError("QUERY");
    for (std::size_t i = 0; i < words.size(); ++i) query += (i ? " " : "") + words[i];
    QueryContainer parsed(query, std::nullopt, *soundex, QuerySettings::fromPreferences(PreferenceStore::shared()));
    if (*json)
      std::cout << JSONText::dump(explainJSON(parsed), 2) << "\n";
    else
      std::cout << explainText(parsed);
    std::cout.flush();
    context.exitCode = 0;
  });
});

}  // namespace

}  // namespace velmora::app
