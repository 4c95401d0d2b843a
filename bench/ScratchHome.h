#pragma once
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>

#include "stores/PreferenceStore.h"

namespace velmora::bench {

// Runs the registered benchmarks with the preferences of a scratch home,
// never the user's, and removes that home afterwards.
inline int runInScratchHome(int argc, char** argv) {
  char pattern[] = "/tmp/velmora-bench-XXXXXX";
  const char* home = mkdtemp(pattern);
  if (home) {
    setenv("VELMORA_HOME", home, 1);
    PreferenceStore::resetShared(std::filesystem::path(home) / "preferences.json");
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  if (home) {
    std::error_code ec;
    std::filesystem::remove_all(home, ec);
  }
  return 0;
}

}  // namespace velmora::bench
