#include "search/Security.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "common/Logger.h"
#include "search/FSUtilities.h"
#include "stores/PreferenceStore.h"

namespace velmora {

namespace {
bool startsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}
bool exists(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0;
}
}  // namespace

Security::Security(PreferenceStore& store, FSUtilities& fsUtilities) : store_(store), fsUtilities_(fsUtilities) {}

Security& Security::shared() {
  static Security* security = new Security(PreferenceStore::shared(), FSUtilities::shared());
  return *security;
}

void Security::startup(bool resetBookmarks) {
  if (resetBookmarks) {
    VLOG("resetting security bookmarks");
    store_.remove(bookmarksKey);
  }
  loadBookmarksDictionary();
  startAccessKnownLocation("/");
}

nlohmann::json Security::bookmarkData(const std::string& url) const {
  nlohmann::json data = {{"path", url}};
  struct stat info {};
  if (::stat(url.c_str(), &info) == 0) {
    data["device"] = static_cast<std::uint64_t>(info.st_dev);
    data["inode"] = static_cast<std::uint64_t>(info.st_ino);
  }
  data["volumeKey"] = fsUtilities_.keyForDisk(url);
  if (auto volume = fsUtilities_.volumes().volumeFor(url)) data["volumePath"] = volume->mountPoint;
  return data;
}

std::optional<std::string> Security::resolve(const nlohmann::json& data) const {
  if (!data.is_object() || !data.contains("path") || !data["path"].is_string()) return std::nullopt;
  std::string path = data["path"].get<std::string>();
  if (exists(path)) return fsUtilities_.correctRootBasedPath(path);
  // The volume may be mounted somewhere else now: find it by its key.
  if (!data.contains("volumeKey") || !data["volumeKey"].is_string() || !data.contains("volumePath") ||
      !data["volumePath"].is_string())
    return std::nullopt;
  std::string key = data["volumeKey"].get<std::string>();
  std::string oldMount = data["volumePath"].get<std::string>();
  if (key.empty() || !startsWith(path, oldMount)) return std::nullopt;
  std::string inside = path.substr(oldMount == "/" ? 0 : oldMount.size());
  VolumeTable table = fsUtilities_.volumes();
  for (const auto& volume : table.volumes()) {
    if (fsUtilities_.keyForDisk(volume.mountPoint) != key) continue;
    std::string candidate = volume.mountPoint == "/" ? inside : volume.mountPoint + inside;
    if (exists(candidate)) return fsUtilities_.correctRootBasedPath(candidate);
  }
  return std::nullopt;
}

void Security::loadBookmarksDictionary() {
  bookmarkedLocations_.clear();
  nlohmann::json stored = store_.objectForKey(bookmarksKey);
  if (!stored.is_array()) return;
  for (const auto& data : stored) {
    auto url = resolve(data);
    if (url && std::find(bookmarkedLocations_.begin(), bookmarkedLocations_.end(), *url) == bookmarkedLocations_.end())
      bookmarkedLocations_.push_back(*url);
  }
}

std::vector<std::string> Security::searchURLs(const std::vector<std::string>& bookmarks, const std::string& url) const {
  std::string wanted = fsUtilities_.correctRootBasedPath(url);
  std::vector<std::string> equal, above;
  for (const auto& bookmark : bookmarks) {
    std::string corrected = fsUtilities_.correctRootBasedPath(bookmark);
    if (corrected == wanted)
      equal.push_back(bookmark);
    else if (startsWith(wanted, corrected))
      above.push_back(bookmark);
  }
  equal.insert(equal.end(), above.begin(), above.end());
  return equal;
}

bool Security::startAccessingSecurityScopedResource(const std::string& url) {
  return ::access(url.c_str(), R_OK) == 0;
}

bool Security::startAccessKnownLocation(const std::string& url) {
  for (const auto& candidate : searchURLs(bookmarkedLocations_, url)) {
    if (!startAccessingSecurityScopedResource(candidate)) {
      VLOG("startAccessKnownLocation FAILED.");
      continue;
    }
    currentlyScoped_.push_back(candidate);
    return true;
  }
  return false;
}

void Security::addScopedURLsSuppliedByOpenPanel(const std::vector<std::string>& urls) {
  for (const auto& url : urls) {
    currentlyScoped_.push_back(url);
    if (searchURLs(bookmarkedLocations_, url).empty()) saveBookmark(url);
  }
}

void Security::saveBookmark(const std::string& url) {
  nlohmann::json stored = store_.objectForKey(bookmarksKey);
  if (!stored.is_array()) stored = nlohmann::json::array();
  stored.push_back(bookmarkData(url));
  store_.set(bookmarksKey, stored);
  bookmarkedLocations_.push_back(url);
}

}  // namespace velmora
