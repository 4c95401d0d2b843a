#pragma once
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

// A saved index that can be searched without its disk (implemented by the
// index subsystem). Only what locations need of it is named here.
class CacheVC_IndexInterface {
 public:
  virtual ~CacheVC_IndexInterface() = default;
  // The folder or disk the index covers; empty when unknown.
  virtual std::string targetPath() const = 0;
  virtual std::string displayName() const = 0;
};

// Presets of the location menu, in their fixed order.
enum class SearchLocationURLSet { allDisks = 0, macDisks, localDisks, networkDisks, backups, home };

// One thing a search looks at: a folder or disk here, or an index whose disk
// may be away.
struct SearchTarget {
  enum class Kind { url, offline };
  Kind kind = Kind::url;
  std::string url;  // absolute path, for Kind::url
  std::shared_ptr<CacheVC_IndexInterface> offline;

  static SearchTarget forURL(std::string path) { return {Kind::url, std::move(path), nullptr}; }
  static SearchTarget forIndex(std::shared_ptr<CacheVC_IndexInterface> index) {
    return {Kind::offline, {}, std::move(index)};
  }
  bool operator==(const SearchTarget& other) const {
    return kind == other.kind && url == other.url && offline == other.offline;
  }
};

// Where a query looks: a preset, or a hand-made list of targets. A value.
struct SearchLocation {
  std::optional<SearchLocationURLSet> locationSet;
  std::vector<SearchTarget> allTargets;
  std::string locationName;

  SearchLocation() = default;
  SearchLocation(std::vector<SearchTarget> targets, std::string name);
  static SearchLocation fromURLs(const std::vector<std::string>& urls, std::string name);
  static SearchLocation fromPreset(SearchLocationURLSet preset, std::string name = {});

  // Paths of the url targets, in order; offline targets are left out.
  std::vector<std::string> locationURLs() const;
  // The disks to walk for the location, the root standing for the walks of
  // the boot volume.
  std::vector<std::string> disksForLocations() const;
  // Whether a result's path lies in this location (a string prefix test).
  bool pathIsInLocation(const std::string& path) const;
  bool singleMatchFor(const std::string& url) const;

  bool operator==(const SearchLocation& other) const = default;
};

}  // namespace velmora
