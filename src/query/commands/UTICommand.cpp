#include "query/commands/UTICommand.h"

#include <typeinfo>

#include <gio/gio.h>

#include "query/commands/CommandSupport.h"
#include "model/SearchResult.h"
#include "common/PathText.h"
#include "common/TextCase.h"

namespace velmora {

namespace {

struct GFreeString {
  gchar* text;
  ~GFreeString() { g_free(text); }
  std::string str() const { return text ? std::string(text) : std::string(); }
};

// GIO's type tree differs from the platform identifiers: html and json are
// kinds of text/plain there, documents kinds of zip. The families are
// therefore decided here, by MIME prefix and a few explicit parents.
bool conformsToFamily(const std::string& contentType, std::string_view uti) {
  GFreeString mime{g_content_type_get_mime_type(contentType.c_str())};
  const std::string type = mime.str().empty() ? contentType : mime.str();
  auto startsWith = [&](std::string_view prefix) { return std::string_view(type).starts_with(prefix); };
  if (uti == "public.audio") return startsWith("audio/");
  if (uti == "public.video" || uti == "public.movie") return startsWith("video/");
  if (uti == "public.image") return startsWith("image/");
  if (uti == "public.text")
    return startsWith("text/") || g_content_type_is_a(contentType.c_str(), "text/plain");
  return false;
}

}  // namespace

std::optional<std::string_view> UTICommand::specialCaseToUTI(std::string_view word) {
  if (word == "video") return "public.video";
  if (word == "movie") return "public.movie";
  if (word == "audio") return "public.audio";
  if (word == "text") return "public.text";
  if (word == "image") return "public.image";
  return std::nullopt;
}

const std::vector<std::string>& UTICommand::knownWords() {
  static const std::vector<std::string> words = {"audio", "video", "movie", "image", "text", "file", "folder",
                                                 "pdf", "music", "picture", "document", "archive", "spreadsheet",
                                                 "presentation", "source", "script"};
  return words;
}

bool UTICommand::conformsTo(std::string_view path, bool isDirectory, std::string_view uti) {
  if (isDirectory) return false;
  std::string name(PathText::lastPathComponent(path));
  GFreeString type{g_content_type_guess(name.c_str(), nullptr, 0, nullptr)};
  if (!type.text) return false;
  return conformsToFamily(type.str(), uti);
}

bool UTICommand::utiInformationIncludesWord(std::string_view extension, std::string_view path, std::string_view word) {
  if (word.empty()) return false;
  std::string name = extension.empty() ? std::string(PathText::lastPathComponent(path))
                                       : "file." + std::string(extension);
  GFreeString type{g_content_type_guess(name.c_str(), nullptr, 0, nullptr)};
  if (!type.text || g_content_type_is_unknown(type.text)) return false;
  std::string info;
  GFreeString description{g_content_type_get_description(type.text)};
  GFreeString mime{g_content_type_get_mime_type(type.text)};
  info += description.str() + " " + mime.str() + " " + std::string(extension);
  // Type names count without their family prefix, as "mpeg" of "audio/mpeg".
  for (const char* parent : {"text/plain", "application/zip", "application/xml", "application/x-executable",
                             "application/x-archive", "application/x-compressed-tar"})
    if (g_content_type_is_a(type.text, parent)) info += std::string(" ") + parent;
  for (char& c : info)
    if (c == '/' || c == '-' || c == '+') c = ' ';
  return TextCase::plainLowercase(info).find(word) != std::string::npos;
}

CommandApplyResult UTICommand::commandImpApply(SearchResult& result, SearchDataSourceDelegate*, const QueryContainer&) {
  if ((wantedUTI == "file" && !result.isDirectory) || (wantedUTI == "folder" && result.isDirectory))
    return CommandApplyResult::accept;
  if (auto family = specialCaseToUTI(wantedUTI))
    if (conformsTo(result.path, result.isDirectory, *family)) return CommandApplyResult::accept;
  return utiInformationIncludesWord(PathText::pathExtension(result.path), result.path, wantedUTI)
             ? CommandApplyResult::accept
             : CommandApplyResult::exclude;
}

bool UTICommand::isTemplateEqualTo(const Command& other) const {
  return typeid(other) == typeid(UTICommand) && static_cast<const UTICommand&>(other).wantedUTI == wantedUTI;
}

std::shared_ptr<Command> UTICommandFactory::create(const std::string& name, const Args& args, const Flags&) const {
  if (name != "uti") return nullptr;
  auto word = commandsupport::textArg(args, 0);
  if (!word || word->empty()) return nullptr;
  return std::make_shared<UTICommand>(TextCase::plainLowercase(*word));
}

std::optional<std::string> UTICommandFactory::utiCompletor(const std::vector<SentenceComponent>& words) {
  if (words.empty()) return std::nullopt;
  for (const std::string& known : UTICommand::knownWords())
    if (known.starts_with(words.front().textLowered)) return known;
  return std::nullopt;
}

std::optional<VariableParserResult> UTICommandFactory::utiVariable(std::span<const SentenceComponent> words) {
  if (words.empty()) return std::nullopt;
  const std::string& word = words.front().textLowered;
  if (word == "folder") return std::nullopt;
  for (const std::string& known : UTICommand::knownWords())
    if (known.size() > word.size() && known.starts_with(word)) return std::nullopt;
  return VariableParserResult{word, 1};
}

}  // namespace velmora
