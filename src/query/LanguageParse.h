#pragma once
#include <any>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "query/CommandFactory.h"
#include "query/CommandRecogniserResult.h"
#include "query/QuerySettings.h"
#include "query/SentenceComponent.h"
#include "query/SentenceTemplate.h"

namespace velmora {

// What a variable parser took from the front of the remaining words: a value
// (empty when the words are consumed without adding an argument) and how
// many words it used.
struct VariableParserResult {
  std::any value;
  int numberOfConsumedWords = 0;
};

// Matches the words of a command area against the sentence templates and
// makes commands through the factories. Holds the variable parsers
// ("~string", "~integer", ...) and the completors of the auto-completion.
class LanguageParse {
 public:
  // The words from the parser's position to the end of the command area, and
  // the settings of the query being parsed.
  using Words = std::span<const SentenceComponent>;
  using VariableParser = std::function<std::optional<VariableParserResult>(Words words, const QuerySettings& settings)>;
  using VariableCompletor =
      std::function<std::optional<std::string>(const std::vector<SentenceComponent>& words)>;

  std::map<std::string, VariableParser> variableParsers;
  std::map<std::string, VariableCompletor> variableCompletors;

  LanguageParse();

  // All commands in the words, in the order of their first words, with every
  // recognised word. Words that start no command are skipped.
  // Each word is looked at by a bounded number of template attempts, so the
  // time grows with the number of words, not with its square.
  std::optional<CommandRecogniserResult> allMatches(Words inputWords, const QuerySettings& settings = {}) const;

  // The template that wins at the head of the words, with its arguments:
  // the first complete match with the most words.
  std::optional<MatchedSentenceTemplate> bestMatch(Words inputWords, const QuerySettings& settings = {}) const;

  // The templates in use: the embedded file, unless replaced (tests, tools).
  const std::vector<SentenceTemplate>& templates() const;
  void useTemplates(std::shared_ptr<const std::vector<SentenceTemplate>> templates);

  // The factory table, in its fixed order. Families built in other libraries
  // (content, mail, image, metadata, app lists) fill their slot with
  // plugFactory at start-up, before the first query; until then their
  // command names are recognised and make no command.
  static const std::vector<std::shared_ptr<CommandFactory>>& factories();
  static bool plugFactory(std::string_view slotName, std::shared_ptr<CommandFactory> factory);
  // The first factory that implements the name, or nothing.
  static std::shared_ptr<CommandFactory> findFactory(std::string_view commandName);

 private:
  // The one command at the head of the words (if any) and the words that
  // template attempts recognised.
  // `recognisedCount` is how many words from the head any template attempt
  // recognised.
  CommandRecogniserResult doesMatch(Words inputWords, const QuerySettings& settings,
                                    std::size_t& recognisedCount) const;
  std::optional<MatchedSentenceTemplate> match(Words inputWords, const QuerySettings& settings,
                                               std::size_t& recognisedCount) const;

  // The templates that can start at a word, in template order: those whose
  // first word is that word, and those that start with a variable. Keeps the
  // parse of a long command area from trying every template at every word.
  struct CompiledTemplate {
    const SentenceTemplate* sentence = nullptr;
    // The parser of each word, or null for a word matched literally.
    std::vector<const VariableParser*> parsers;
  };
  struct TemplateIndex {
    std::vector<CompiledTemplate> compiled;  // in file order
    std::unordered_map<std::string, std::vector<std::size_t>> byFirstWord;
    std::vector<std::size_t> variableFirst;
  };
  void buildIndex();
  const std::vector<std::size_t>& candidatesStartingWith(const std::string& word) const;

  std::shared_ptr<const std::vector<SentenceTemplate>> templates_;
  TemplateIndex index_;
};

}  // namespace velmora
