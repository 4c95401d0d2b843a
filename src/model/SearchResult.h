#pragma once
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace velmora {

// The kind of source that found a result; also the type of each data source.
// Serialised as its integer value, so the numbers are part of the wire format.
enum class SearchResultSupplier : int {
  none = 0,
  fileSystem = 1,
  spotlight = 2,
  spotlightContent = 3,
  recentItem = 4,
  FSCompactSearch = 5,
  KnownDirectoriesSearch = 6,
  sqlCache = 7,
  showAppsCmd = 8,
  sidebar = 9,
  CompactContentIndex = 10,
  MailSearchDataSource = 11,
};

// The case name ("fileSystem"), or empty for a value outside the list.
std::string_view toString(SearchResultSupplier supplier);
std::optional<SearchResultSupplier> searchResultSupplierFromRaw(std::int64_t raw);

// A stretch of extracted text, in characters from its start.
struct TextRange {
  std::size_t location = 0;
  std::size_t length = 0;
  bool operator==(const TextRange&) const = default;
};

// One file or folder that a data source found. A value: it is copied between
// threads and sent to other machines in its serialised form.
struct SearchResult {
  // Identity in views; a fresh one for every record made here, kept as sent
  // for records that arrive from elsewhere. Upper-case canonical text.
  std::string uuid = newUUID();
  std::optional<std::string> diskKey;
  std::string path;
  std::uint64_t size = 0;
  // Whole seconds since 1970, truncated; 0 when not known.
  std::int64_t creationDate = 0;
  std::int64_t modDate = 0;
  std::int64_t lastAccessDate = 0;
  SearchResultSupplier searchResultSuppliedBy = SearchResultSupplier::none;
  // Came from an index, so the item may be gone: views check before showing.
  bool checkToSeeIfItExists = false;
  // Skips the location test and the system-folder test of the search manager.
  bool ignoreSearchLocation = false;
  bool isDirectory = false;
  bool strikeThroughDisplayNameIfMissing = true;
  std::optional<std::vector<std::string>> summaryLines;
  std::optional<std::map<std::string, std::vector<TextRange>>> contentSearchResults;
  std::int64_t contentSearchResultsRank = 0;
  bool tryCollectSummaryLines = false;

  // A file: reads modification date, creation date and size from the disk.
  // Anything that cannot be read is 0, also for a path that does not exist.
  static SearchResult file(SearchResultSupplier supplier, std::string path, bool checkToSeeIfItExists);
  // A folder: the two dates from the disk, size always 0.
  static SearchResult directory(SearchResultSupplier supplier, std::string path,
                                bool checkToSeeIfItExists);

  const std::string& id() const { return uuid; }

  // The serialised form: keys in wire order, "diskKey" only when present.
  nlohmann::ordered_json toJSON() const;
  std::string serialised() const;
  // Strict decoding: every key but "diskKey" is required and must have its
  // type. On failure, nothing, with the reason in *error when given.
  static std::optional<SearchResult> fromJSON(const nlohmann::json& json, std::string* error = nullptr);
  static std::optional<SearchResult> fromSerialised(std::string_view text, std::string* error = nullptr);

  // A random (version 4) UUID in upper-case canonical form.
  static std::string newUUID();
  // The canonical upper-case form of a UUID text, or nothing if it is none.
  static std::optional<std::string> canonicalUUID(std::string_view text);
};

}  // namespace velmora
