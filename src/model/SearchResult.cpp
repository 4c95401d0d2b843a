#include "model/SearchResult.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>

#include <nlohmann/json.hpp>

#include "common/JSONText.h"

namespace velmora {

namespace {

constexpr std::array<std::string_view, 12> kSupplierNames = {
    "none",    "fileSystem",  "spotlight",   "spotlightContent",       "recentItem",
    "FSCompactSearch",        "KnownDirectoriesSearch",                "sqlCache",
    "showAppsCmd",            "sidebar",     "CompactContentIndex",    "MailSearchDataSource"};

// Seconds since 1970 truncated toward zero. A time outside what a 64-bit
// count can hold means the file system handed us garbage we cannot show.
std::int64_t truncatedSeconds(const statx_timestamp& stamp) {
  long double seconds = static_cast<long double>(stamp.tv_sec) + stamp.tv_nsec / 1e9L;
  if (!std::isfinite(seconds) || seconds >= 9.2233720368547758e18L || seconds < -9.2233720368547758e18L)
    std::abort();
  return static_cast<std::int64_t>(seconds);
}

SearchResult fromDisk(SearchResultSupplier supplier, std::string path, bool check, bool directory) {
  SearchResult result;
  result.searchResultSuppliedBy = supplier;
  result.checkToSeeIfItExists = check;
  result.isDirectory = directory;
  struct statx info {};
  unsigned mask = STATX_MTIME | STATX_BTIME | (directory ? 0 : STATX_SIZE);
  if (statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, mask, &info) == 0) {
    if (info.stx_mask & STATX_MTIME) result.modDate = truncatedSeconds(info.stx_mtime);
    if (info.stx_mask & STATX_BTIME) result.creationDate = truncatedSeconds(info.stx_btime);
    if (!directory && (info.stx_mask & STATX_SIZE)) result.size = info.stx_size;
  }
  result.path = std::move(path);
  return result;
}

bool fail(std::string* error, std::string message) {
  if (error) *error = std::move(message);
  return false;
}

template <typename T>
bool read(const nlohmann::json& json, const char* key, T& out, std::string* error) {
  auto it = json.find(key);
  if (it == json.end()) return fail(error, std::string("missing key \"") + key + "\"");
  const auto& v = *it;
  if constexpr (std::is_same_v<T, bool>) {
    if (!v.is_boolean()) return fail(error, std::string("\"") + key + "\" is not a Boolean");
    out = v.get<bool>();
  } else if constexpr (std::is_same_v<T, std::string>) {
    if (!v.is_string()) return fail(error, std::string("\"") + key + "\" is not text");
    out = v.get<std::string>();
  } else if constexpr (std::is_same_v<T, std::uint64_t>) {
    if (!v.is_number_unsigned()) return fail(error, std::string("\"") + key + "\" is not an unsigned integer");
    out = v.get<std::uint64_t>();
  } else {
    static_assert(std::is_same_v<T, std::int64_t>);
    if (v.is_number_unsigned()) {
      if (v.get<std::uint64_t>() > static_cast<std::uint64_t>(INT64_MAX))
        return fail(error, std::string("\"") + key + "\" is out of range");
      out = static_cast<std::int64_t>(v.get<std::uint64_t>());
    } else if (v.is_number_integer()) {
      out = v.get<std::int64_t>();
    } else {
      return fail(error, std::string("\"") + key + "\" is not an integer");
    }
  }
  return true;
}

}  // namespace

std::string_view toString(SearchResultSupplier supplier) {
  auto raw = static_cast<std::size_t>(supplier);
  return raw < kSupplierNames.size() ? kSupplierNames[raw] : std::string_view{};
}

std::optional<SearchResultSupplier> searchResultSupplierFromRaw(std::int64_t raw) {
  if (raw < 0 || raw >= static_cast<std::int64_t>(kSupplierNames.size())) return std::nullopt;
  return static_cast<SearchResultSupplier>(raw);
}

SearchResult SearchResult::file(SearchResultSupplier supplier, std::string path, bool checkToSeeIfItExists) {
  return fromDisk(supplier, std::move(path), checkToSeeIfItExists, false);
}

SearchResult SearchResult::directory(SearchResultSupplier supplier, std::string path,
                                     bool checkToSeeIfItExists) {
  return fromDisk(supplier, std::move(path), checkToSeeIfItExists, true);
}

std::string SearchResult::newUUID() {
  thread_local std::mt19937_64 engine{std::random_device{}()};
  std::array<unsigned char, 16> bytes;
  std::uint64_t a = engine(), b = engine();
  for (int i = 0; i < 8; ++i) {
    bytes[i] = static_cast<unsigned char>(a >> (8 * i));
    bytes[8 + i] = static_cast<unsigned char>(b >> (8 * i));
  }
  bytes[6] = (bytes[6] & 0x0F) | 0x40;  // version 4
  bytes[8] = (bytes[8] & 0x3F) | 0x80;  // RFC 4122 variant
  char text[37];
  std::snprintf(text, sizeof text,
                "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X", bytes[0],
                bytes[1], bytes[2], bytes[3], bytes[4], bytes[5], bytes[6], bytes[7], bytes[8],
                bytes[9], bytes[10], bytes[11], bytes[12], bytes[13], bytes[14], bytes[15]);
  return text;
}

std::optional<std::string> SearchResult::canonicalUUID(std::string_view text) {
  if (text.size() != 36) return std::nullopt;
  std::string out(text);
  for (std::size_t i = 0; i < out.size(); ++i) {
    bool dash = i == 8 || i == 13 || i == 18 || i == 23;
    if (dash) {
      if (out[i] != '-') return std::nullopt;
    } else {
      if (!std::isxdigit(static_cast<unsigned char>(out[i]))) return std::nullopt;
      out[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(out[i])));
    }
  }
  return out;
}

nlohmann::ordered_json SearchResult::toJSON() const {
  nlohmann::ordered_json json = nlohmann::ordered_json::object();
  if (diskKey) json["diskKey"] = *diskKey;
  json["path"] = path;
  json["isDirectory"] = isDirectory;
  json["size"] = size;
  json["creationDate"] = creationDate;
  json["modDate"] = modDate;
  json["lastAccessDate"] = lastAccessDate;
  json["checkToSeeIfItExists"] = checkToSeeIfItExists;
  json["uuid"] = uuid;
  json["searchResultSuppliedBy"] = static_cast<int>(searchResultSuppliedBy);
  json["ignoreSearchLocation"] = ignoreSearchLocation;
  json["contentSearchResultsRank"] = contentSearchResultsRank;
  json["strikeThroughDisplayNameIfMissing"] = strikeThroughDisplayNameIfMissing;
  return json;
}

std::string SearchResult::serialised() const { return JSONText::dump(toJSON()); }

std::optional<SearchResult> SearchResult::fromJSON(const nlohmann::json& json, std::string* error) {
  if (!json.is_object()) {
    fail(error, "a search result must be a JSON object");
    return std::nullopt;
  }
  SearchResult r;
  if (auto it = json.find("diskKey"); it != json.end() && !it->is_null()) {
    if (!it->is_string()) {
      fail(error, "\"diskKey\" is not text");
      return std::nullopt;
    }
    r.diskKey = it->get<std::string>();
  }
  std::string uuidText;
  std::int64_t supplier = 0;
  bool ok = read(json, "path", r.path, error) && read(json, "isDirectory", r.isDirectory, error) &&
            read(json, "size", r.size, error) && read(json, "creationDate", r.creationDate, error) &&
            read(json, "modDate", r.modDate, error) &&
            read(json, "lastAccessDate", r.lastAccessDate, error) &&
            read(json, "checkToSeeIfItExists", r.checkToSeeIfItExists, error) &&
            read(json, "uuid", uuidText, error) &&
            read(json, "searchResultSuppliedBy", supplier, error) &&
            read(json, "ignoreSearchLocation", r.ignoreSearchLocation, error) &&
            read(json, "contentSearchResultsRank", r.contentSearchResultsRank, error) &&
            read(json, "strikeThroughDisplayNameIfMissing", r.strikeThroughDisplayNameIfMissing, error);
  if (!ok) return std::nullopt;
  auto uuid = canonicalUUID(uuidText);
  if (!uuid) {
    fail(error, "\"uuid\" is not a UUID: " + uuidText);
    return std::nullopt;
  }
  r.uuid = *uuid;
  auto kind = searchResultSupplierFromRaw(supplier);
  if (!kind) {
    fail(error, "\"searchResultSuppliedBy\" has no such source: " + std::to_string(supplier));
    return std::nullopt;
  }
  r.searchResultSuppliedBy = *kind;
  return r;
}

std::optional<SearchResult> SearchResult::fromSerialised(std::string_view text, std::string* error) {
  auto json = nlohmann::json::parse(text, nullptr, false);
  if (json.is_discarded()) {
    fail(error, "not valid JSON");
    return std::nullopt;
  }
  return fromJSON(json, error);
}

}  // namespace velmora
