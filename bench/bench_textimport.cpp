// links: velmora_textimport velmora_stores velmora_common
// The word rules on 20 MB of English and of mixed scripts (goals: 100 MB/s
// and 20 MB/s), and words of 2,000 small text files through one warm import
// helper (goal: 1,000 files per second).
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "ScratchHome.h"
#include "textimport/ImportClient.h"
#include "textimport/WordSplitter.h"

namespace velmora {
namespace {

std::string makeText(const std::vector<std::string>& vocabulary, std::size_t bytes, unsigned seed) {
  std::mt19937 random(seed);
  static const char* separators[] = {" ", " ", " ", " ", ", ", ". ", "\n", " - ", "; ", "\t"};
  std::string text;
  text.reserve(bytes + 64);
  while (text.size() < bytes) {
    std::string word = vocabulary[random() % vocabulary.size()];
    if (random() % 8 == 0 && !word.empty() && word[0] >= 'a' && word[0] <= 'z') word[0] = static_cast<char>(word[0] - 32);
    if (random() % 20 == 0) word = "\"" + word + "\"";
    text += word;
    text += separators[random() % 10];
  }
  return text;
}

const std::vector<std::string> english = {
    "the", "of", "and", "to", "in", "a", "is", "that", "for", "it", "as", "was", "with", "be", "by", "on", "not",
    "he", "this", "are", "or", "his", "from", "at", "which", "but", "have", "an", "had", "they", "you", "were",
    "their", "one", "all", "we", "can", "her", "has", "there", "been", "if", "more", "when", "will", "would",
    "who", "so", "no", "quarterly", "budget", "report", "don't", "e-mail", "2024", "velmora", "information",
    "international", "management", "development", "responsibility", "x86_64", "3.14"};

const std::vector<std::string> mixed = {
    "the", "report", "naïve", "café", "Straße", "Übermaß", "σίσυφος", "Ελλάδα", "Москва", "пример", "данные",
    "中文", "数据库", "検索", "ファイル", "한국어", "검색", "العربية", "بحث", "עברית", "हिन्दी", "खोज", "ไทย",
    "e\xCC\x81t\xC3\xA9", "👍", "a👩‍👩‍👧b", "2024", "don't", "x-ray"};

void BM_wordsFromText(benchmark::State& state, const std::vector<std::string>& vocabulary) {
  const std::string text = makeText(vocabulary, 20u << 20, 7);
  const auto& splitter = WordSplitter::shared();
  std::size_t count = 0;
  for (auto _ : state) {
    count = 0;
    splitter.forEachWord(text, [&](std::string_view) { ++count; });
    benchmark::DoNotOptimize(count);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
  state.counters["words"] = static_cast<double>(count);
}
BENCHMARK_CAPTURE(BM_wordsFromText, english, english)->Unit(benchmark::kMillisecond)->MinTime(2);
BENCHMARK_CAPTURE(BM_wordsFromText, mixed_scripts, mixed)->Unit(benchmark::kMillisecond)->MinTime(2);

void BM_wordsThroughHelper(benchmark::State& state) {
  const auto folder = std::filesystem::path(std::getenv("VELMORA_HOME")) / "files";
  std::filesystem::create_directories(folder);
  std::vector<std::string> files;
  for (int i = 0; i < 2000; ++i) {
    auto path = folder / ("note-" + std::to_string(i) + ".txt");
    std::ofstream(path) << makeText(english, 2000, static_cast<unsigned>(i));
    files.push_back(path.string());
  }
  ImportClient::Options options;
  options.timeLimitSeconds = 0;
  ImportClient client(options);
  client.startup();  // warm: the helper is running before the clock starts
  std::size_t words = 0;
  for (auto _ : state) {
    for (const auto& file : files) {
      auto result = client.wordsFromFile(file, false);
      if (!result.words) {
        state.SkipWithError(result.error.message().c_str());
        return;
      }
      words += result.words->size();
    }
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * files.size()));
  benchmark::DoNotOptimize(words);
}
BENCHMARK(BM_wordsThroughHelper)->Unit(benchmark::kMillisecond)->MinTime(3);

}  // namespace
}  // namespace velmora

int main(int argc, char** argv) { return velmora::bench::runInScratchHome(argc, argv); }
