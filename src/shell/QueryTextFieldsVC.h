#pragma once
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "query/QueryContainer.h"

namespace velmora {

class GCDAdditions;

// The query field: its one line of text, the parse of that text for display
// (recognised words coloured, words not understood marked for a while), and
// whether a search runs.
class QueryTextFieldsVC {
 public:
  static constexpr double startSearchDelay = 0.66;
  static constexpr double clearBadRangesDelay = 3.0;
  static constexpr double clearAutocompleteDelay = 5.0;
  static constexpr const char* searchPlaceholder = "Search";

  using Runner = std::function<void(std::function<void()>)>;
  QueryTextFieldsVC(GCDAdditions& delays, Runner toMain);
  ~QueryTextFieldsVC();

  const std::string& text() const { return text_; }
  // Keeps the text up to its first line end; returns what was kept.
  const std::string& setText(std::string text);
  // Parses the field for display and marks the words not understood; the
  // marking clears after clearBadRangesDelay.
  void update();
  const std::optional<QueryContainer>& currentQuery() const { return currentQuery_; }
  bool showsBadRanges() const { return showBadRanges_; }
  // The colouring of the field now (ranges in characters of text()).
  std::vector<QueryStyleRun> styleRuns() const;

  void searchStarted() { searching_ = true; changed(); }
  void searchStopped() { searching_ = false; changed(); }
  bool searching() const { return searching_; }

  std::function<void()> onChange;

 private:
  void changed();
  GCDAdditions& delays_;
  Runner toMain_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  std::string text_;
  std::optional<QueryContainer> currentQuery_;
  bool showBadRanges_ = false;
  bool searching_ = false;
};

}  // namespace velmora
