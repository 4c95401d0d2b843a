#pragma once
#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "query/QueryContainer.h"

namespace velmora {

class GCDAdditions;

// The query field: its one line of text, the parse of that text for display
// (recognised words coloured, words not understood marked for a while), and
// whether a search runs. The parse runs away from the main thread; only the
// newest text is parsed, and its result replaces the colouring when it comes.
class QueryTextFieldsVC {
 public:
  static constexpr double startSearchDelay = 0.66;
  static constexpr double clearBadRangesDelay = 3.0;
  static constexpr double clearAutocompleteDelay = 5.0;
  static constexpr const char* searchPlaceholder = "Search";

  using Runner = std::function<void(std::function<void()>)>;
  // toParser runs a parse away from the main thread.
  QueryTextFieldsVC(GCDAdditions& delays, Runner toMain, Runner toParser);
  ~QueryTextFieldsVC();

  const std::string& text() const { return text_; }
  // Keeps the text up to its first line end; returns what was kept.
  const std::string& setText(std::string text);
  // Asks for a parse of the field for display and marks the words not
  // understood; the marking clears after clearBadRangesDelay.
  void update();
  // The parse of the newest text that has come back; it may lag the text.
  const std::optional<QueryContainer>& currentQuery() const { return currentQuery_; }
  bool showsBadRanges() const { return showBadRanges_; }
  // The colouring of the field now (ranges in characters of text()).
  const std::vector<QueryStyleRun>& styleRuns() const;

  void searchStarted() { searching_ = true; changed(); }
  void searchStopped() { searching_ = false; changed(); }
  bool searching() const { return searching_; }

  std::function<void()> onChange;

 private:
  void changed();
  GCDAdditions& delays_;
  Runner toMain_;
  Runner toParser_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  // The number of the newest parse asked for; older ones are skipped.
  std::shared_ptr<std::atomic<std::uint64_t>> latestParse_ = std::make_shared<std::atomic<std::uint64_t>>(0);
  std::string text_;
  std::optional<QueryContainer> currentQuery_;
  // The colouring of currentQuery_, with and without the words not
  // understood, worked out with the parse: drawing only reads them.
  std::vector<QueryStyleRun> runsWithErrors_;
  std::vector<QueryStyleRun> runsWithoutErrors_;
  bool showBadRanges_ = false;
  bool searching_ = false;
};

}  // namespace velmora
