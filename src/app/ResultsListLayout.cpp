#include "app/ResultsListLayout.h"

#include <ctime>

#include "app/TerminalText.h"

namespace velmora::app {

ResultsListLayout::ColumnSpec ResultsListLayout::specFor(Column column) {
  switch (column) {
    case Column::size: return {column, "Size", 10};
    case Column::modDate: return {column, "Modified", 16};
    case Column::created: return {column, "Created", 16};
    case Column::kind: return {column, "Kind", 20};
    case Column::inside: return {column, "Inside", 18};
    case Column::rank: return {column, "Rank", 6};
    case Column::path: return {column, "Path", 30};
    case Column::image: return {column, "Image", 6};
    case Column::name: break;
  }
  return {Column::name, "Name", 0};
}

ResultsListLayout::ResultsListLayout(const std::vector<Column>& visibleColumns, int width) : width_(width) {
  int used = markerWidth;
  for (Column column : visibleColumns) {
    if (column == Column::name) continue;
    ColumnSpec spec = specFor(column);
    if (used + spec.width + 1 + minimumNameWidth > width) break;
    columns_.push_back(spec);
    used += spec.width + 1;
  }
  nameWidth_ = width - used;
}

std::string ResultsListLayout::header(Column sortColumn, bool reversed) const {
  auto title = [&](Column column, const char* text, int cells) {
    std::string t = text;
    if (sortColumn == column) t += reversed ? " \u25BC" : " \u25B2";
    return TerminalText::fit(t, cells);
  };
  std::string line = std::string(markerWidth, ' ') + title(Column::name, "Name", nameWidth_);
  for (const auto& spec : columns_) line += " " + title(spec.column, spec.title, spec.width);
  return line;
}

std::string ResultsListLayout::row(const UINode& node) const {
  if (node.kind() == UINode::Kind::contentSummary)
    return "      " + TerminalText::fit(node.summaryLine.value_or(""), width_ - 6);
  std::string line = node.isSelected ? "* " : "  ";
  line += TerminalText::fit((node.displayStrikeThroughText ? "\u2717 " : "") + node.displayName(), nameWidth_);
  for (const auto& spec : columns_) {
    std::string text = cellText(node, spec.column);
    if (spec.column == Column::size || spec.column == Column::rank) {
      int w = TerminalText::cellWidth(text);
      if (w < spec.width) text = std::string(static_cast<std::size_t>(spec.width - w), ' ') + text;
    }
    line += " " + TerminalText::fit(text, spec.width);
  }
  return line;
}

std::string ResultsListLayout::cellText(const UINode& node, Column column) {
  switch (column) {
    case Column::name: return node.displayName();
    case Column::size: return node.displayTotalSize;
    case Column::modDate: return dateText(node.modificationDate);
    case Column::created: return dateText(node.creationDate);
    case Column::kind: return node.displayKind();
    case Column::inside: return node.displayInside;
    case Column::rank: return std::to_string(node.contentSearchResultsRank);
    case Column::path: return node.displayPath;
    case Column::image: return {};
  }
  return {};
}

std::string ResultsListLayout::dateText(std::int64_t seconds) {
  if (seconds == 0) return "--";
  std::time_t t = static_cast<std::time_t>(seconds);
  std::tm local{};
  localtime_r(&t, &local);
  char buffer[32];
  std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M", &local);
  return buffer;
}

}  // namespace velmora::app
