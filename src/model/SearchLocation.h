#pragma once
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "model/DiskInfo.h"

namespace velmora {

struct PathConventions;

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

// The name the location menu shows for a preset.
std::string locationName(SearchLocationURLSet preset);

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
  // Without a name, the location is called after its first target.
  SearchLocation(std::vector<SearchTarget> targets, std::string name);
  static SearchLocation fromURLs(const std::vector<std::string>& urls, std::string name);
  // The preset's share of `volumes` (the disks mounted now, as the disk
  // manager lists them); the home folder for `home`.
  static SearchLocation fromPreset(SearchLocationURLSet preset, const std::vector<DiskInfo>& volumes,
                                   std::string name = {});

  // Paths of the url targets, in order; offline targets are left out.
  std::vector<std::string> locationURLs() const;
  // The disks to walk for the location, the root standing for the walks of
  // the boot volume.
  std::vector<std::string> disksForLocations() const;
  std::vector<std::string> disksForLocations(const PathConventions& conventions) const;
  // Of the given indexes, those that cover this location, then the offline
  // targets.
  std::vector<std::shared_ptr<CacheVC_IndexInterface>> cachesForLocations(
      const std::vector<std::shared_ptr<CacheVC_IndexInterface>>& allIndexes) const;
  // Whether a result's path lies in this location: a plain string prefix
  // test, with no boundary at a path component.
  bool pathIsInLocation(const std::string& path) const;
  bool pathIsInLocation(const std::string& path, const PathConventions& conventions) const;
  bool singleMatchFor(const std::string& url) const;

  bool operator==(const SearchLocation& other) const = default;
};

}  // namespace velmora
