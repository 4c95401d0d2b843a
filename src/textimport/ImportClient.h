#pragma once
#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "common/Clock.h"
#include "common/OperationQueue.h"
#include "common/Result.h"
#include "textimport/CopyContentsImportsResult.h"
#include "textimport/ImportMessage.h"
#include "textimport/ImportTextTools.h"

namespace velmora {

class FrameChannel;

// The application's side of the import helper (velmora-import): one serial
// queue, one helper process, one file at a time. The helper is started on
// demand, ended after a minute without use, and started anew after it dies;
// a helper that dies or hangs costs the caller that one file.
class ImportClient {
 public:
  struct Options {
    std::string helperPath;              // empty: velmora-import beside the running program
    std::uint64_t memoryLimitMB = 2048;  // 0: no limit
    double timeLimitSeconds = 300;       // without progress; 0: wait for ever
    Scheduler* scheduler = nullptr;      // the idle timer and the time limit's clock; null: the background one
    // "importMemoryLimitMB" and "importTimeLimitSeconds" from the preferences.
    static Options fromPreferences();
  };
  struct WordsResult {
    Status error;
    std::optional<ImportTextTools::WordCounts> words;
    // Why the helper found no words, when it knows (a damaged document):
    // not an error, the file simply has no words.
    std::optional<std::string> importFailure;
  };
  struct TextResult {
    Status error;  // the helper's failure, else why the file gave no text
    std::optional<std::string> text;  // pages joined by one blank
    std::vector<std::string> pages;
  };
  using ProgressHandler = std::function<void(const std::string& path, int percentage)>;

  static constexpr double quitTimerInterval = 60.0;

  explicit ImportClient(Options options);
  ~ImportClient();
  ImportClient(const ImportClient&) = delete;
  ImportClient& operator=(const ImportClient&) = delete;

  static ImportClient& shared();

  WordsResult wordsFromFile(const std::string& path, bool useOCR, ProgressHandler progressHandler = {});
  TextResult textFromFile(const std::string& path, bool searchAllFileTypes, bool useOCR, std::size_t maxLength,
                          ProgressHandler progressHandler = {});
  Result<CopyContentsImportsResult> copyContentsToClipboardImporter(const std::string& path, bool useOCR,
                                                                    ProgressHandler progress = {});

  // Starts the helper ahead of the first file, hiding its start-up time.
  void startup();
  // Tells the helper to quit and waits for it.
  void shutdown();

  Status lastError() const;
  Date lastUsedTime() const;
  // The running helper's process id, or -1.
  pid_t helperPid() const;

 private:
  struct Helper;

  // All of these run on queue_.
  void setup();
  void shutdownOnQueue();
  Result<ImportMessage> call(ImportMessage request, const std::string& path, const ProgressHandler& progress);
  // Ends the helper and waits for it; a non-empty `why` becomes lastError,
  // followed by how the helper ended when describeEnd.
  void endHelper(bool kill, const std::string& why, bool describeEnd);
  void initNotifications();
  void sendCancelInfo();
  void quitTimerFired();
  void setLastUsedTime(Date date);
  const Clock& clock() const;

  Options options_;
  SerialQueue queue_;
  ImportTextTools importer_;
  std::unique_ptr<Helper> helper_;
  mutable std::mutex mutex_;  // lastError_, lastUsedTime_, progressors, the control channel
  Status lastError_;
  std::unique_ptr<RepeatingTimer> quitTimer_;
  Date lastUsedTime_;
  std::map<std::string, ProgressHandler> progressorsForFiles_;
  std::shared_ptr<FrameChannel> control_;
  std::atomic<std::int64_t> lastActivity_{0};  // clock ticks of the last sign of life during an import
  std::atomic<pid_t> helperPid_{-1};
  int observerToken_ = 0;
};

}  // namespace velmora
