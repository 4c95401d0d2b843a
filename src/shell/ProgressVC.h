#pragma once
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace velmora {

// The progress line of a search window: how many items were found and, while
// the search runs, how far it got.
class ProgressVC {
 public:
  std::int64_t foundItemsCount = 0;
  std::int64_t totalErrorCount = 0;
  bool searchInProgress = false;
  std::int64_t searchedInsideNumberOfDirectories = 0;
  std::int64_t searchedNumberOfFiles = 0;
  std::int64_t itemsWaitingInQueue = 0;
  std::optional<std::string> searchedDisk;
  std::string searchingFileName;
  int searchingFileNamePercentageProgress = 0;

  const std::string& text() const { return text_; }
  bool showsErrorPicture() const { return showsErrorPicture_; }
  bool spinnerRunning() const { return searchInProgress; }
  // Told after every change of the text (redraw).
  std::function<void()> onChange;

  // Recomputes the text from the counts.
  void update();
  void clear();
  void searchesWillBegin();
  void searchesSearchesHaveCompleted();
  void searchManagerTotalResultsFound(std::int64_t total);
  // A message that stands until the next update ("Invalid Query Text", waiting for a disk).
  void setText(std::string text, bool errorPicture = false);

  // "No items found", "1 item found", "1,234 items found".
  static std::string countText(std::int64_t count);
  // The grouped decimal form of a number in the current locale.
  static std::string formatted(std::int64_t number);
  std::string searchProgress() const;

 private:
  void changed();
  std::string text_;
  bool showsErrorPicture_ = false;
};

}  // namespace velmora
