#include <gtest/gtest.h>

#include <clocale>

#include "app/ResultsListLayout.h"
#include "app/TerminalText.h"
#include "model/SearchResult.h"

namespace velmora::app {
namespace {

class ResultsListLayoutTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr); }
  void TearDown() override { std::setlocale(LC_CTYPE, "C"); }
};

TEST_F(ResultsListLayoutTest, ColumnsThatWouldSqueezeTheNameAreLeftOutAndRowsFillTheWidth) {
  const std::vector<Column> visible{Column::name, Column::size, Column::modDate, Column::path};
  ResultsListLayout wide(visible, 100);
  ASSERT_EQ(wide.columns().size(), 3u);
  EXPECT_EQ(wide.nameWidth(), 100 - 2 - 11 - 17 - 31);
  // 40 cells: the name keeps its minimum, so only the size column fits.
  ResultsListLayout narrow(visible, 40);
  ASSERT_EQ(narrow.columns().size(), 1u);
  EXPECT_EQ(narrow.columns()[0].column, Column::size);
  EXPECT_GE(narrow.nameWidth(), ResultsListLayout::minimumNameWidth);
  EXPECT_EQ(ResultsListLayout(visible, 10).columns().size(), 0u);

  std::string header = narrow.header(Column::size, true);
  EXPECT_EQ(TerminalText::cellWidth(header), 40);
  EXPECT_NE(header.find("Size \u25BC"), std::string::npos);

  SearchResult result;
  result.path = "/data/a very long name that cannot fit in the column \u5831\u544A.txt";
  result.size = 2048;
  result.modDate = 86400;  // 1970-01-02 00:00 in UTC
  UINode node(result);
  node.isSelected = true;
  std::string row = wide.row(node);
  EXPECT_EQ(TerminalText::cellWidth(row), 100);
  EXPECT_EQ(row.rfind("* a very long name", 0), 0u);
  EXPECT_NE(row.find("\u2026"), std::string::npos);
  EXPECT_NE(row.find("1970-01-02 00:00"), std::string::npos);
  // Sizes stand to the right of their column.
  std::string size = node.displayTotalSize;
  EXPECT_NE(row.find("  " + size + " "), std::string::npos) << row;
  EXPECT_EQ(ResultsListLayout::dateText(0), "--");
}

}  // namespace
}  // namespace velmora::app
