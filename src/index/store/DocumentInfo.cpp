#include "index/store/DocumentInfo.h"

#include <cmath>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "common/JSONText.h"

namespace velmora {

using nlohmann::ordered_json;

namespace {

bool unreserved(unsigned char c) {
  // What a file URL's path keeps as it is.
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         std::string_view("-._~!$&'()*+,;=:@/").find(static_cast<char>(c)) != std::string_view::npos;
}

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

ordered_json seconds(Date date) {
  double s = secondsSinceReferenceDate(date);
  // Whole seconds are written without a fraction, as the original coder did.
  if (std::floor(s) == s && std::fabs(s) < 9.0e15) return static_cast<std::int64_t>(s);
  return s;
}

}  // namespace

std::string DocumentInfo::fileURL(const std::string& path) {
  std::string url = "file://";
  for (unsigned char c : path) {
    if (unreserved(c))
      url += static_cast<char>(c);
    else
      url += fmt::format("%{:02X}", c);
  }
  if (url.back() != '/') url += '/';
  return url;
}

std::optional<std::string> DocumentInfo::pathFromURL(std::string_view url) {
  std::string_view rest = url;
  if (rest.starts_with("file://")) {
    rest.remove_prefix(7);
    // "file://localhost/..." names this machine too.
    if (rest.starts_with("localhost/")) rest.remove_prefix(9);
  } else if (!rest.starts_with("/")) {
    return std::nullopt;
  }
  std::string path;
  for (std::size_t i = 0; i < rest.size(); ++i) {
    if (rest[i] == '%' && i + 2 < rest.size() && hexValue(rest[i + 1]) >= 0 && hexValue(rest[i + 2]) >= 0) {
      path += static_cast<char>(hexValue(rest[i + 1]) * 16 + hexValue(rest[i + 2]));
      i += 2;
    } else {
      path += rest[i];
    }
  }
  if (path.empty() || path[0] != '/') return std::nullopt;
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

std::string DocumentInfo::toJSON() const {
  ordered_json json = ordered_json::object();
  if (suggestedTarget) json["suggestedTarget"] = fileURL(*suggestedTarget);
  json["lastUpdated"] = seconds(lastUpdated);
  if (numberOfFSItems) json["numberOfFSItems"] = *numberOfFSItems;
  json["lastIndexMode"] = static_cast<int>(lastIndexMode);
  json["isDirty"] = isDirty;
  if (diskKey) json["diskKey"] = *diskKey;
  return JSONText::dump(json);
}

std::optional<DocumentInfo> DocumentInfo::fromJSON(std::string_view text, std::string* error) {
  auto fail = [&](std::string why) -> std::optional<DocumentInfo> {
    if (error) *error = std::move(why);
    return std::nullopt;
  };
  ordered_json json = ordered_json::parse(text, nullptr, false);
  if (json.is_discarded()) return fail("not valid JSON");
  if (!json.is_object()) return fail("not a JSON object");

  auto integer = [](const ordered_json& value) -> std::optional<std::int64_t> {
    if (value.is_number_integer()) return value.get<std::int64_t>();
    if (value.is_number_float()) {
      double d = value.get<double>();
      if (std::floor(d) == d && std::fabs(d) < 9.0e18) return static_cast<std::int64_t>(d);
    }
    return std::nullopt;
  };

  DocumentInfo info;
  if (auto it = json.find("suggestedTarget"); it != json.end() && !it->is_null()) {
    if (!it->is_string()) return fail("\"suggestedTarget\" is not a URL string");
    auto path = pathFromURL(it->get<std::string>());
    if (!path) return fail("\"suggestedTarget\" is not a file URL");
    info.suggestedTarget = *path;
  }
  auto lastUpdated = json.find("lastUpdated");
  if (lastUpdated == json.end() || !lastUpdated->is_number()) return fail("\"lastUpdated\" is missing or not a number");
  double s = lastUpdated->get<double>();
  if (!(s > -9.0e9 && s < 9.0e9)) return fail("\"lastUpdated\" is out of range");
  info.lastUpdated = dateFromReferenceSeconds(s);
  if (auto it = json.find("numberOfFSItems"); it != json.end() && !it->is_null()) {
    auto n = integer(*it);
    if (!n) return fail("\"numberOfFSItems\" is not an integer");
    info.numberOfFSItems = *n;
  }
  auto mode = json.find("lastIndexMode");
  if (mode == json.end()) return fail("\"lastIndexMode\" is missing");
  auto rawMode = integer(*mode);
  auto parsedMode = rawMode ? contentIndexModeFromRaw(*rawMode) : std::nullopt;
  if (!parsedMode) return fail("\"lastIndexMode\" is not 0, 1 or 2");
  info.lastIndexMode = *parsedMode;
  auto dirty = json.find("isDirty");
  if (dirty == json.end() || !dirty->is_boolean()) return fail("\"isDirty\" is missing or not a boolean");
  info.isDirty = dirty->get<bool>();
  if (auto it = json.find("diskKey"); it != json.end() && !it->is_null()) {
    if (!it->is_string()) return fail("\"diskKey\" is not text");
    info.diskKey = it->get<std::string>();
  }
  return info;
}

}  // namespace velmora
