// `velmora search QUERY`: finds files by name (and by the query's commands)
// in folders or disks, streaming each result as it passes the filter.
#include <algorithm>
#include <CLI/CLI.hpp>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "app/CliRegistry.h"
#include "app/TerminalText.h"
#include "index/ContentIndexManager.h"
#include "common/AppDirectories.h"
#include "common/Clock.h"
#include "common/JSONText.h"
#include "common/MainQueue.h"
#include "query/QueryContainer.h"
#include "stores/PreferenceStore.h"
#include "search/DiskInfoManager.h"
#include "search/FSUtilities.h"
#include "search/FileSystemSearch.h"
#include "search/IgnoreItems.h"
#include "model/SearchLocation.h"
#include "search/SearchManager.h"
#include "search/results/SearchResultSort.h"
#include "shell/QueryWindowContentController.h"
#include "shell/ProgressVC.h"
#include "shell/SearchSources.h"

namespace velmora::app {

namespace {

// The signal that stopped the search, 0 while none has.
std::atomic<int> interruptedBy{0};

extern "C" void onInterrupt(int signal) { interruptedBy = signal; }

// Words after the colon that changed nothing would otherwise pass in silence
// (the window colours them); the search still runs without them.
void reportWordsNotUsed(const QueryContainer& query) {
  auto joined = [](const std::vector<SentenceComponent>& words, const std::vector<SentenceComponent>& except) {
    std::string text;
    for (const auto& w : words)
      if (std::find(except.begin(), except.end(), w) == except.end())
        text += (text.empty() ? "" : " ") + w.textOriginalCase;
    return text;
  };
  const std::string failed = joined(query.failedCommandAreaWords, {});
  const std::string other = joined(query.invalidCommandAreaWords, query.failedCommandAreaWords);
  if (!failed.empty())
    std::fprintf(stderr, "velmora: \"%s\" makes no command (a value out of range?); searching without it\n",
                 TerminalText::escaped(failed).c_str());
  if (!other.empty())
    std::fprintf(stderr, "velmora: words not used: %s\n", TerminalText::escaped(other).c_str());
}

// The window's progress line, word for word: the command line says what
// the window would show.
std::string progressText(std::int64_t found, std::int64_t files, std::int64_t folders, std::int64_t queued) {
  ProgressVC progress;
  progress.searchInProgress = true;
  progress.foundItemsCount = found;
  progress.searchedNumberOfFiles = files;
  progress.searchedInsideNumberOfDirectories = folders;
  progress.itemsWaitingInQueue = queued;
  progress.update();
  return progress.text();
}

// The result loop's pauses were made for a window that refreshes a few
// times a second; a terminal stream ends as soon as everything is drained,
// so its pauses are shortened. The end rule itself stays as it is.
class QuickPauseScheduler final : public Scheduler {
 public:
  const Clock& clock() const override { return Scheduler::background().clock(); }
  TaskId schedule(Seconds delay, Task task) override {
    return Scheduler::background().schedule(delay / 25.0, std::move(task));
  }
  bool cancel(TaskId id) override { return Scheduler::background().cancel(id); }
};

// Delegate calls reach the main thread in runs: a task that arrives while
// others wait joins them, and one wake-up of the main loop serves the lot.
// Order is kept. Streaming thousands of results then costs few wake-ups.
class CoalescingMainQueue {
 public:
  void post(std::function<void()> task) {
    bool first = false;
    {
      std::lock_guard guard(mutex_);
      first = pending_.empty();
      pending_.push_back(std::move(task));
    }
    if (first) MainQueue::async([this] { drain(); });
  }
  // Runs what waits now (main thread).
  void drain() {
    std::vector<std::function<void()>> tasks;
    {
      std::lock_guard guard(mutex_);
      tasks.swap(pending_);
    }
    for (auto& task : tasks) task();
  }

 private:
  std::mutex mutex_;
  std::vector<std::function<void()>> pending_;
};

struct Options {
  std::vector<std::string> words;
  std::vector<std::string> folders;
  bool home = false, allDisks = false, localDisks = false, networkDisks = false;
  bool system = false, soundex = false, json = false;
  std::int64_t limit = 0;
  // With a sort column the results are printed once, sorted, at the end.
  std::string sort;
  bool reverse = false;
};

// Standard output with its failures noticed: a full disk, /dev/full or a
// closed descriptor must not pass for a complete list.
class ResultWriter {
 public:
  bool write(const std::string& line) {
    if (failed_) return false;
    if (std::fwrite(line.data(), 1, line.size(), stdout) != line.size()) fail();
    return !failed_;
  }
  bool flush() {
    if (failed_) return false;
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) fail();
    return !failed_;
  }
  bool failed() const { return failed_; }
  int error() const { return error_; }

 private:
  void fail() {
    failed_ = true;
    error_ = errno != 0 ? errno : EIO;
  }
  bool failed_ = false;
  int error_ = 0;
};

class TerminalSearch final : public SearchManagerDelegate {
 public:
  explicit TerminalSearch(const Options& options, SortOptions sortOptions)
      : options_(options),
        sortOptions_(std::move(sortOptions)),
        live_(::isatty(STDERR_FILENO) == 1),
        stdoutIsTerminal_(::isatty(STDOUT_FILENO) == 1) {}

  void searchManagerIsBeginingSearches(const QueryContainer&) override {}

  void searchManagerFoundItems(const std::vector<SearchResult>& items, std::int64_t, const QueryContainer&) override {
    if (writer_.failed()) return;
    for (const auto& item : items) {
      // Sorted output is cut to the limit after the sort, at the end.
      if (!options_.sort.empty()) {
        collected_.push_back(item);
        continue;
      }
      if (options_.limit > 0 && found_ >= options_.limit) break;
      if (!writer_.write(lineFor(item))) break;
      ++found_;
    }
    // A terminal sees each line at once; a pipe gets whole buffers, flushed
    // at least every tick, so a long result list costs few writes.
    if (stdoutIsTerminal_) writer_.flush();
    if (writer_.failed() && manager_) manager_->stop();
    if (options_.limit > 0 && options_.sort.empty() && found_ >= options_.limit && manager_) manager_->stop();
  }

  void searchManagerHasFinishedAllSearches(const QueryContainer&) override {
    MainQueue::async([this] {
      if (beforeFinish) beforeFinish();
      finish();
    });
  }
  std::function<void()> beforeFinish;

  void tick() {
    writer_.flush();
    if (manager_ && !stopping_ && (interruptedBy != 0 || writer_.failed())) {
      stopping_ = true;
      manager_->stop();
    }
    if (!live_ || !manager_) return;
    std::int64_t folders = 0;
    for (const auto& source : manager_->allDataSources())
      if (auto* crawl = dynamic_cast<FileSystemSearch*>(source.get())) folders += crawl->numberOfDirecoriesSearched();
    std::int64_t shown = options_.sort.empty() ? found_ : static_cast<std::int64_t>(collected_.size());
    std::string text = progressText(shown, manager_->numberOfFilesSearched(), folders, manager_->numberOfItemsInQueue());
    std::fprintf(stderr, "\r\033[K%s", text.c_str());
    std::fflush(stderr);
  }

  void finish() {
    if (finished_) return;
    finished_ = true;
    if (auto column = columnFromString(options_.sort)) {
      for (const auto& item : sortedSearchResults(collected_, *column, options_.reverse, sortOptions_)) {
        if (options_.limit > 0 && found_ >= options_.limit) break;
        if (!writer_.write(lineFor(item))) break;
        ++found_;
      }
    }
    writer_.flush();
    if (live_) std::fputs("\r\033[K", stderr);
    if (writer_.failed()) {
      std::fprintf(stderr, "velmora: cannot write the results: %s\n", std::strerror(writer_.error()));
    } else if (int signal = interruptedBy.load()) {
      std::fprintf(stderr, "%s. Search stopped (%s).\n", ProgressVC::countText(found_).c_str(),
                   signal == SIGINT ? "interrupted" : "terminated");
    } else {
      std::fprintf(stderr, "%s. Search complete.\n", ProgressVC::countText(found_).c_str());
    }
    MainQueue::stop();
  }

  // What the shell expects of the process: 128 plus a stopping signal, 2
  // when the results could not all be written, else whether any was found.
  int exitCode() const {
    if (writer_.failed()) return 2;
    if (int signal = interruptedBy.load()) return 128 + signal;
    return found_ > 0 ? 0 : 1;
  }

  std::shared_ptr<SearchManager> manager_;
  std::int64_t found() const { return found_; }

 private:
  // Plain output keeps a name's own bytes, as `find` prints them, so that
  // the line can be handed to other programs; a terminal gets them with
  // control characters made visible. JSON text must be UTF-8: a path that
  // is not is given in the escaped form of JSONText and marked so.
  std::string lineFor(const SearchResult& item) const {
    if (options_.json) {
      // From an index whose disk is not there: not looked for, and said so.
      bool absent = item.searchResultSuppliedBy == SearchResultSupplier::CompactContentIndex &&
                    !item.checkToSeeIfItExists;
      if (!absent && !JSONText::needsEscaping(item.path)) return item.serialised() + '\n';
      auto json = item.toJSON();
      if (absent) json["present"] = false;
      if (!JSONText::needsEscaping(item.path)) return JSONText::dump(json) + '\n';
      json["path"] = JSONText::escaped(item.path);
      json["pathEscaped"] = true;
      return JSONText::dump(json) + '\n';
    }
    if (stdoutIsTerminal_) return TerminalText::escaped(item.path) + '\n';
    return item.path + '\n';
  }

  const Options& options_;
  SortOptions sortOptions_;
  bool live_;
  bool stdoutIsTerminal_;
  bool stopping_ = false;
  bool finished_ = false;
  std::int64_t found_ = 0;
  std::vector<SearchResult> collected_;
  ResultWriter writer_;
};

std::string absoluteFolder(const std::string& text) {
  std::filesystem::path path = std::filesystem::absolute(text).lexically_normal();
  std::string out = path.string();
  while (out.size() > 1 && out.back() == '/') out.pop_back();
  return out;
}

int runSearch(const Options& options) {
  // With standard output closed, the next file opened would take its
  // place and receive the results.
  if (::fcntl(STDOUT_FILENO, F_GETFD) == -1) {
    std::fprintf(stderr, "velmora: cannot write the results: standard output is closed\n");
    return 2;
  }
  FSUtilities& fs = FSUtilities::shared();
  bool insideSystem = options.system;
  std::optional<SearchLocation> location;
  if (!options.folders.empty()) {
    std::vector<std::string> urls;
    for (const auto& folder : options.folders) {
      struct stat info {};
      if (::stat(folder.c_str(), &info) != 0) {
        // A folder or disk that is not there may still be searched through
        // an index that covers it.
        std::string url = absoluteFolder(folder);
        if (!ContentIndexManager::shared().cachesForItem(url).empty() &&
            PreferenceStore::shared().boolForKey("diskCatalogCaching")) {
          if (fs.isInsideOSDirectory(url) || fs.isInvisibleOrInsidePackage(url)) insideSystem = true;
          urls.push_back(std::move(url));
          continue;
        }
        std::fprintf(stderr, "velmora: %s: no such file or folder\n", folder.c_str());
        return 2;
      }
      if (!S_ISDIR(info.st_mode)) {
        std::fprintf(stderr, "velmora: %s: not a folder\n", folder.c_str());
        return 2;
      }
      // Searched all the same (others may be readable below it), but the
      // user is told why it yields nothing.
      if (::access(folder.c_str(), R_OK | X_OK) != 0)
        std::fprintf(stderr, "velmora: %s: cannot be read: %s\n", folder.c_str(), std::strerror(errno));
      std::string url = absoluteFolder(folder);
      // As the location menu does: a folder the user points at inside a
      // system folder, or an invisible one, is searched all the same.
      if (fs.isInsideOSDirectory(url) || fs.isInvisibleOrInsidePackage(url)) insideSystem = true;
      urls.push_back(std::move(url));
    }
    location = SearchLocation::fromURLs(urls, {});
  } else if (options.allDisks) {
    location = SearchLocation::fromPreset(SearchLocationURLSet::allDisks, DiskInfoManager::shared().volumes());
  } else if (options.localDisks) {
    location = SearchLocation::fromPreset(SearchLocationURLSet::localDisks, DiskInfoManager::shared().volumes());
  } else if (options.networkDisks) {
    location = SearchLocation::fromPreset(SearchLocationURLSet::networkDisks, DiskInfoManager::shared().volumes());
  } else {
    location = SearchLocation::fromPreset(SearchLocationURLSet::home, DiskInfoManager::shared().volumes());
  }

  IgnoreItems::installQueryIgnoreList();
  std::string text;
  for (const auto& word : options.words) text += (text.empty() ? "" : " ") + word;
  QueryContainer query(text, location, options.soundex, QuerySettings::fromPreferences(PreferenceStore::shared()));
  reportWordsNotUsed(query);

  SearchManagerEnvironment environment = SearchSources::standardEnvironment();
  QuickPauseScheduler scheduler;
  environment.scheduler = &scheduler;
  // Lives until the main loop has ended; drained before the final line.
  static CoalescingMainQueue mainQueue;
  environment.mainQueue = [](std::function<void()> task) { mainQueue.post(std::move(task)); };

  // The window's order: its promotion preferences and the query's words.
  auto sortOptions = SortOptions::fromPreferences(QueryWindowContentController::queryWords(query));
  auto terminal = std::make_shared<TerminalSearch>(options, std::move(sortOptions));
  auto manager = SearchManager::make(terminal, insideSystem, std::move(environment));
  terminal->manager_ = manager;
  terminal->beforeFinish = [] { mainQueue.drain(); };

  struct sigaction action {};
  action.sa_handler = onInterrupt;
  sigemptyset(&action.sa_mask);
  // A write to a full pipe resumes after the signal instead of failing.
  action.sa_flags = SA_RESTART;
  ::sigaction(SIGINT, &action, nullptr);
  ::sigaction(SIGTERM, &action, nullptr);

  MainQueue::adoptCurrentThread();
  RepeatingTimer ticker(Scheduler::main(), Seconds(0.1), [&] { terminal->tick(); });
  manager->searchFor(query, location);
  MainQueue::run();
  ticker.cancel();
  manager->waitUntilDone();
  terminal->manager_.reset();
  return terminal->exitCode();
}

// The query's pieces in the order they stand on the command line.
std::vector<std::string> inTypedOrder(const std::vector<std::string>& plain, const std::vector<std::string>& extras,
                                      const std::vector<std::string>& arguments) {
  std::vector<std::pair<std::size_t, std::string>> placed;
  std::vector<bool> used(arguments.size(), false);
  auto place = [&](const std::string& word) {
    for (std::size_t i = 0; i < arguments.size(); ++i)
      if (!used[i] && arguments[i] == word) {
        used[i] = true;
        placed.emplace_back(i, word);
        return;
      }
    placed.emplace_back(arguments.size(), word);
  };
  for (const auto& word : plain) place(word);
  for (const auto& word : extras) place(word);
  std::stable_sort(placed.begin(), placed.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<std::string> ordered;
  for (auto& [index, word] : placed) ordered.push_back(std::move(word));
  return ordered;
}

const bool registered = registerCli(10, [](CLI::App& root, CliContext& context) {
  auto options = std::make_shared<Options>();
  CLI::App* search = root.add_subcommand("search", "Find files and folders by name while the disks are walked");
  // The query is every argument that is no option of ours, in order: a query
  // may begin with "-" (a negative word, "-draft report"), before or after
  // the options; after "--" everything is query. Unknown "--" options are
  // still usage errors, so a typo is never searched for.
  search->allow_extras();
  search->footer("QUERY: words to find in names, then ':' and commands, e.g. \"report budget : modified today\"\n"
                 "or \"-draft report\" (names with report but not draft); after -- every argument is query text");
  search->add_option("--in", options->folders, "search inside this folder (repeatable)")->allow_extra_args(false);
  auto* home = search->add_flag("--home", options->home, "search the home folder (the default)");
  auto* all = search->add_flag("--all-disks", options->allDisks, "search every mounted disk");
  auto* local = search->add_flag("--local-disks", options->localDisks, "search the local disks");
  auto* network = search->add_flag("--network-disks", options->networkDisks, "search the network disks");
  std::vector<CLI::Option*> presets{home, all, local, network};
  for (auto* a : presets)
    for (auto* b : presets)
      if (a != b) a->excludes(b);
  search->add_flag("--system", options->system, "also look inside system folders and invisible items");
  search->add_flag("--soundex", options->soundex, "match names that sound like the words");
  search->add_flag("--json", options->json, "one JSON object per result");
  search->add_option("--limit", options->limit, "at most N results (after --sort); 0: no limit")->check(CLI::NonNegativeNumber);
  search->add_option("--sort", options->sort, "print once at the end, sorted by this column")
      ->check(CLI::IsMember({"name", "size", "modDate", "created", "kind", "inside", "path"}));
  search->add_flag("--reverse", options->reverse, "with --sort: the other way round");
  search->add_option("QUERY", options->words, "the query")->expected(0, -1);
  search->callback([options, &context, search] {
    // Words the parser took as unknown options ("-draft") join the plain
    // ones in the order they were typed.
    std::vector<std::string> extras;
    for (const auto& word : search->remaining()) {
      if (word.size() > 2 && word.starts_with("--") && word.find(' ') == std::string::npos)
        throw CLI::ExtrasError({word});
      extras.push_back(word);
    }
    if (!extras.empty()) options->words = inTypedOrder(options->words, extras, context.arguments);
    options->words.insert(options->words.end(), context.afterDashes.begin(), context.afterDashes.end());
    context.afterDashesTaken = true;
    if (options->words.empty()) throw CLI::RequiredError("QUERY");
    if (options->reverse && options->sort.empty()) options->sort = "name";
    context.exitCode = runSearch(*options);
  });
});

}  // namespace

}  // namespace velmora::app
