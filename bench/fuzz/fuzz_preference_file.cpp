// libFuzzer target: any bytes in preferences.json must load without a crash,
// a hang or a stack overflow; a change on top of them must save, and what
// was saved must read back exactly (strings that are not UTF-8 included).
// links: velmora_stores velmora_common
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "common/Logger.h"
#include "stores/PreferenceStore.h"

namespace fs = std::filesystem;

namespace {
fs::path home;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  char pattern[] = "/tmp/velmora-fuzz-prefs-XXXXXX";
  if (char* made = mkdtemp(pattern)) {
    home = made;
    setenv("VELMORA_HOME", made, 1);
    velmora::Logger::shared().setFolder(home / "caches");
  }
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (home.empty() || size > 1 << 20) return 0;
  // Each input starts from an empty home: no damaged copies or log lines pile up.
  std::error_code ec;
  fs::remove_all(home / "settings", ec);
  fs::create_directories(home / "settings", ec);
  fs::path file = home / "settings" / "preferences.json";
  {
    std::ofstream out(file, std::ios::binary);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  fs::remove(home / "caches" / "Today's Log.txt", ec);

  velmora::PreferenceStore store(file);
  nlohmann::json values = store.userValues();
  for (const auto& [key, value] : values.items()) {
    (void)store.boolForKey(key);
    (void)store.integerForKey(key);
    (void)store.doubleForKey(key);
    (void)store.stringForKey(key);
  }
  // A file name that is not UTF-8, and the first stored key changed.
  if (!store.setValue("fuzz\xff", std::string("/tmp/caf\xe9\x80%2541")).ok()) __builtin_trap();
  if (!values.empty() && !store.removeValue(values.begin().key()).ok()) __builtin_trap();

  velmora::PreferenceStore reread(file);
  if (!reread.loadStatus().ok() || reread.userValues() != store.userValues()) __builtin_trap();
  return 0;
}
