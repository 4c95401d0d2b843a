// links: velmora_search velmora_query velmora_stores velmora_common
// Merging the results of a large search into the window's list: 100,000
// nodes arrive in batches of 1,000 and each merge leaves the whole list
// sorted. Goal: under 2 seconds in total.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <unistd.h>

#include "search/results/ResultsOutlineViewVC.h"
#include "ScratchHome.h"

namespace velmora {
namespace {

std::vector<std::vector<UINodePtr>> makeBatches(int total, int batchSize) {
  std::mt19937 random(42);
  static const char* words[] = {"report", "budget", "Photo", "invoice", "notes", "draft", "IMG", "song"};
  static const char* extensions[] = {".txt", ".pdf", ".jpg", ".docx", ".mp3", ""};
  std::vector<std::vector<UINodePtr>> batches;
  for (int i = 0; i < total; ++i) {
    if (i % batchSize == 0) batches.emplace_back();
    SearchResult r;
    r.path = "/home/user/folder" + std::to_string(random() % 500) + "/" + words[random() % 8] + " " +
             std::to_string(random() % 100000) + extensions[random() % 6];
    r.size = random() % 10000000;
    r.modDate = 1600000000 + random() % 100000000;
    r.isDirectory = random() % 10 == 0;
    batches.back().push_back(std::make_shared<UINode>(r));
  }
  return batches;
}

void mergeBatches(benchmark::State& state) {
  const int total = static_cast<int>(state.range(0));
  const Column column = static_cast<Column>(state.range(1));
  for (auto _ : state) {
    state.PauseTiming();
    auto batches = makeBatches(total, 1000);
    auto list = std::make_unique<ResultsOutlineViewVC>([](std::function<void()> task) { task(); });
    if (column != Column::name) list->setSortColumn(column, false);
    list->waitUntilMergesFinished();
    state.ResumeTiming();
    for (auto& batch : batches) list->addResults(std::move(batch), std::string("report"));
    list->waitUntilMergesFinished();
    benchmark::DoNotOptimize(list->displayContent().size());
    state.PauseTiming();
    list.reset();
    state.ResumeTiming();
  }
}
BENCHMARK(mergeBatches)
    ->Args({100000, static_cast<int>(Column::name)})
    ->Args({100000, static_cast<int>(Column::size)})
    ->Args({100000, static_cast<int>(Column::kind)})
    ->Args({100000, static_cast<int>(Column::path)})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(3);

// The full sort that a change of column costs.
void sortWholeList(benchmark::State& state) {
  auto batches = makeBatches(static_cast<int>(state.range(0)), 1000);
  std::vector<UINodePtr> all;
  for (auto& batch : batches) all.insert(all.end(), batch.begin(), batch.end());
  SortOptions options{std::string("report"), true, true};
  for (auto _ : state) benchmark::DoNotOptimize(UINode::sortNodes(all, Column::name, false, options));
}
BENCHMARK(sortWholeList)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace velmora

int main(int argc, char** argv) { return velmora::bench::runInScratchHome(argc, argv); }
