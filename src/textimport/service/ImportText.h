#pragma once
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "common/Clock.h"
#include "textimport/WordsInFileProtocol.h"

namespace velmora {

class FrameChannel;

// The helper's side: answers WordsInFileProtocol with a fresh ImportTextTools
// per job, polls for cancellation of the file at hand, and reports progress
// at most once per three seconds.
class ImportText : public WordsInFileProtocol {
 public:
  // Requests from the client are small; anything past this is a broken stream.
  static constexpr std::size_t maxRequestBytes = 1 << 20;

  explicit ImportText(const Clock& clock = Clock::system());
  ~ImportText() override;

  void start() override {}
  void quit() override;
  ImportTextReply importText(const ImportFile& file, bool searchAllFiles, std::size_t maxLength,
                             bool useOCR) override;
  WordsInFileReply wordsInFile(const ImportFile& file, bool useOCR) override;
  std::string copyContentsToClipboardImporter(const ImportFile& file, bool useOCR) override;

  bool shouldCancel();
  void progressFunc(const std::optional<std::string>& path, int percentage);
  void setCurrentFile(std::optional<std::string> path);

  // Serves requests until the client ends the stream or sends quit (0), or
  // the stream breaks (3). Cancel and progress travel on `control`.
  int serve(FrameChannel& requests, FrameChannel& control);

  const double progressUpdatesDelayInSeconds = 3.0;

 private:
  const Clock& clock_;
  std::mutex mutex_;
  Date lastProgressUpdate_ = Date::min();
  std::set<std::string> cancelMessages_;
  std::optional<std::string> currentFile_;
  int observerToken_ = 0;
  bool quitRequested_ = false;
};

}  // namespace velmora
