#include "index/store/WordContainer.h"

#include <algorithm>
#include <vector>

#include "index/store/PackedNumbers.h"

namespace velmora {

namespace {
constexpr std::int64_t kMaxCount = 65535;
std::int64_t clampCount(std::int64_t n) { return std::clamp<std::int64_t>(n, 0, kMaxCount); }
}  // namespace

WordContainer::WordContainer(std::string word, Data record)
    : word_(std::move(word)), loadedData_(std::move(record)) {}

WordContainer::WordContainer(std::string word, std::uint32_t firstDocumentID, std::int64_t ocurrences)
    : word_(std::move(word)) {
  documentIDs_[firstDocumentID] = static_cast<std::uint16_t>(clampCount(ocurrences));
}

void WordContainer::load() {
  if (!loadedData_) return;
  Data record = std::move(*loadedData_);
  loadedData_.reset();
  ByteView data(record);
  std::size_t offset = 0;
  auto idLength = DataHelpers::safeValueAndIncrement<std::uint32_t>(data, offset);
  if (!idLength) return;
  auto packed = DataHelpers::subdata_safe(data, offset, *idLength);
  if (!packed) return;
  offset += *idLength;
  std::vector<std::uint32_t> ids = PackedNumbers::unpackStoredDeltas(*packed);
  std::vector<std::uint16_t> counts;
  if (auto countLength = DataHelpers::safeValueAndIncrement<std::uint32_t>(data, offset)) {
    if (auto countBytes = DataHelpers::subdata_safe(data, offset, *countLength)) {
      std::size_t at = 0;
      while (auto count = DataHelpers::safeValueAndIncrement<std::uint16_t>(*countBytes, at)) counts.push_back(*count);
    }
  }
  // Pairs by position; the shorter list ends the pairing.
  std::size_t n = std::min(ids.size(), counts.size());
  for (std::size_t i = 0; i < n; ++i) documentIDs_[ids[i]] = counts[i];
}

void WordContainer::add(std::uint32_t fileID, std::int64_t ocurrences) {
  load();
  std::int64_t n = clampCount(ocurrences);
  auto found = documentIDs_.find(fileID);
  if (found != documentIDs_.end()) {
    std::int64_t c = found->second;
    if (n + c <= kMaxCount)
      found->second = static_cast<std::uint16_t>(n + c);
    else if (c != kMaxCount)
      found->second = static_cast<std::uint16_t>(kMaxCount);
    return;
  }
  // A further document counts one more than it was given; the first one
  // (through the constructor) keeps its exact count. Readers of existing
  // indexes rely on both.
  documentIDs_[fileID] = static_cast<std::uint16_t>(n <= kMaxCount - 1 ? n + 1 : kMaxCount);
}

void WordContainer::remove(std::uint32_t fileID) {
  load();
  documentIDs_.erase(fileID);
}

const std::map<std::uint32_t, std::uint16_t>& WordContainer::documentIDs() {
  load();
  return documentIDs_;
}

Data WordContainer::packedDocumentIDs() {
  load();
  std::vector<std::uint32_t> ids;
  ids.reserve(documentIDs_.size());
  for (const auto& entry : documentIDs_) ids.push_back(entry.first);
  return PackedNumbers::storePackedDeltas(ids);
}

Data WordContainer::documentOccurenceCounts() {
  load();
  Data data;
  data.reserve(documentIDs_.size() * 2);
  for (const auto& entry : documentIDs_) DataHelpers::appendLittleEndian(data, entry.second);
  return data;
}

Data WordContainer::dataToStore() {
  Data ids = packedDocumentIDs();
  Data counts = documentOccurenceCounts();
  Data data;
  data.reserve(8 + ids.size() + counts.size());
  DataHelpers::appendLittleEndian(data, static_cast<std::uint32_t>(ids.size()));
  data.insert(data.end(), ids.begin(), ids.end());
  DataHelpers::appendLittleEndian(data, static_cast<std::uint32_t>(counts.size()));
  data.insert(data.end(), counts.begin(), counts.end());
  return data;
}

}  // namespace velmora
