// `velmora index ...`: commands that work on index files ("caches").
// `index` is a group; each verb is a subcommand of it.
#include <CLI/CLI.hpp>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <string>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "app/CliRegistry.h"
#include "common/ActivityItem.h"
#include "common/ActivityReporter.h"
#include "common/JSONText.h"
#include "app/TerminalText.h"
#include "common/TextCase.h"
#include "index/CacheInspector.h"
#include "index/ContentIndexManager.h"
#include "index/ImportWordSource.h"
#include "textimport/ImportClient.h"
#include "stores/PreferenceStore.h"

namespace velmora::app {

namespace {

namespace fs = std::filesystem;

// The progress of a build on standard error: one line redrawn on a
// terminal, plain lines otherwise.
class ProgressLine final : public ActivityReporter {
 public:
  ProgressLine() : live_(::isatty(STDERR_FILENO) == 1) {}
  void save(std::shared_ptr<ActivityItem> item) override {
    std::string text = item->leftText;
    if (!item->rightText.empty()) text += ": " + item->rightText;
    if (text == last_) return;
    // A build names every folder it enters; people read ten redraws a
    // second, and a log wants one folder line a second, not tens of
    // thousands. The counts come every 500 items and are always shown.
    const auto now = std::chrono::steady_clock::now();
    const auto gap = live_ ? std::chrono::milliseconds(100) : std::chrono::milliseconds(1000);
    const bool count = item->rightText.rfind("Cached ", 0) == 0;
    if (!count && !last_.empty() && now - lastShown_ < gap) return;
    lastShown_ = now;
    last_ = text;
    if (live_)
      std::fprintf(stderr, "\r\033[K%s", TerminalText::escaped(text).c_str());
    else
      std::fprintf(stderr, "%s\n", text.c_str());
    std::fflush(stderr);
  }
  void remove(const std::string&) override {
    if (live_) std::fputs("\r\033[K", stderr);
    last_.clear();
  }

 private:
  bool live_;
  std::string last_;
  std::chrono::steady_clock::time_point lastShown_{};
};

ProgressLine& progress() {
  static ProgressLine line;
  return line;
}

ContentIndexManager& manager() {
  static bool configured = [] {
    ContentIndexManager::Environment environment;
    environment.buildOptions.activity = &progress();
    static ImportWordSource words(ImportClient::shared());
    environment.buildOptions.words = &words;
    ContentIndexManager::configureShared(std::move(environment));
    return true;
  }();
  (void)configured;
  auto& shared = ContentIndexManager::shared();
  static bool reported = [&] {
    for (const auto& problem : shared.loadProblems()) std::cerr << "velmora index: " << problem << "\n";
    return true;
  }();
  (void)reported;
  return shared;
}

int fail(const std::string& command, const std::string& message) {
  std::cerr << "velmora index " << command << ": " << message << "\n";
  return 2;
}

std::string dateText(Date date) {
  if (secondsSinceReferenceDate(date) == 0) return "never";
  std::time_t t = std::chrono::system_clock::to_time_t(date);
  std::tm tm{};
  localtime_r(&t, &tm);
  char buffer[40];
  std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M", &tm);
  return buffer;
}

const char* modeWord(ContentIndexMode mode) {
  switch (mode) {
    case ContentIndexMode::off: return "names";
    case ContentIndexMode::textDocuments: return "text";
    case ContentIndexMode::ocrAndTextDocuments: return "ocr";
  }
  return "names";
}

std::uintmax_t sizeOnDisk(const fs::path& file) {
  std::error_code ec;
  auto size = fs::file_size(file, ec);
  return ec ? 0 : size;
}

int runInspect(const std::string& file, bool json, bool readHere) {
  if (readHere) {
    // The reading child of CacheInspector::inspect: its answer, whatever it is.
    std::cout << CacheInspector::childAnswer(file);
    std::cout.flush();
    return std::cout ? 0 : 1;
  }
  auto result = CacheInspector::inspect(file);
  if (!result) {
    std::cerr << "velmora index inspect: " << result.status().message() << "\n";
    return 1;
  }
  std::cout << (json ? CacheInspector::toJSON(*result) : CacheInspector::toText(*result));
  std::cout.flush();
  return 0;
}

void summarise(const ContentIndex& index) {
  std::cerr << fmt::format("\"{}\": {} items of {} in {} ({} bytes)\n", index.displayName,
                           index.documentInfo.numberOfFSItems.value_or(0), index.targetURL.value_or("?"),
                           index.localDBFile.string(), sizeOnDisk(index.localDBFile));
}

struct AddOptions {
  std::string folder;
  std::string mode = "names";
  std::string updatesEvery = "default";
  std::string name;
  std::string sharedCopy;
};

int runAdd(const AddOptions& options) {
  std::error_code ec;
  if (!fs::is_directory(options.folder, ec)) return fail("add", options.folder + ": not a folder");
  ContentIndexMode mode = ContentIndexMode::off;
  if (options.mode == "text")
    mode = ContentIndexMode::textDocuments;
  else if (options.mode == "ocr")
    mode = ContentIndexMode::ocrAndTextDocuments;
  else if (options.mode != "names")
    return fail("add", "--mode takes names, text or ocr");
  auto tag = cachingUpdatesTagFromWord(options.updatesEvery);
  if (!tag) return fail("add", "--updates-every takes restart, day, 2days, 3days, week, fortnight, month, never or default");
  std::string target = fs::absolute(options.folder).lexically_normal().string();
  while (target.size() > 1 && target.back() == '/') target.pop_back();
  ContentIndexManager& indexes = manager();
  for (const auto& existing : indexes.indexes())
    if (existing->targetURL == target)
      return fail("add", target + " already has an index, \"" + existing->displayName + "\"");
  if (!options.name.empty() && indexes.find(options.name))
    return fail("add", "an index named \"" + options.name + "\" exists already");
  auto file = indexes.newLocalIndex(options.name.empty() ? target : options.name + ".vlcache");
  if (!file) return fail("add", file.status().message());
  fs::create_directories(file->parent_path(), ec);
  std::optional<fs::path> shared;
  if (!options.sharedCopy.empty()) shared = fs::absolute(options.sharedCopy);
  auto index = indexes.newIndex(target, *file, shared);
  if (!options.name.empty()) index->displayName = options.name;
  index->updatesEvery = *tag;
  index->documentInfo.lastIndexMode = mode;
  // Adding an index is asking for index use.
  if (!PreferenceStore::shared().hasUserValue("diskCatalogCaching"))
    if (Status on = PreferenceStore::shared().setValue("diskCatalogCaching", true); !on.ok())
      return fail("add", on.message());
  if (Status saved = indexes.save(); !saved.ok()) return fail("add", saved.message());
  Status built = indexes.refresh(index, true);
  if (!built.ok()) return fail("add", "\"" + index->displayName + "\" is listed but its build failed: " + built.message());
  summarise(*index);
  return 0;
}

int runList(bool json) {
  ContentIndexManager& indexes = manager();
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const auto& index : indexes.indexes()) {
    std::string state = index->state == ContentIndexLMDBState::building ? "building" : "idle";
    std::error_code ec;
    if (!fs::exists(index->localDBFile, ec)) state = "file missing";
    list.push_back(nlohmann::ordered_json{
        {"name", index->displayName},
        {"target", index->targetURL.value_or("")},
        {"file", index->localDBFile.string()},
        {"sharedCopy", index->remoteDBFile ? index->remoteDBFile->string() : ""},
        {"sizeOnDisk", sizeOnDisk(index->localDBFile)},
        {"items", index->documentInfo.numberOfFSItems.value_or(0)},
        {"lastUpdated", dateText(index->documentInfo.lastUpdated)},
        {"mode", modeWord(index->documentInfo.lastIndexMode)},
        {"updatesEvery", cachingUpdatesWord(index->updatesEvery)},
        {"state", state},
        {"targetPresent", index->isTargetMounted()}});
  }
  if (json) {
    std::cout << JSONText::dump(list, 2) << "\n";
  } else if (list.empty()) {
    std::cout << "No indexes. Add one with: velmora index add FOLDER\n";
  } else {
    for (const auto& entry : list)
      std::cout << fmt::format("{}\n  target: {}{}\n  file: {} ({} bytes)\n  items: {}, last updated {}, mode {}, "
                               "updates every {}, {}\n",
                               entry["name"].get<std::string>(), entry["target"].get<std::string>(),
                               entry["targetPresent"].get<bool>() ? "" : " (not present)",
                               entry["file"].get<std::string>(), entry["sizeOnDisk"].get<std::uintmax_t>(),
                               entry["items"].get<std::int64_t>(), entry["lastUpdated"].get<std::string>(),
                               entry["mode"].get<std::string>(), entry["updatesEvery"].get<std::string>(),
                               entry["state"].get<std::string>());
  }
  std::cout.flush();
  return std::cout ? 0 : 2;
}

int runUpdate(const std::string& name, bool all, bool rebuild) {
  ContentIndexManager& indexes = manager();
  std::vector<std::shared_ptr<ContentIndex>> chosen;
  if (all) {
    chosen = indexes.indexes();
  } else {
    if (name.empty()) return fail("update", "name an index, or give --all");
    auto index = indexes.find(name);
    if (!index) return fail("update", "no index named \"" + name + "\" (see velmora index list)");
    chosen.push_back(index);
  }
  int code = 0;
  for (const auto& index : chosen) {
    if (rebuild) index->documentInfo.isDirty = true;
    Status built = indexes.refresh(index, true);
    if (!built.ok()) {
      code = fail("update", "\"" + index->displayName + "\": " + built.message());
      continue;
    }
    summarise(*index);
  }
  return code;
}

int runRemove(const std::string& name, bool deleteFile) {
  ContentIndexManager& indexes = manager();
  auto index = indexes.find(name);
  if (!index) return fail("remove", "no index named \"" + name + "\" (see velmora index list)");
  if (Status removed = indexes.remove(index, deleteFile); !removed.ok()) return fail("remove", removed.message());
  std::cerr << "\"" << index->displayName << "\" is no longer listed"
            << (deleteFile ? " and its file is deleted" : "; its file stays at " + index->localDBFile.string()) << "\n";
  return 0;
}

int runAdopt(const std::string& file) {
  // Read in a separate process first: a damaged file must not take this one down.
  auto inspected = CacheInspector::inspect(file);
  if (!inspected) return fail("adopt", inspected.status().message());
  auto adopted = manager().addExistingIndex(file);
  if (!adopted) return fail("adopt", adopted.status().message());
  summarise(**adopted);
  return 0;
}

struct WordsOptions {
  std::string name;
  std::vector<std::string> words;
  std::vector<std::string> without;
  bool wholeWords = false;
  bool allWords = false;
  bool json = false;
};

int runWords(const WordsOptions& options) {
  auto index = manager().find(options.name);
  if (!index) return fail("words", "no index named \"" + options.name + "\" (see velmora index list)");
  std::vector<std::string> words, without;
  for (const auto& w : options.words) words.push_back(TextCase::plainLowercase(w));
  for (const auto& w : options.without) without.push_back(TextCase::plainLowercase(w));
  index->readOnly = true;
  if (Status opened = index->open(); !opened.ok()) return fail("words", opened.message());
  auto found = index->searchContent(words, without, options.wholeWords, options.allWords);
  index->close();
  if (!found) return fail("words", found.status().message());
  std::vector<std::pair<std::string, std::int64_t>> ranked(found->begin(), found->end());
  std::stable_sort(ranked.begin(), ranked.end(), [](const auto& a, const auto& b) { return a.second > b.second; });
  for (const auto& [path, score] : ranked) {
    if (options.json)
      std::cout << JSONText::dump(nlohmann::ordered_json{{"path", JSONText::escaped(path)}, {"score", score}}) << "\n";
    else
      std::cout << score << "\t" << path << "\n";
  }
  std::cout.flush();
  if (!std::cout) return 2;
  return ranked.empty() ? 1 : 0;
}

const bool registered = registerCli(60, [](CLI::App& root, CliContext& context) {
  CLI::App* index = root.add_subcommand("index", "build, list and search indexes of folders and disks (\"caches\")");
  index->require_subcommand(1);

  CLI::App* inspect = index->add_subcommand(
      "inspect", "print everything an index file holds: its information, items, dead list and words");
  auto file = std::make_shared<std::string>();
  auto json = std::make_shared<bool>(false);
  inspect->add_option("FILE", *file, "the index file (.vlcache), opened read-only")->required();
  auto readHere = std::make_shared<bool>(false);
  inspect->add_flag("--json", *json, "print JSON instead of text");
  // Used by the program itself to read a file in a separate process.
  inspect->add_flag(CacheInspector::kInProcessOption, *readHere)->group("");
  inspect->callback([&context, file, json, readHere] { context.exitCode = runInspect(*file, *json, *readHere); });

  auto add = std::make_shared<AddOptions>();
  CLI::App* addCommand = index->add_subcommand("add", "index a folder or disk, so that it can be searched also when "
                                                      "it is not there, and keep the index current");
  addCommand->add_option("FOLDER", add->folder, "the folder or disk to index")->required();
  addCommand->add_option("--mode", add->mode, "names (default), text or ocr");
  addCommand->add_option("--updates-every", add->updatesEvery,
                         "restart, day, 2days, 3days, week, fortnight, month, never or default");
  addCommand->add_option("--name", add->name, "the index's name (default: FOLDER on DISK)");
  addCommand->add_option("--shared-copy", add->sharedCopy, "a copy of the index file to keep in step, for other users");
  addCommand->callback([&context, add] { context.exitCode = runAdd(*add); });

  auto listJSON = std::make_shared<bool>(false);
  CLI::App* list = index->add_subcommand("list", "list the indexes with their targets, files, sizes and states");
  list->add_flag("--json", *listJSON, "print JSON");
  list->callback([&context, listJSON] { context.exitCode = runList(*listJSON); });

  auto updateName = std::make_shared<std::string>();
  auto updateAll = std::make_shared<bool>(false);
  auto rebuild = std::make_shared<bool>(false);
  CLI::App* update = index->add_subcommand("update", "bring an index up to date with its folder");
  update->add_option("NAME", *updateName, "the index (see velmora index list)");
  update->add_flag("--all", *updateAll, "every index whose folder is there");
  update->add_flag("--rebuild", *rebuild, "start again from an empty index");
  update->callback([&context, updateName, updateAll, rebuild] {
    context.exitCode = runUpdate(*updateName, *updateAll, *rebuild);
  });

  auto removeName = std::make_shared<std::string>();
  auto deleteFile = std::make_shared<bool>(false);
  CLI::App* remove = index->add_subcommand("remove", "stop listing an index");
  remove->add_option("NAME", *removeName, "the index")->required();
  remove->add_flag("--delete-file", *deleteFile, "delete its file too");
  remove->callback([&context, removeName, deleteFile] { context.exitCode = runRemove(*removeName, *deleteFile); });

  auto adoptFile = std::make_shared<std::string>();
  CLI::App* adopt = index->add_subcommand("adopt", "list an index file made elsewhere; it is kept in step as a shared copy");
  adopt->add_option("FILE", *adoptFile, "the index file (.vlcache)")->required();
  adopt->callback([&context, adoptFile] { context.exitCode = runAdopt(*adoptFile); });

  auto words = std::make_shared<WordsOptions>();
  CLI::App* wordsCommand =
      index->add_subcommand("words", "find documents by their words in an index built with --mode text or ocr");
  wordsCommand->add_option("NAME", words->name, "the index")->required();
  wordsCommand->add_option("WORD", words->words, "words to find")->required();
  wordsCommand->add_option("--without", words->without, "documents holding any of these words are left out");
  wordsCommand->add_flag("--whole-words", words->wholeWords, "a word must match whole, not as part of a longer one");
  wordsCommand->add_flag("--all-words", words->allWords, "a document must hold every word");
  wordsCommand->add_flag("--json", words->json, "print JSON lines");
  wordsCommand->callback([&context, words] { context.exitCode = runWords(*words); });
});

}  // namespace

}  // namespace velmora::app
