#include "shell/QueryTextFieldsVC.h"

#include <fmt/format.h>

#include "common/GCDAdditions.h"

namespace velmora {

QueryTextFieldsVC::QueryTextFieldsVC(GCDAdditions& delays, Runner toMain, Runner toParser)
    : delays_(delays), toMain_(std::move(toMain)), toParser_(std::move(toParser)) {}

QueryTextFieldsVC::~QueryTextFieldsVC() { *alive_ = false; }

const std::string& QueryTextFieldsVC::setText(std::string text) {
  auto end = text.find_first_of("\r\n");
  if (end != std::string::npos) text.resize(end);
  text_ = std::move(text);
  return text_;
}

void QueryTextFieldsVC::update() {
  // Only for display: a search parses the text anew, with its location.
  const std::uint64_t parse = ++*latestParse_;
  std::weak_ptr<bool> alive = alive_;
  toParser_([this, alive, parse, latest = latestParse_, text = text_, toMain = toMain_] {
    // A newer keystroke came while this one waited: its parse will do.
    if (latest->load() != parse) return;
    QueryContainer query(text);
    auto withErrors = query.styleQueryString(true);
    auto withoutErrors = query.styleQueryString(false);
    toMain([this, alive, parse, latest, query = std::move(query), withErrors = std::move(withErrors),
            withoutErrors = std::move(withoutErrors)]() mutable {
      auto token = alive.lock();
      if (!token || !*token || latest->load() != parse) return;
      currentQuery_ = std::move(query);
      runsWithErrors_ = std::move(withErrors);
      runsWithoutErrors_ = std::move(withoutErrors);
      changed();
    });
  });
  showBadRanges_ = true;
  delays_.cancelPreviousThenPerform(fmt::format("QueryTextFieldsVC:{}", __LINE__), clearBadRangesDelay,
                                    [this, alive, toMain = toMain_] {
                                      toMain([this, alive] {
                                        auto token = alive.lock();
                                        if (!token || !*token) return;
                                        showBadRanges_ = false;
                                        changed();
                                      });
                                    });
  changed();
}

const std::vector<QueryStyleRun>& QueryTextFieldsVC::styleRuns() const {
  return showBadRanges_ ? runsWithErrors_ : runsWithoutErrors_;
}

void QueryTextFieldsVC::changed() {
  if (onChange) onChange();
}

}  // namespace velmora
