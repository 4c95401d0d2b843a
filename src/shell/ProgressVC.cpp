#include "shell/ProgressVC.h"

#include <unicode/locid.h>
#include <unicode/numfmt.h>
#include <unicode/unistr.h>

#include <memory>
#include <string_view>

namespace velmora {

std::string ProgressVC::formatted(std::int64_t number) {
  thread_local std::unique_ptr<icu::NumberFormat> formatter = [] {
    UErrorCode status = U_ZERO_ERROR;
    // The POSIX locale has no grouping; people expect "1,234" there.
    icu::Locale locale = icu::Locale::getDefault();
    if (std::string_view(locale.getName()).find("POSIX") != std::string_view::npos) locale = icu::Locale::getRoot();
    std::unique_ptr<icu::NumberFormat> f(icu::NumberFormat::createInstance(locale, status));
    if (U_FAILURE(status)) f.reset();
    return f;
  }();
  if (!formatter) return std::to_string(number);
  icu::UnicodeString out;
  formatter->format(static_cast<int64_t>(number), out);
  std::string text;
  out.toUTF8String(text);
  return text;
}

std::string ProgressVC::countText(std::int64_t count) {
  if (count < 1) return "No items found";
  if (count == 1) return "1 item found";
  return formatted(count) + " items found";
}

std::string ProgressVC::searchProgress() const {
  std::string text;
  if (searchedNumberOfFiles >= 1) text += formatted(searchedNumberOfFiles) + " files searched. ";
  if (searchedInsideNumberOfDirectories >= 1)
    text += formatted(searchedInsideNumberOfDirectories) + " folders searched. ";
  if (itemsWaitingInQueue >= 1) text += formatted(itemsWaitingInQueue) + " queued. ";
  if (searchingFileName.empty()) text += "Search Continues...";
  return text;
}

void ProgressVC::update() {
  std::string count = countText(foundItemsCount);
  if (!searchInProgress) {
    text_ = count + ". Search complete.";
  } else {
    text_ = count + ". " + searchProgress();
    if (!searchingFileName.empty()) {
      text_ += " Searching Inside: " + searchingFileName + "...";
      if (searchingFileNamePercentageProgress >= 1)
        text_ += " " + std::to_string(searchingFileNamePercentageProgress) + "%";
    }
  }
  // The error picture tells of files that could not be read.
  showsErrorPicture_ = totalErrorCount > 0;
  changed();
}

void ProgressVC::clear() {
  foundItemsCount = 0;
  totalErrorCount = 0;
  searchedInsideNumberOfDirectories = 0;
  searchedNumberOfFiles = 0;
  itemsWaitingInQueue = 0;
  searchedDisk.reset();
  searchingFileName.clear();
  searchingFileNamePercentageProgress = 0;
  text_.clear();
  showsErrorPicture_ = false;
  changed();
}

void ProgressVC::searchesWillBegin() {
  searchInProgress = true;
  update();
}

void ProgressVC::searchesSearchesHaveCompleted() {
  searchInProgress = false;
  searchingFileName.clear();
  update();
}

void ProgressVC::searchManagerTotalResultsFound(std::int64_t total) {
  foundItemsCount = total;
  update();
}

void ProgressVC::setText(std::string text, bool errorPicture) {
  text_ = std::move(text);
  showsErrorPicture_ = errorPicture;
  changed();
}

void ProgressVC::changed() {
  if (onChange) onChange();
}

}  // namespace velmora
