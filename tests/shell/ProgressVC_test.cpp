#include <gtest/gtest.h>

#include "shell/ProgressVC.h"

namespace velmora {
namespace {

TEST(ProgressVC, CountsAndProgressTexts) {
  ProgressVC progress;
  progress.searchesWillBegin();
  progress.searchesSearchesHaveCompleted();
  EXPECT_EQ(progress.text(), "No items found. Search complete.");
  progress.searchManagerTotalResultsFound(1);
  EXPECT_EQ(progress.text(), "1 item found. Search complete.");
  progress.searchManagerTotalResultsFound(1234);
  EXPECT_EQ(progress.text(), "1,234 items found. Search complete.");

  progress.searchesWillBegin();
  EXPECT_EQ(progress.text(), "1,234 items found. Search Continues...");
  progress.searchedNumberOfFiles = 5000;
  progress.searchedInsideNumberOfDirectories = 12;
  progress.itemsWaitingInQueue = 3;
  progress.update();
  EXPECT_EQ(progress.text(),
            "1,234 items found. 5,000 files searched. 12 folders searched. 3 queued. Search Continues...");
  progress.searchingFileName = "Budget.pdf";
  progress.searchingFileNamePercentageProgress = 40;
  progress.itemsWaitingInQueue = 0;
  progress.update();
  EXPECT_EQ(progress.text(),
            "1,234 items found. 5,000 files searched. 12 folders searched.  Searching Inside: Budget.pdf... 40%");

  progress.clear();
  EXPECT_EQ(progress.text(), "");
  progress.setText("Invalid Query Text", true);
  EXPECT_TRUE(progress.showsErrorPicture());
  EXPECT_EQ(ProgressVC::countText(0), "No items found");
  EXPECT_EQ(ProgressVC::countText(-3), "No items found");
}

}  // namespace
}  // namespace velmora
