// `velmora search QUERY`: finds files by name (and by the query's commands)
// in folders or disks, streaming each result as it passes the filter.
#include <CLI/CLI.hpp>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "app/CliRegistry.h"
#include "common/AppDirectories.h"
#include "common/Clock.h"
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
#include "shell/SearchSources.h"

namespace velmora::app {

namespace {

std::atomic<bool> interrupted{false};

extern "C" void onInterrupt(int) { interrupted = true; }

// "1,234": the count as the progress line groups it.
std::string grouped(std::int64_t value) {
  std::string digits = std::to_string(value < 0 ? -value : value);
  std::string out;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && (digits.size() - i) % 3 == 0) out += ',';
    out += digits[i];
  }
  return value < 0 ? "-" + out : out;
}

std::string countText(std::int64_t found) {
  if (found < 1) return "No items found";
  if (found == 1) return "1 item found";
  return grouped(found) + " items found";
}

std::string progressText(std::int64_t found, std::int64_t files, std::int64_t folders, std::int64_t queued) {
  std::string text = countText(found) + " ";
  if (files >= 1) text += grouped(files) + " files searched. ";
  if (folders >= 1) text += grouped(folders) + " folders searched. ";
  if (queued >= 1) text += grouped(queued) + " queued. ";
  return text + "Search Continues...";
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

class TerminalSearch final : public SearchManagerDelegate {
 public:
  explicit TerminalSearch(const Options& options)
      : options_(options), live_(::isatty(STDERR_FILENO) == 1), stdoutIsTerminal_(::isatty(STDOUT_FILENO) == 1) {}

  void searchManagerIsBeginingSearches(const QueryContainer&) override {}

  void searchManagerFoundItems(const std::vector<SearchResult>& items, std::int64_t, const QueryContainer&) override {
    for (const auto& item : items) {
      if (options_.limit > 0 && found_ >= options_.limit) break;
      if (!options_.sort.empty()) {
        collected_.push_back(item);
        ++found_;
        continue;
      }
      std::string line = options_.json ? item.serialised() : item.path;
      line += '\n';
      std::fwrite(line.data(), 1, line.size(), stdout);
      ++found_;
    }
    // A terminal sees each line at once; a pipe gets whole buffers, flushed
    // at least every tick, so a long result list costs few writes.
    if (stdoutIsTerminal_) std::fflush(stdout);
    if (options_.limit > 0 && found_ >= options_.limit && manager_) manager_->stop();
  }

  void searchManagerHasFinishedAllSearches(const QueryContainer&) override {
    MainQueue::async([this] {
      if (beforeFinish) beforeFinish();
      finish();
    });
  }
  std::function<void()> beforeFinish;

  void tick() {
    std::fflush(stdout);
    if (interrupted && manager_ && !stopping_) {
      stopping_ = true;
      manager_->stop();
    }
    if (!live_ || !manager_) return;
    std::int64_t folders = 0;
    for (const auto& source : manager_->allDataSources())
      if (auto* crawl = dynamic_cast<FileSystemSearch*>(source.get())) folders += crawl->numberOfDirecoriesSearched();
    std::string text = progressText(found_, manager_->numberOfFilesSearched(), folders, manager_->numberOfItemsInQueue());
    std::fprintf(stderr, "\r\033[K%s", text.c_str());
    std::fflush(stderr);
  }

  void finish() {
    if (finished_) return;
    finished_ = true;
    if (auto column = columnFromString(options_.sort)) {
      for (const auto& item : sortedSearchResults(collected_, *column, options_.reverse)) {
        std::string line = (options_.json ? item.serialised() : item.path) + '\n';
        std::fwrite(line.data(), 1, line.size(), stdout);
      }
    }
    std::fflush(stdout);
    if (live_) std::fputs("\r\033[K", stderr);
    std::fprintf(stderr, "%s. Search complete.\n", countText(found_).c_str());
    MainQueue::stop();
  }

  std::shared_ptr<SearchManager> manager_;
  std::int64_t found() const { return found_; }

 private:
  const Options& options_;
  bool live_;
  bool stdoutIsTerminal_;
  bool stopping_ = false;
  bool finished_ = false;
  std::int64_t found_ = 0;
  std::vector<SearchResult> collected_;
};

std::string absoluteFolder(const std::string& text) {
  std::filesystem::path path = std::filesystem::absolute(text).lexically_normal();
  std::string out = path.string();
  while (out.size() > 1 && out.back() == '/') out.pop_back();
  return out;
}

int runSearch(const Options& options) {
  FSUtilities& fs = FSUtilities::shared();
  bool insideSystem = options.system;
  std::optional<SearchLocation> location;
  if (!options.folders.empty()) {
    std::vector<std::string> urls;
    for (const auto& folder : options.folders) {
      struct stat info {};
      if (::stat(folder.c_str(), &info) != 0) {
        std::fprintf(stderr, "velmora: %s: no such file or folder\n", folder.c_str());
        return 2;
      }
      if (!S_ISDIR(info.st_mode)) {
        std::fprintf(stderr, "velmora: %s: not a folder\n", folder.c_str());
        return 2;
      }
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

  SearchManagerEnvironment environment = SearchSources::standardEnvironment();
  QuickPauseScheduler scheduler;
  environment.scheduler = &scheduler;
  // Lives until the main loop has ended; drained before the final line.
  static CoalescingMainQueue mainQueue;
  environment.mainQueue = [](std::function<void()> task) { mainQueue.post(std::move(task)); };

  auto terminal = std::make_shared<TerminalSearch>(options);
  auto manager = SearchManager::make(terminal, insideSystem, std::move(environment));
  terminal->manager_ = manager;
  terminal->beforeFinish = [] { mainQueue.drain(); };

  struct sigaction action {};
  action.sa_handler = onInterrupt;
  sigemptyset(&action.sa_mask);
  ::sigaction(SIGINT, &action, nullptr);
  ::sigaction(SIGTERM, &action, nullptr);

  MainQueue::adoptCurrentThread();
  RepeatingTimer ticker(Scheduler::main(), Seconds(0.1), [&] { terminal->tick(); });
  manager->searchFor(query, location);
  MainQueue::run();
  ticker.cancel();
  manager->waitUntilDone();
  terminal->manager_.reset();
  return terminal->found() > 0 ? 0 : 1;
}

const bool registered = registerCli(10, [](CLI::App& root, CliContext& context) {
  auto options = std::make_shared<Options>();
  CLI::App* search = root.add_subcommand("search", "Find files and folders by name while the disks are walked");
  search->add_option("query", options->words, "query text: words to find in names, then ':' and commands")
      ->required();
  search->add_option("--in", options->folders, "search inside this folder (repeatable)");
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
  search->add_option("--limit", options->limit, "stop after N results")->check(CLI::NonNegativeNumber);
  search->add_option("--sort", options->sort, "print once at the end, sorted by this column")
      ->check(CLI::IsMember({"name", "size", "modDate", "created", "kind", "inside", "path"}));
  search->add_flag("--reverse", options->reverse, "with --sort: the other way round");
  search->callback([options, &context] {
    if (options->reverse && options->sort.empty()) options->sort = "name";
    context.exitCode = runSearch(*options);
  });
});

}  // namespace

}  // namespace velmora::app
