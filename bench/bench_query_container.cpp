// Building the query for one keystroke: a ten-word query with three
// commands. Goal: under 100 microseconds median. And a pasted page of text
// after a colon: 100,000 words must parse in under 100 milliseconds, so the
// parse must grow with the number of words, not with its square.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>
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

std::string longCommandArea(std::size_t words, bool recognisable) {
  static const char* mixed[] = {"today", "bigger", "than", "5mb", "zzz", "modified", "is", "audio", "word"};
  std::string text = "report :";
  for (std::size_t i = 0; i < words; ++i) {
    text += ' ';
    text += recognisable ? std::string(mixed[i % 9]) : "zzz" + std::to_string(i);
  }
  return text;
}

void longCommandAreaParse(benchmark::State& state) {
  const std::string text = longCommandArea(std::size_t(state.range(0)), state.range(1) != 0);
  for (auto _ : state) {
    QueryContainer query(text);
    benchmark::DoNotOptimize(query.commandsFoundInQuery.size());
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(longCommandAreaParse)
    ->ArgsProduct({{10000, 100000}, {0, 1}})
    ->ArgNames({"words", "commands"})
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace velmora

int main(int argc, char** argv) { return velmora::bench::runInScratchHome(argc, argv); }
