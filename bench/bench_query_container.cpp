// Building the query for one keystroke: a ten-word query with three
// commands. Goal: under 100 microseconds median.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <unistd.h>

#include "query/QueryContainer.h"
#include "ScratchHome.h"

namespace velmora {
namespace {

void queryWithThreeCommands(benchmark::State& state) {
  const char* text = "report budget final : modified today is audio bigger than 5mb";
  QueryContainer warm(text);  // templates and ICU data load once per process
  for (auto _ : state) {
    QueryContainer query(text);
    benchmark::DoNotOptimize(query.commandsFoundInQuery.size());
  }
}
BENCHMARK(queryWithThreeCommands)->Unit(benchmark::kMicrosecond)->Repetitions(5)->ReportAggregatesOnly(true);

// The same length made only of search words: no template is tried.
void queryOfWordsOnly(benchmark::State& state) {
  for (auto _ : state) {
    QueryContainer query("report budget final draft notes march invoice total year summary");
    benchmark::DoNotOptimize(query.searchWords.size());
  }
}
BENCHMARK(queryOfWordsOnly)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace velmora

int main(int argc, char** argv) { return velmora::bench::runInScratchHome(argc, argv); }
