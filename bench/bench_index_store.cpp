// The index store at the size of a large disk: 1,000,000 FSItem records.
//   scripts/bench bench_index_store
// Goals: the walk over the "F" group in batches of 2,500, decoding every
// record, under 0.5 s; the file under 120 MB after compact.
// links: velmora_index velmora_common
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "index/store/FSItem.h"
#include "index/store/IndexKeys.h"
#include "index/store/PackedNumbers.h"
#include "index/store/SimpleLMDB.h"

namespace {

using namespace velmora;
namespace fs = std::filesystem;

constexpr std::uint32_t kItems = 1'000'000;
constexpr std::uint32_t kFolders = 2'000;  // 500 entries a folder

struct Fixture {
  fs::path folder;
  fs::path file;
  bool written = false;

  explicit Fixture(const char* name) {
    std::string pattern = (fs::temp_directory_path() / "velmora-bench-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
    folder = pattern;
    file = folder / name;
  }
  ~Fixture() {
    std::error_code ec;
    fs::remove_all(folder, ec);
  }
};

// Index files by the order their records were written in: 0 in ID order (as
// a build hands out IDs), 1 in key order.
Fixture& fixture(int order) {
  static Fixture byID("ByID.vlcache"), byKey("ByKey.vlcache");
  return order == 0 ? byID : byKey;
}

FSItem itemFor(std::uint32_t id) {
  FSItem item;
  item.fsid = id;
  if (id <= kFolders) {
    item.parentID = 0;
    item.type = FSItem::Type::directory;
    item.name = "Folder " + std::to_string(id);
  } else {
    item.parentID = 1 + (id - kFolders - 1) % kFolders;
    item.type = FSItem::Type::file;
    item.name = "document-" + std::to_string(id) + ".txt";
    item.size = 4096 + id % 100000;
  }
  item.creationDate = 700000000 + static_cast<std::int32_t>(id);
  item.modificationDate = item.creationDate + 3600;
  return item;
}

// Writes the records in batches of 10,000 rows a transaction, then every
// folder's child list. In ID order the decimal keys arrive out of key order
// ("F100009" before "F10001"), so pages split in the middle and stay about
// half full; in key order they fill.
void writeIndex(SimpleLMDB& db, int order) {
  std::vector<std::uint32_t> ids;
  ids.reserve(kItems);
  for (std::uint32_t id = 1; id <= kItems; ++id) ids.push_back(id);
  if (order == 1) {
    std::vector<std::pair<std::string, std::uint32_t>> keyed;
    keyed.reserve(kItems);
    for (std::uint32_t id : ids) keyed.emplace_back(std::to_string(id), id);
    std::sort(keyed.begin(), keyed.end());
    for (std::size_t i = 0; i < keyed.size(); ++i) ids[i] = keyed[i].second;
  }
  std::map<std::uint32_t, std::vector<std::uint32_t>> children;
  std::vector<ValueGroupKey> rows;
  rows.reserve(10'000);
  for (std::uint32_t id : ids) {
    FSItem item = itemFor(id);
    children[item.parentID].push_back(id);
    rows.push_back({item.encoded(), IndexKeys::kItemGroup, std::to_string(id)});
    if (rows.size() == 10'000) {
      db.put(rows);
      rows.clear();
    }
  }
  for (auto& [parent, list] : children) {
    std::sort(list.begin(), list.end());
    rows.push_back({PackedNumbers::storePackedDeltas(list), IndexKeys::kChildrenGroup, std::to_string(parent)});
  }
  rows.push_back({asData<std::uint32_t>(kItems), IndexKeys::kItemGroup, IndexKeys::kLastAutoIDKey});
  db.put(rows);
}

void ensureIndex(int order) {
  Fixture& f = fixture(order);
  if (f.written) return;
  SimpleLMDB db;
  db.open(f.file);
  writeIndex(db, order);
  f.written = true;
}

void BM_Write1MFSItems(benchmark::State& state) {
  int order = static_cast<int>(state.range(0));
  Fixture& f = fixture(order);
  for (auto _ : state) {
    std::error_code ec;
    fs::remove(f.file, ec);
    SimpleLMDB db;
    db.open(f.file);
    writeIndex(db, order);
    f.written = true;
  }
  state.counters["MB"] = static_cast<double>(fs::file_size(f.file)) / 1e6;
  state.counters["items/s"] = benchmark::Counter(kItems, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_Write1MFSItems)->Arg(0)->Arg(1)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_Walk1MFSItems(benchmark::State& state) {
  int order = static_cast<int>(state.range(0));
  ensureIndex(order);
  SimpleLMDB db;
  db.open(fixture(order).file);
  for (auto _ : state) {
    std::size_t decoded = 0, other = 0;
    std::int64_t bytes = 0;
    db.keyValuesWith(IndexKeys::kItemGroup, IndexKeys::kBatchSize, [&](const std::string&, const Data& value) {
      if (auto item = FSItem::decode(value)) {
        ++decoded;
        bytes += item->size;
      } else {
        ++other;  // the ID counter
      }
    });
    if (decoded != kItems || other != 1) state.SkipWithError("the walk did not see every record once");
    benchmark::DoNotOptimize(bytes);
  }
  state.counters["items/s"] = benchmark::Counter(kItems, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_Walk1MFSItems)->Arg(0)->Arg(1)->Iterations(5)->Unit(benchmark::kMillisecond);

void BM_Compact1MFSItems(benchmark::State& state) {
  int order = static_cast<int>(state.range(0));
  ensureIndex(order);
  const fs::path& file = fixture(order).file;
  double before = static_cast<double>(fs::file_size(file));
  SimpleLMDB db;
  db.open(file);
  for (auto _ : state) db.compact(file);
  state.counters["MB_before"] = before / 1e6;
  state.counters["MB_after"] = static_cast<double>(fs::file_size(file)) / 1e6;
  state.counters["under_120MB"] = fs::file_size(file) < 120'000'000 ? 1 : 0;
}
BENCHMARK(BM_Compact1MFSItems)->Arg(0)->Arg(1)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
