#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "search/results/Column.h"
#include "search/results/UINode.h"

namespace velmora::app {

// The results list as lines of text for a terminal of a given width: the
// name column takes what the other visible columns leave, and a column that
// would leave the name fewer than `minimumNameWidth` cells is not shown.
class ResultsListLayout {
 public:
  struct ColumnSpec {
    Column column;
    const char* title;
    int width;
  };
  static constexpr int minimumNameWidth = 12;
  static constexpr int markerWidth = 2;  // "* " for a selected row

  ResultsListLayout(const std::vector<Column>& visibleColumns, int width);

  const std::vector<ColumnSpec>& columns() const { return columns_; }
  int nameWidth() const { return nameWidth_; }
  // The header, with an arrow on the sort column.
  std::string header(Column sortColumn, bool reversed) const;
  // One row, exactly `width` cells.
  std::string row(const UINode& node) const;

  static ColumnSpec specFor(Column column);
  static std::string cellText(const UINode& node, Column column);
  // Local time "YYYY-MM-DD HH:MM"; "--" for an unknown date (0).
  static std::string dateText(std::int64_t seconds);

 private:
  int width_;
  int nameWidth_ = 0;
  std::vector<ColumnSpec> columns_;
};

}  // namespace velmora::app
