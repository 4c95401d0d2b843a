#include "query/commands/CommandSupport.h"

#include <memory>

#include <unicode/brkiter.h>
#include <unicode/unistr.h>

namespace velmora::commandsupport {

std::size_t characterCount(std::string_view text) {
  bool ascii = true;
  for (unsigned char c : text)
    if (c >= 0x80) {
      ascii = false;
      break;
    }
  if (ascii) return text.size();
  icu::UnicodeString u = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), int32_t(text.size())));
  // Made once per thread: making one costs far more than counting a name.
  thread_local std::unique_ptr<icu::BreakIterator> it = [] {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> made(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    return U_FAILURE(status) ? nullptr : std::move(made);
  }();
  if (!it) return std::size_t(u.countChar32());
  it->setText(u);
  std::size_t count = 0;
  for (int32_t p = it->next(); p != icu::BreakIterator::DONE; p = it->next()) ++count;
  return count;
}

std::optional<long long> intArg(const std::vector<std::any>& args, std::size_t index) {
  if (auto p = arg<int>(args, index)) return *p;
  if (auto p = arg<long>(args, index)) return *p;
  if (auto p = arg<long long>(args, index)) return *p;
  return std::nullopt;
}

std::optional<std::string> textArg(const std::vector<std::any>& args, std::size_t index) {
  if (auto p = arg<std::string>(args, index)) return *p;
  if (auto p = arg<SentenceComponent>(args, index)) return p->textOriginalCase;
  return std::nullopt;
}

}  // namespace velmora::commandsupport
