#include "query/commands/RegexCommand.h"

#include <unicode/regex.h>

#include "common/Logger.h"
#include "query/commands/CommandSupport.h"
#include "model/SearchResult.h"
#include "common/PathText.h"
#include "common/TextCase.h"

namespace velmora {

namespace {
// Case-insensitive with Unicode word boundaries (65).
constexpr uint32_t kOptions = UREGEX_CASE_INSENSITIVE | UREGEX_UWORD;

std::shared_ptr<const icu::RegexPattern> compile(const std::string& pattern, UErrorCode& status) {
  UParseError parseError;
  std::shared_ptr<const icu::RegexPattern> compiled(
      icu::RegexPattern::compile(icu::UnicodeString::fromUTF8(pattern), kOptions, parseError, status));
  if (U_FAILURE(status)) return nullptr;
  return compiled;
}
}  // namespace

bool RegexCommand::compiles(const std::string& pattern) {
  UErrorCode status = U_ZERO_ERROR;
  return compile(pattern, status) != nullptr;
}

RegexCommand::RegexCommand(std::string regex) : regex_(std::move(regex)) {
  UErrorCode status = U_ZERO_ERROR;
  matcher_ = compile(regex_, status);
  if (!matcher_) VLOG("regex \"{}\" does not compile: {}", regex_, u_errorName(status));
}

std::shared_ptr<Command> RegexCommand::copy() const {
  auto copy = std::shared_ptr<RegexCommand>(new RegexCommand());
  copy->regex_ = regex_;
  copy->matcher_ = matcher_;
  return copy;
}

CommandApplyResult RegexCommand::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                                 const QueryContainer&) {
  if (!matcher_) return CommandApplyResult::skip;
  const std::string name = TextCase::plainLowercase(PathText::lastPathComponent(result.path));
  UErrorCode status = U_ZERO_ERROR;
  // The matcher reads the text it is given for as long as it lives: the text
  // must outlive it.
  const icu::UnicodeString text = icu::UnicodeString::fromUTF8(name);
  std::unique_ptr<icu::RegexMatcher> m(matcher_->matcher(text, status));
  if (U_FAILURE(status) || !m) return CommandApplyResult::exclude;
  // A runaway pattern stops here and counts as no match.
  m->setTimeLimit(200, status);
  bool found = m->find(status);
  if (U_FAILURE(status)) return CommandApplyResult::exclude;
  return found ? CommandApplyResult::accept : CommandApplyResult::exclude;
}

std::shared_ptr<Command> RegexCommandFactory::create(const std::string& name, const Args& args, const Flags&) const {
  if (name != "regex") return nullptr;
  const SentenceComponent* word = commandsupport::arg<SentenceComponent>(args, 0);
  if (!word) return nullptr;
  return std::make_shared<RegexCommand>(word->textOriginalCase);
}

}  // namespace velmora
