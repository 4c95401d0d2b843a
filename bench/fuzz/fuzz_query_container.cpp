// libFuzzer target: any query text must build a QueryContainer without a
// crash or a hang, and the parse must describe itself.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

#include "query/QueryContainer.h"
#include "stores/PreferenceStore.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  char pattern[] = "/tmp/velmora-fuzz-XXXXXX";
  if (char* home = mkdtemp(pattern)) {
    setenv("VELMORA_HOME", home, 1);
    velmora::PreferenceStore::resetShared(std::filesystem::path(home) / "preferences.json");
  }
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 4096) return 0;
  std::string text(reinterpret_cast<const char*>(data), size);
  velmora::QueryContainer query(text);
  for (const auto& command : query.commandsFoundInQuery) {
    (void)command->commandToString();
    (void)command->commandExample();
    (void)command->copy();
  }
  (void)query.debugDescription();
  (void)query.isWordBasedSearch();
  return 0;
}
