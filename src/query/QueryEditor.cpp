#include "query/QueryEditor.h"

#include <typeinfo>

#include "query/QueryContainer.h"

namespace velmora {

namespace {
bool sameType(const Command& a, const Command& b) { return typeid(a) == typeid(b); }

std::string joined(const std::string& words, const std::string& commands) {
  return commands.empty() ? words : words + " " + commands;
}

// Commands typed after the colon; the ones the word area makes by itself
// (negative words, wildcards) stay with the words as typed.
std::vector<std::shared_ptr<Command>> commandAreaCommands(const QueryContainer& parsed) {
  std::vector<std::shared_ptr<Command>> commands;
  for (const auto& c : parsed.commandsFoundInQuery)
    if (!c->commandConsumedParts().empty()) commands.push_back(c);
  return commands;
}
}  // namespace

std::string QueryEditor::preCommandsQueryPortion() const {
  std::string_view text = query;
  text = text.substr(0, text.find(':'));
  auto begin = text.find_first_not_of(" \t");
  if (begin == std::string_view::npos) return {};
  auto end = text.find_last_not_of(" \t");
  return std::string(text.substr(begin, end - begin + 1));
}

std::string QueryEditor::insert(const std::shared_ptr<Command>& command, bool useExample) const {
  QueryContainer parsed(query, std::nullopt, false, settings);
  std::vector<std::shared_ptr<Command>> commands;
  for (const auto& c : commandAreaCommands(parsed))
    if (!sameType(*c, *command)) commands.push_back(c);
  commands.push_back(command);
  return joined(preCommandsQueryPortion(), commandsString(commands, useExample ? command.get() : nullptr));
}

std::string QueryEditor::remove(const Command& command) const {
  QueryContainer parsed(query, std::nullopt, false, settings);
  std::vector<std::shared_ptr<Command>> commands;
  for (const auto& c : commandAreaCommands(parsed))
    if (!(sameType(*c, command) && c->isTemplateEqualTo(command))) commands.push_back(c);
  return joined(preCommandsQueryPortion(), commandsString(commands));
}

std::string QueryEditor::commandsString(const std::vector<std::shared_ptr<Command>>& commands, const Command* example) {
  std::string text;
  for (std::size_t i = 0; i < commands.size(); ++i) {
    const Command& c = *commands[i];
    if (i > 0) text += " ";
    text += example && sameType(c, *example) ? c.commandExample() : c.commandToQueryText();
  }
  return text.empty() ? text : ": " + text;
}

}  // namespace velmora
