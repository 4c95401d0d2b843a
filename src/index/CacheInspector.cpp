#include "index/CacheInspector.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstring>
#include <ctime>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include "common/ChildProcess.h"
#include "common/JSONText.h"
#include "index/ContentIndex.h"
#include "index/store/IndexKeys.h"
#include "index/store/LMDBError.h"
#include "index/store/PackedNumbers.h"

namespace velmora {

namespace fs = std::filesystem;
using nlohmann::ordered_json;

namespace {

std::string openFailure(const std::string& file, const LMDBError& error) {
  switch (error.code()) {
    case LMDBError::Code::invalid:
    case LMDBError::Code::versionMismatch:
    case LMDBError::Code::incompatible:
      return fmt::format("{} is not an index file (not an LMDB database)", file);
    case LMDBError::Code::notFound:
      return fmt::format("{} is not an index file (it has no \"SimpleLMDB\" database)", file);
    case LMDBError::Code::corrupted:
    case LMDBError::Code::pageNotFound:
      return fmt::format("{} is damaged and can't be read: {}", file, error.what());
    case LMDBError::Code::other:
      if (error.returnCode() == ENOENT) return fmt::format("{} is not an index file (it is empty or too short)", file);
      [[fallthrough]];
    default:
      return fmt::format("{} can't be read: {}", file, error.what());
  }
}

// A word record whose lengths don't add up, or whose lists differ in length.
std::optional<std::string> wordRecordProblem(ByteView data) {
  std::size_t offset = 0;
  auto n1 = DataHelpers::safeValueAndIncrement<std::uint32_t>(data, offset);
  if (!n1) return "shorter than its first length field";
  auto ids = DataHelpers::subdata_safe(data, offset, *n1);
  if (!ids) return "document IDs run past the end";
  offset += *n1;
  auto n2 = DataHelpers::safeValueAndIncrement<std::uint32_t>(data, offset);
  if (!n2) return "no length for the counts";
  if (!DataHelpers::subdata_safe(data, offset, *n2)) return "counts run past the end";
  if (offset + *n2 != data.size()) return "bytes after the counts";
  if (*n2 % 2 != 0) return "odd number of count bytes";
  std::size_t idCount = PackedNumbers::unpackStored(*ids).size();
  if (idCount != *n2 / 2) return fmt::format("{} document IDs but {} counts", idCount, *n2 / 2);
  return std::nullopt;
}

std::string utcTime(std::int64_t referenceSeconds) {
  std::time_t t = static_cast<std::time_t>(referenceSeconds + 978307200LL);
  std::tm tm{};
  if (!gmtime_r(&t, &tm)) return std::to_string(referenceSeconds);
  char buffer[32];
  std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M:%S", &tm);
  return buffer;
}

const char* typeName(FSItem::Type type) { return type == FSItem::Type::file ? "file" : "directory"; }

void addBad(CacheInspection& result, const std::string& key, const Data& value, std::string reason) {
  result.badRecords.push_back({key, DataHelpers::hexString(value), std::move(reason)});
}

}  // namespace

namespace {

Status preflight(const fs::path& file) {
  const std::string name = file.string();
  struct stat st {};
  if (::stat(file.c_str(), &st) != 0) {
    int error = errno;
    return error == ENOENT ? Status::notFound(name + ": no such file") : Status::fromErrno(error, name);
  }
  if (!S_ISREG(st.st_mode)) return Status::invalidArgument(name + " is not a regular file");
  if (st.st_size == 0) return Status::corruption(name + " is not an index file (it is empty)");
  return Status();
}

}  // namespace

Result<CacheInspection> CacheInspector::inspect(const fs::path& file, std::string program) {
  const std::string name = file.string();
  if (Status failed = preflight(file); !failed.ok()) return failed;
  if (program.empty()) program = ChildProcess::currentProgram();
  if (program.empty()) return Status::internal(name + " can't be read: this program can't find its own file");
  // The child inherits the working folder, so a relative name works as
  // given; one that starts with "-" must not read as an option.
  std::string argument = name.starts_with('-') ? "./" + name : name;
  auto finished =
      ChildProcess::runCollectingOutput({program, "index", "inspect", kInProcessOption, "--json", argument});
  if (finished.error != 0) return Status::fromErrno(finished.error, name + " can't be read: starting the reader");
  int status = finished.waitStatus;
  if (WIFSIGNALED(status))
    return Status::corruption(fmt::format("{} is damaged and can't be read: reading its pages failed ({})", name,
                                          strsignal(WTERMSIG(status))));
  const std::string& payload = finished.output;
  if (payload.starts_with("error\n")) return Status::corruption(payload.substr(6));
  if (payload.starts_with("ok\n")) {
    if (auto inspection = fromJSON(std::string_view(payload).substr(3))) {
      inspection->file = name;
      return std::move(*inspection);
    }
  }
  // A reader that stopped without an answer met something it could not
  // read: under a sanitizer a fault ends it by exit status, not by signal.
  if (WIFEXITED(status) && WEXITSTATUS(status) != 0)
    return Status::corruption(fmt::format("{} is damaged and can't be read: reading its pages failed (exit {})",
                                          name, WEXITSTATUS(status)));
  return Status::internal(fmt::format("{} can't be read: the reader ended without an answer", name));
}

std::string CacheInspector::childAnswer(const fs::path& file) {
  auto result = inspectInProcess(file);
  return result ? "ok\n" + toJSON(*result) : "error\n" + result.status().message();
}

Result<CacheInspection> CacheInspector::inspectInProcess(const fs::path& file) {
  const std::string name = file.string();
  if (Status failed = preflight(file); !failed.ok()) return failed;
  if (::access(file.c_str(), R_OK) != 0) return Status::fromErrno(errno, name);

  ContentIndex index(file);
  index.readOnly = true;
  {
    // The open's own failure keeps the store's error to name the reason.
    try {
      SimpleLMDB probe;
      probe.openReadOnly(file);
    } catch (const LMDBError& e) {
      return Status::corruption(openFailure(name, e));
    } catch (const std::exception& e) {
      return Status::ioError(fmt::format("{} can't be read: {}", name, e.what()));
    }
  }
  if (Status opened = index.open(); !opened.ok())
    return Status(opened.code(), fmt::format("{} can't be read: {}", name, opened.message()));

  CacheInspection result;
  result.file = name;
  try {
    auto db = index.db();
    result.entries = db->database()->count();

    if (auto bytes = db->getData(IndexKeys::kDocumentInfoGroup, IndexKeys::kDocumentInfoKey)) {
      std::string error;
      result.documentInfo = DocumentInfo::fromJSON(asText(*bytes), &error);
      if (result.documentInfo)
        index.documentInfo = *result.documentInfo;
      else
        result.documentInfoError = error;
    }

    // Items: every "F" entry; the ID counter lives in the same group.
    const std::string autoIDKey = std::string(IndexKeys::kItemGroup) + IndexKeys::kLastAutoIDKey;
    db->keyValuesWith(IndexKeys::kItemGroup, IndexKeys::kBatchSize, [&](const std::string& key, const Data& value) {
      if (key == autoIDKey) {
        result.lastAutoID = DataConvertible<std::uint32_t>::fromData(value);
        if (!result.lastAutoID) addBad(result, key, value, "the ID counter is not 4 bytes");
        return;
      }
      auto item = FSItem::decode(value);
      if (!item) return addBad(result, key, value, "not an item record");
      result.items.push_back({std::move(*item), {}});
    });
    std::sort(result.items.begin(), result.items.end(),
              [](const auto& a, const auto& b) { return a.item.fsid < b.item.fsid; });
    for (auto& entry : result.items) entry.path = index.pathFor(entry.item.fsid).value_or(entry.item.name);

    auto dead = index.loadDeadIds();
    if (!dead) throw std::runtime_error(dead.status().message());
    result.deadIDs = std::move(*dead);

    db->keyValuesWith(IndexKeys::kWordGroup, IndexKeys::kBatchSize, [&](const std::string& key, const Data& value) {
      if (auto problem = wordRecordProblem(value)) addBad(result, key, value, "word record: " + *problem);
      WordContainer container(key.substr(1), value);
      CacheInspection::Word word{container.word(), {}};
      for (const auto& [id, count] : container.documentIDs()) word.documents.emplace_back(id, count);
      result.words.push_back(std::move(word));
    });
  } catch (const std::exception& e) {
    index.close();
    return Status::corruption(fmt::format("{} can't be read: {}", name, e.what()));
  }
  index.close();
  return result;
}

std::string CacheInspector::toJSON(const CacheInspection& r) {
  ordered_json json = ordered_json::object();
  json["file"] = r.file;
  json["entries"] = r.entries;
  if (r.documentInfo) {
    ordered_json info = ordered_json::object();
    if (r.documentInfo->suggestedTarget) info["suggestedTarget"] = *r.documentInfo->suggestedTarget;
    info["lastUpdated"] = secondsSinceReferenceDate(r.documentInfo->lastUpdated);
    if (r.documentInfo->numberOfFSItems) info["numberOfFSItems"] = *r.documentInfo->numberOfFSItems;
    info["lastIndexMode"] = static_cast<int>(r.documentInfo->lastIndexMode);
    info["isDirty"] = r.documentInfo->isDirty;
    if (r.documentInfo->diskKey) info["diskKey"] = *r.documentInfo->diskKey;
    json["documentInfo"] = std::move(info);
  } else {
    json["documentInfo"] = nullptr;
  }
  if (!r.documentInfoError.empty()) json["documentInfoError"] = r.documentInfoError;
  json["lastAutoID"] = r.lastAutoID ? ordered_json(*r.lastAutoID) : ordered_json(nullptr);
  ordered_json items = ordered_json::array();
  for (const auto& entry : r.items) {
    const FSItem& item = entry.item;
    items.push_back(ordered_json{{"id", item.fsid},
                                 {"parentID", item.parentID},
                                 {"type", typeName(item.type)},
                                 {"creationDate", item.creationDate},
                                 {"modificationDate", item.modificationDate},
                                 {"version", item.version},
                                 {"size", item.size},
                                 {"name", item.name},
                                 {"path", entry.path}});
  }
  json["items"] = std::move(items);
  json["deadIDs"] = r.deadIDs;
  ordered_json words = ordered_json::array();
  for (const auto& word : r.words) {
    ordered_json documents = ordered_json::array();
    for (const auto& [id, count] : word.documents) documents.push_back(ordered_json{{"id", id}, {"count", count}});
    words.push_back(ordered_json{{"word", word.word}, {"documents", std::move(documents)}});
  }
  json["words"] = std::move(words);
  ordered_json bad = ordered_json::array();
  for (const auto& record : r.badRecords)
    bad.push_back(ordered_json{{"key", record.key}, {"value", record.valueHex}, {"reason", record.reason}});
  json["badRecords"] = std::move(bad);
  return JSONText::dump(json, 2) + "\n";
}

std::optional<CacheInspection> CacheInspector::fromJSON(std::string_view text) {
  ordered_json json = ordered_json::parse(text, nullptr, false);
  if (json.is_discarded() || !json.is_object()) return std::nullopt;
  try {
    CacheInspection r;
    r.file = json.at("file").get<std::string>();
    r.entries = json.at("entries").get<std::size_t>();
    if (const auto& info = json.at("documentInfo"); info.is_object()) {
      DocumentInfo d;
      if (info.contains("suggestedTarget")) d.suggestedTarget = info["suggestedTarget"].get<std::string>();
      d.lastUpdated = dateFromReferenceSeconds(info.at("lastUpdated").get<double>());
      if (info.contains("numberOfFSItems")) d.numberOfFSItems = info["numberOfFSItems"].get<std::int64_t>();
      d.lastIndexMode = static_cast<ContentIndexMode>(info.at("lastIndexMode").get<int>());
      d.isDirty = info.at("isDirty").get<bool>();
      if (info.contains("diskKey")) d.diskKey = info["diskKey"].get<std::string>();
      r.documentInfo = std::move(d);
    }
    if (json.contains("documentInfoError")) r.documentInfoError = json["documentInfoError"].get<std::string>();
    if (!json.at("lastAutoID").is_null()) r.lastAutoID = json["lastAutoID"].get<std::uint32_t>();
    for (const auto& i : json.at("items")) {
      FSItem item;
      item.fsid = i.at("id").get<std::uint32_t>();
      item.parentID = i.at("parentID").get<std::uint32_t>();
      item.type = i.at("type").get<std::string>() == "file" ? FSItem::Type::file : FSItem::Type::directory;
      item.creationDate = i.at("creationDate").get<std::int32_t>();
      item.modificationDate = i.at("modificationDate").get<std::int32_t>();
      item.version = i.at("version").get<std::uint8_t>();
      item.size = i.at("size").get<std::int64_t>();
      item.name = i.at("name").get<std::string>();
      r.items.push_back({std::move(item), i.at("path").get<std::string>()});
    }
    r.deadIDs = json.at("deadIDs").get<std::vector<std::uint32_t>>();
    for (const auto& w : json.at("words")) {
      CacheInspection::Word word{w.at("word").get<std::string>(), {}};
      for (const auto& d : w.at("documents"))
        word.documents.emplace_back(d.at("id").get<std::uint32_t>(), d.at("count").get<std::uint16_t>());
      r.words.push_back(std::move(word));
    }
    for (const auto& b : json.at("badRecords"))
      r.badRecords.push_back(
          {b.at("key").get<std::string>(), b.at("value").get<std::string>(), b.at("reason").get<std::string>()});
    return r;
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

std::string CacheInspector::toText(const CacheInspection& r) {
  std::string out = fmt::format("File: {}\nEntries: {}\n", r.file, r.entries);
  if (r.documentInfo) {
    const DocumentInfo& info = *r.documentInfo;
    double updated = secondsSinceReferenceDate(info.lastUpdated);
    out += "Document info:\n";
    if (info.suggestedTarget) out += fmt::format("  target: {}\n", *info.suggestedTarget);
    out += fmt::format("  last updated: {} UTC ({} s since 2001)\n",
                       utcTime(static_cast<std::int64_t>(std::floor(updated))), updated);
    if (info.numberOfFSItems) out += fmt::format("  items seen by the last build: {}\n", *info.numberOfFSItems);
    out += fmt::format("  index mode: {} ({})\n", contentIndexModeName(info.lastIndexMode),
                       static_cast<int>(info.lastIndexMode));
    out += fmt::format("  dirty: {}\n", info.isDirty ? "yes" : "no");
    if (info.diskKey) out += fmt::format("  disk key: {}\n", *info.diskKey);
  } else if (!r.documentInfoError.empty()) {
    out += fmt::format("Document info: unreadable ({})\n", r.documentInfoError);
  } else {
    out += "Document info: none\n";
  }
  out += fmt::format("Last ID handed out: {}\n", r.lastAutoID ? std::to_string(*r.lastAutoID) : "none");
  out += fmt::format("Items: {}\n", r.items.size());
  if (!r.items.empty()) out += "  ID\tparent\ttype\tcreated\tmodified\tsize\tpath\n";
  for (const auto& entry : r.items) {
    const FSItem& item = entry.item;
    out += fmt::format("  {}\t{}\t{}\t{}\t{}\t{}\t{}\n", item.fsid, item.parentID, typeName(item.type),
                       utcTime(item.creationDate), utcTime(item.modificationDate), item.size, entry.path);
  }
  out += fmt::format("Dead IDs: {}\n", r.deadIDs.size());
  if (!r.deadIDs.empty()) out += "  " + fmt::format("{}", fmt::join(r.deadIDs, " ")) + "\n";
  out += fmt::format("Words: {}\n", r.words.size());
  for (const auto& word : r.words) {
    out += "  " + word.word + ":";
    for (const auto& [id, count] : word.documents) out += fmt::format(" {}x{}", id, count);
    out += "\n";
  }
  if (!r.badRecords.empty()) {
    out += fmt::format("Unreadable records: {}\n", r.badRecords.size());
    for (const auto& record : r.badRecords)
      out += fmt::format("  {}: {} [{}]\n", record.key, record.reason, record.valueHex);
  }
  return out;
}

}  // namespace velmora
