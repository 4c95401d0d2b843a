#pragma once
#include <span>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "query/CommandFactory.h"
#include "query/LanguageParse.h"

namespace velmora {

// "is audio", "kind pdf": keeps items whose content type is, or is described
// by, the word. Content types come from GIO (shared-mime-info), standing for
// uniform type identifiers.
class UTICommand : public Command {
 public:
  explicit UTICommand(std::string wantedUTI) : wantedUTI(std::move(wantedUTI)) {}

  std::string wantedUTI;

  // The five words that name a broad family of types.
  static std::optional<std::string_view> specialCaseToUTI(std::string_view word);
  // Whether a file of this name conforms to one of those families.
  static bool conformsTo(std::string_view path, bool isDirectory, std::string_view uti);
  // Whether the word occurs in the description, MIME type, parents or
  // extension of the type that the extension declares.
  static bool utiInformationIncludesWord(std::string_view extension, std::string_view path, std::string_view word);
  // Words offered for completion; a word that is a proper prefix of one is
  // not taken yet.
  static const std::vector<std::string>& knownWords();

  std::string commandToString() const override { return wantedUTI; }
  std::string commandExample() const override { return "is **" + wantedUTI + "**"; }
  CommandApplyResult commandImpApply(SearchResult& result, SearchDataSourceDelegate*, const QueryContainer&) override;
  bool isTemplateEqualTo(const Command& other) const override;
  std::shared_ptr<Command> copy() const override { return std::make_shared<UTICommand>(wantedUTI); }
};

class UTICommandFactory : public CommandFactory {
 public:
  std::vector<std::string> commandNames() const override { return {"uti"}; }
  std::shared_ptr<Command> create(const std::string& name, const Args& args, const Flags& flags) const override;

  // The "~uti" variable.
  static std::optional<VariableParserResult> utiVariable(std::span<const SentenceComponent> words);
  // The "~utiCompletor": the first known word that begins with the word.
  static std::optional<std::string> utiCompletor(const std::vector<SentenceComponent>& words);
};

}  // namespace velmora
