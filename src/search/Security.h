#pragma once
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace velmora {

class FSUtilities;
class PreferenceStore;

// Remembered access to folders the user chose. A bookmark is a small record
// (path, device and inode, the volume's key and mount point) kept under the
// preference "securityBookmarks"; it resolves by its path, else on the
// volume with the same key wherever that is mounted now. Access is the
// process's own permission to read the folder. Main thread only.
class Security {
 public:
  static constexpr const char* bookmarksKey = "securityBookmarks";

  Security(PreferenceStore& store, FSUtilities& fsUtilities);
  static Security& shared();

  // `resetBookmarks` (the --reset-bookmarks flag) forgets every bookmark
  // first: the user's way out of bad ones.
  void startup(bool resetBookmarks = false);
  void addScopedURLsSuppliedByOpenPanel(const std::vector<std::string>& urls);
  // Opens the first usable bookmark equal to or above the path.
  bool startAccessKnownLocation(const std::string& url);

  const std::vector<std::string>& bookmarkedLocations() const { return bookmarkedLocations_; }
  const std::vector<std::string>& currentlyScoped() const { return currentlyScoped_; }

  // The bookmark record of a path, and what a record resolves to now.
  nlohmann::json bookmarkData(const std::string& url) const;
  std::optional<std::string> resolve(const nlohmann::json& data) const;

 private:
  void saveBookmark(const std::string& url);
  std::vector<std::string> searchURLs(const std::vector<std::string>& bookmarks, const std::string& url) const;
  void loadBookmarksDictionary();
  static bool startAccessingSecurityScopedResource(const std::string& url);

  PreferenceStore& store_;
  FSUtilities& fsUtilities_;
  std::vector<std::string> bookmarkedLocations_;
  std::vector<std::string> currentlyScoped_;
};

}  // namespace velmora
