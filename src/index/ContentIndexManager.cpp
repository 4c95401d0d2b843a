#include "index/ContentIndexManager.h"

#include <cerrno>
#include <ctime>
#include <thread>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "common/AppDirectories.h"
#include "common/JSONText.h"
#include "common/Logger.h"
#include "index/IndexMirror.h"
#include "index/store/DocumentInfo.h"
#include "platform/PathConventions.h"
#include "platform/VolumeTable.h"
#include "stores/PreferenceStore.h"
#include "stores/Preferences.h"

namespace velmora {

namespace fs = std::filesystem;
using nlohmann::ordered_json;

namespace {

bool isAtOrBelow(std::string_view path, std::string_view folder) {
  while (folder.size() > 1 && folder.back() == '/') folder.remove_suffix(1);
  if (folder == "/") return path.starts_with('/');
  return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

std::tm localTime(Date date) {
  std::time_t t = std::chrono::system_clock::to_time_t(date);
  std::tm tm{};
  localtime_r(&t, &tm);
  return tm;
}

// The global setting's choices, mapped onto a record's.
CachingUpdatesTag globalTag() {
  auto tag = Preferences::cachingUpdatesTag();
  if (!tag) return CachingUpdatesTag::defaultTiming;
  switch (*tag) {
    case Preferences::CachingUpdatesTag::appRestart: return CachingUpdatesTag::appRestart;
    case Preferences::CachingUpdatesTag::day: return CachingUpdatesTag::day;
    case Preferences::CachingUpdatesTag::twoDays: return CachingUpdatesTag::twoDays;
    case Preferences::CachingUpdatesTag::threeDays: return CachingUpdatesTag::threeDays;
    case Preferences::CachingUpdatesTag::week: return CachingUpdatesTag::week;
    case Preferences::CachingUpdatesTag::fortnight: return CachingUpdatesTag::fortnight;
    case Preferences::CachingUpdatesTag::month: return CachingUpdatesTag::month;
    default: return CachingUpdatesTag::defaultTiming;
  }
}

// A time of day from the setting: seconds since 2001 or "HH:MM".
std::optional<std::pair<int, int>> hourAndMinute(const nlohmann::json& value) {
  if (value.is_number()) {
    std::tm tm = localTime(dateFromReferenceSeconds(value.get<double>()));
    return std::make_pair(tm.tm_hour, tm.tm_min);
  }
  if (value.is_string()) {
    int hour = 0, minute = 0;
    if (std::sscanf(value.get<std::string>().c_str(), "%d:%d", &hour, &minute) == 2) return std::make_pair(hour, minute);
  }
  return std::nullopt;
}

}  // namespace

ContentIndexManager::ContentIndexManager(Environment environment) : environment_(std::move(environment)) {
  if (environment_.folder.empty()) environment_.folder = AppDirectories::applicationSupportDirectory();
  if (environment_.resetCaches) {
    Status removed = preferences().removeValue(kSavedIndexInfoKey);
    if (!removed.ok()) loadProblems_.push_back(removed.message());
    return;
  }
  load();
}

namespace {
std::optional<ContentIndexManager::Environment>& sharedEnvironment() {
  static std::optional<ContentIndexManager::Environment> environment;
  return environment;
}
}  // namespace

void ContentIndexManager::configureShared(Environment environment) { sharedEnvironment() = std::move(environment); }

ContentIndexManager& ContentIndexManager::shared() {
  static ContentIndexManager manager(sharedEnvironment().value_or(Environment{}));
  return manager;
}

PreferenceStore& ContentIndexManager::preferences() const {
  return environment_.preferences ? *environment_.preferences : PreferenceStore::shared();
}

VolumeTable ContentIndexManager::volumes() const {
  return environment_.volumes ? environment_.volumes() : VolumeTable::current();
}

Status ContentIndexManager::save() {
  ordered_json list = ordered_json::array();
  for (const auto& index : indexes_) {
    ordered_json entry = ordered_json::object();
    entry["displayName"] = index->displayName;
    entry["localDBFilePath"] = index->localDBFile.string();
    entry["updatesEvery"] = static_cast<std::int64_t>(index->updatesEvery);
    entry["indexMode"] = static_cast<int>(index->documentInfo.lastIndexMode);
    if (index->targetURL) entry["targetURL"] = DocumentInfo::fileURL(*index->targetURL);
    if (index->remoteDBFile) entry["remoteDBFilePath"] = index->remoteDBFile->string();
    entry["uuidString"] = index->id;
    list.push_back(std::move(entry));
  }
  Status stored = preferences().setValue(kSavedIndexInfoKey, JSONText::dump(list));
  for (const auto& observer : observers_) observer();
  if (!stored.ok()) return Status(stored.code(), "the list of indexes could not be saved: " + stored.message());
  return Status();
}

void ContentIndexManager::load() {
  nlohmann::json saved = preferences().objectForKey(kSavedIndexInfoKey);
  if (!saved.is_string()) {
    loadLegacy();
    return;
  }
  auto list = nlohmann::json::parse(saved.get<std::string>(), nullptr, false);
  if (list.is_discarded() || !list.is_array()) {
    loadProblems_.push_back("the list of indexes (\"SavedIndexInfo\") is damaged; no index is listed, the files stay");
    return;
  }
  for (const auto& entry : list) {
    if (!entry.is_object() || !entry.contains("localDBFilePath") || !entry["localDBFilePath"].is_string()) {
      loadProblems_.push_back("an entry of the list of indexes has no file and was passed over");
      continue;
    }
    std::optional<std::string> id;
    if (entry.contains("uuidString") && entry["uuidString"].is_string()) id = entry["uuidString"].get<std::string>();
    std::string name = entry.value("displayName", std::string());
    auto index = std::make_shared<ContentIndex>(fs::path(entry["localDBFilePath"].get<std::string>()), name, id);
    if (entry.contains("updatesEvery") && entry["updatesEvery"].is_number_integer())
      index->updatesEvery = cachingUpdatesTagFromRaw(entry["updatesEvery"].get<std::int64_t>());
    if (entry.contains("targetURL") && entry["targetURL"].is_string())
      index->targetURL = DocumentInfo::pathFromURL(entry["targetURL"].get<std::string>());
    if (entry.contains("remoteDBFilePath") && entry["remoteDBFilePath"].is_string())
      index->remoteDBFile = fs::path(entry["remoteDBFilePath"].get<std::string>());
    if (entry.contains("indexMode") && entry["indexMode"].is_number_integer())
      if (auto mode = contentIndexModeFromRaw(entry["indexMode"].get<std::int64_t>()))
        index->documentInfo.lastIndexMode = *mode;
    // A file that is gone is not made again by a mere listing; one that
    // can't be read stays listed with what the record says.
    if (fs::exists(index->localDBFile)) {
      index->readOnly = true;
      Status loaded = index->loadDocumentInfo();
      index->readOnly = false;
      if (!loaded.ok()) loadProblems_.push_back(loaded.message());
    }
    if (!index->targetURL) index->targetURL = index->documentInfo.suggestedTarget;
    if (index->displayName.empty()) index->displayName = suggestNiceName(index->targetURL.value_or(name));
    indexes_.push_back(std::move(index));
  }
}

void ContentIndexManager::loadLegacy() {
  nlohmann::json legacy = preferences().objectForKey(kLegacyKey);
  if (legacy.is_string()) legacy = nlohmann::json::parse(legacy.get<std::string>(), nullptr, false);
  if (!legacy.is_array()) return;
  for (const auto& record : legacy) {
    if (!record.is_object()) continue;
    std::string cacheFile = record.value("cacheFileName", std::string());
    if (!cacheFile.empty()) {
      fs::path old = fs::path(cacheFile).is_absolute() ? fs::path(cacheFile) : environment_.folder / cacheFile;
      std::error_code ignored;
      fs::remove(old, ignored);
    }
    std::string target;
    for (const char* key : {"rootDirectory", "diskURL"})
      if (record.contains(key) && record[key].is_string())
        if (auto path = DocumentInfo::pathFromURL(record[key].get<std::string>())) {
          target = *path;
          break;
        }
    if (target.empty()) continue;
    auto file = newLocalIndex(target);
    if (!file) {
      loadProblems_.push_back(file.status().message());
      continue;
    }
    auto index = newIndex(target, *file);
    if (record.contains("updatesEvery") && record["updatesEvery"].is_number_integer())
      index->updatesEvery = cachingUpdatesTagFromRaw(record["updatesEvery"].get<std::int64_t>());
  }
  save().ignore();  // a failed save is in the store's own error line
}

std::string ContentIndexManager::suggestNiceName(const std::string& target) const {
  fs::path path(target);
  if (path.extension() == std::string(".") + kExtension) return path.stem().string();
  std::string trimmed = target;
  while (trimmed.size() > 1 && trimmed.back() == '/') trimmed.pop_back();
  VolumeTable table = volumes();
  auto volume = table.volumeFor(trimmed);
  std::string mountPoint = volume ? volume->mountPoint : "/";
  std::string volumeName = mountPoint == "/" ? "Boot Drive"
                                             : (volume && volume->label ? *volume->label
                                                                        : fs::path(mountPoint).filename().string());
  if (trimmed == mountPoint || trimmed.empty()) return volumeName;
  return fs::path(trimmed).filename().string() + " on " + volumeName;
}

Result<fs::path> ContentIndexManager::newLocalIndex(const std::string& target, bool testingDoNoIncrement) const {
  std::string base = suggestNiceName(target);
  // A name is a file name: no slashes in it.
  for (char& c : base)
    if (c == '/') c = ':';
  fs::path first = environment_.folder / (base + "." + kExtension);
  if (testingDoNoIncrement) return first;
  std::error_code ec;
  if (!fs::exists(first, ec)) return first;
  for (int n = 1; n <= 99; ++n) {
    fs::path candidate = environment_.folder / fmt::format("{}-{}.{}", base, n, kExtension);
    if (!fs::exists(candidate, ec)) return candidate;
  }
  // EEXIST is the error 17 of the record.
  static_assert(EEXIST == kCollisionErrorCode);
  return Status::fromErrno(EEXIST, fmt::format("ContentIndexManager.cpp.newLocalIndex.{}: error {}: no free file name "
                                               "for \"{}\" after 100 attempts",
                                               __LINE__, kCollisionErrorCode, base));
}

std::shared_ptr<ContentIndex> ContentIndexManager::newIndex(const std::string& targetURL, fs::path localDBFile,
                                                            std::optional<fs::path> remoteDBFile) {
  auto index = std::make_shared<ContentIndex>(std::move(localDBFile), suggestNiceName(targetURL));
  index->targetURL = targetURL;
  index->documentInfo.suggestedTarget = targetURL;
  index->remoteDBFile = std::move(remoteDBFile);
  indexes_.push_back(index);
  return index;
}

Result<std::shared_ptr<ContentIndex>> ContentIndexManager::addExistingIndex(const fs::path& dbfile) {
  std::error_code ec;
  if (!fs::is_regular_file(dbfile, ec)) return Status::notFound(dbfile.string() + " is not an index file");
  for (const auto& index : indexes_)
    if (index->remoteDBFile && fs::equivalent(*index->remoteDBFile, dbfile, ec))
      return Status::invalidArgument(dbfile.string() + " is already listed as \"" + index->displayName + "\"");
  auto local = newLocalIndex(dbfile.string());
  if (!local) return local.status();
  auto index = std::make_shared<ContentIndex>(*local, suggestNiceName(dbfile.string()));
  index->remoteDBFile = fs::absolute(dbfile);
  auto mirrored = IndexMirror::mirrorIfNeeded(index->localDBFile, *index->remoteDBFile, true, *environment_.clock);
  Status loaded = mirrored ? index->loadDocumentInfo() : mirrored.status();
  if (!loaded.ok()) {
    fs::remove(index->localDBFile, ec);
    return Status(loaded.code(), dbfile.string() + " can't be adopted: " + loaded.message());
  }
  index->targetURL = index->documentInfo.suggestedTarget;
  indexes_.push_back(index);
  if (Status saved = save(); !saved.ok()) return saved;
  return index;
}

Status ContentIndexManager::remove(const std::shared_ptr<ContentIndex>& index, bool deleteFile) {
  index->shouldCancel = true;
  std::erase(indexes_, index);
  std::erase(timedRefreshIndexes_, index);
  if (deleteFile) {
    std::error_code ec;
    fs::remove(index->localDBFile, ec);
    if (ec) return Status::fromErrno(ec.value(), "removing " + index->localDBFile.string());
  }
  return save();
}

std::shared_ptr<ContentIndex> ContentIndexManager::find(const std::string& nameOrFile) const {
  for (const auto& index : indexes_)
    if (index->displayName == nameOrFile) return index;
  std::error_code ec;
  for (const auto& index : indexes_)
    if (index->localDBFile == nameOrFile || fs::equivalent(index->localDBFile, nameOrFile, ec)) return index;
  return nullptr;
}

std::vector<std::shared_ptr<ContentIndex>> ContentIndexManager::cachesForItem(const std::string& path) const {
  // On Linux a disk is found by its mount point, so the reduction to the
  // disk's root is the prefix test itself.
  std::vector<std::shared_ptr<ContentIndex>> found;
  for (const auto& index : indexes_) {
    const auto& target = index->documentInfo.suggestedTarget ? index->documentInfo.suggestedTarget : index->targetURL;
    if (target && isAtOrBelow(path, *target)) found.push_back(index);
  }
  return found;
}

std::optional<std::vector<std::pair<std::string, FSItem>>> ContentIndexManager::loadChildrenFromCache(
    const std::string& directory) const {
  std::string folder = directory;
  while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
  for (const auto& index : cachesForItem(folder)) {
    if (!index->open().ok()) continue;
    auto id = index->findID(folder);
    std::optional<std::vector<std::pair<std::string, FSItem>>> children;
    if (id && *id) {
      if (auto contents = index->loadFolderContents(**id)) {
        children.emplace();
        for (auto& [name, item] : *contents)
          children->emplace_back(folder == "/" ? "/" + name : folder + "/" + name, std::move(item));
      }
    }
    index->close();
    if (children) return children;
  }
  return std::nullopt;
}

bool ContentIndexManager::isIndexing(const std::string& diskURL) const {
  for (const auto& index : indexes_)
    if (index->state == ContentIndexLMDBState::building && index->targetURL && isAtOrBelow(*index->targetURL, diskURL))
      return true;
  return false;
}

Status ContentIndexManager::buildNow(const std::shared_ptr<ContentIndex>& index, bool userInitiated) const {
  if (index->state == ContentIndexLMDBState::building) return Status();
  std::optional<std::string> target = index->targetURL ? index->targetURL : index->documentInfo.suggestedTarget;
  std::error_code ec;
  if (!target) return Status::notFound("\"" + index->displayName + "\" doesn't say which folder it covers");
  if (!fs::is_directory(*target, ec))
    return Status::notFound("the folder of \"" + index->displayName + "\", " + *target + ", is not there");
  ContentIndexBuilder builder(*index, environment_.buildOptions);
  index->targetURL = target;
  return builder.build({*target}, userInitiated, index->documentInfo.lastIndexMode);
}

Status ContentIndexManager::refresh(const std::shared_ptr<ContentIndex>& index, bool userInitiated) {
  Status result = buildNow(index, userInitiated);
  if (Status saved = save(); result.ok() && !saved.ok()) result = saved;
  // The timed chain goes on whatever the outcome.
  performNextTimedIndexRefresh();
  return result;
}

int ContentIndexManager::buildingCount() const {
  int count = 0;
  for (const auto& index : indexes_)
    if (index->state == ContentIndexLMDBState::building || index->state == ContentIndexLMDBState::waitingToBuild)
      ++count;
  return count;
}

void ContentIndexManager::start(const std::shared_ptr<ContentIndex>& index, bool userInitiated) {
  if (environment_.startRefresh) {
    index->state = ContentIndexLMDBState::waitingToBuild;
    environment_.startRefresh(index, userInitiated);
    return;
  }
  Status status = refresh(index, userInitiated);
  if (!status.ok()) VLOG("index: {}", status.message());
}

bool ContentIndexManager::scheduleRefreshIfNeeded(const std::shared_ptr<ContentIndex>& index) {
  if (!preferences().boolForKey("diskCatalogCaching")) return false;
  if (index->state != ContentIndexLMDBState::none) return false;
  CachingUpdatesTag tag = index->updatesEvery == CachingUpdatesTag::defaultTiming ? globalTag() : index->updatesEvery;
  if (tag == CachingUpdatesTag::appRestart) {
    if (index->hasBeenUpdated) return false;
    index->hasBeenUpdated = true;
    start(index, false);
    return true;
  }
  Date now = environment_.clock->now();
  if (tag == CachingUpdatesTag::day) {
    std::tm then = localTime(index->documentInfo.lastUpdated), today = localTime(now);
    if (then.tm_year != today.tm_year || then.tm_yday != today.tm_yday) {
      start(index, false);
      return true;
    }
  }
  auto seconds = cachingUpdatesSeconds(tag);
  if (!seconds) return false;
  double age = std::abs(secondsSinceReferenceDate(now) - secondsSinceReferenceDate(index->documentInfo.lastUpdated));
  if (age > static_cast<double>(*seconds)) {
    start(index, false);
    return true;
  }
  return false;
}

void ContentIndexManager::startScheduledRefreshIfNeeded() {
  PreferenceStore& store = preferences();
  if (!store.boolForKey("fileContentCachingTimeUpdatesEnabled")) return;
  if (timedRefreshCurrentIndex_ || !timedRefreshIndexes_.empty()) return;
  Date now = environment_.clock->now();
  nlohmann::json last = store.objectForKey("fileContentCachingUpdateLastTime");
  if (last.is_number() &&
      secondsSinceReferenceDate(now) - last.get<double>() <= 60.0)
    return;
  auto wanted = hourAndMinute(store.objectForKey("fileContentCachingUpdateTime"));
  std::tm current = localTime(now);
  if (!wanted || wanted->first != current.tm_hour || wanted->second != current.tm_min) return;
  // Not saved (a read-only home): the 60-second guard still holds in memory
  // through the running round.
  store.setValue("fileContentCachingUpdateLastTime", secondsSinceReferenceDate(now)).ignore();
  timedRefreshIndexes_ = indexes_;
}

void ContentIndexManager::performNextTimedIndexRefresh() {
  if (timedRefreshCurrentIndex_ && timedRefreshCurrentIndex_->state == ContentIndexLMDBState::building) return;
  if (timedRefreshCurrentIndex_) {
    // A cancel ends the whole round.
    if (timedRefreshCurrentIndex_->shouldCancel) timedRefreshIndexes_.clear();
    timedRefreshCurrentIndex_.reset();
  }
  if (timedRefreshIndexes_.empty()) return;
  timedRefreshCurrentIndex_ = timedRefreshIndexes_.front();
  timedRefreshIndexes_.erase(timedRefreshIndexes_.begin());
  if (timedRefreshCurrentIndex_->state != ContentIndexLMDBState::building) start(timedRefreshCurrentIndex_, false);
}

void ContentIndexManager::cancelAll() {
  for (const auto& index : indexes_) index->shouldCancel = true;
  for (const auto& index : indexes_) {
    while (index->state == ContentIndexLMDBState::building) {
      VLOG("Waiting...");
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
  }
}

}  // namespace velmora
