#include "support/OrdinaryTemp.h"
#include "support/TempHome.h"

#include <cstdlib>
#include <system_error>
#include <vector>

#include "common/AppDirectories.h"
#include "platform/PathConventions.h"

namespace velmora::test {

namespace fs = std::filesystem;

namespace {
bool isOrdinary(const fs::path& folder) {
  // "/./" or "/../" would hide where the folder really is from the tests below.
  if (folder != folder.lexically_normal()) return false;
  if (PathConventions::linux().isInsideOSDirectory(folder.string() + "/")) return false;
  for (const auto& part : folder)
    if (part.string().size() > 1 && part.string().front() == '.') return false;
  return true;
}
}  // namespace

OrdinaryTemp::OrdinaryTemp() {
  if (const char* old = std::getenv("TMPDIR")) {
    previous_ = old;
    hadPrevious_ = true;
  }
  // Some crawl tests run a search as another user, so the fallbacks are
  // places anyone may pass through before the home folder.
  std::vector<fs::path> candidates{
      fs::absolute(binaryDir()).lexically_normal() / "tmp",
      "/srv/velmora-test-tmp",
      "/opt/velmora-test-tmp",
      AppDirectories::homeDirectory() / "velmora-test-tmp",
  };
  folder_ = candidates.front();
  std::error_code ec;
  for (const auto& candidate : candidates)
    if (isOrdinary(candidate) && fs::is_directory(candidate.parent_path(), ec)) {
      folder_ = candidate;
      break;
    }
  fs::create_directories(folder_, ec);
  setenv("TMPDIR", folder_.c_str(), 1);
}

OrdinaryTemp::~OrdinaryTemp() {
  if (hadPrevious_)
    setenv("TMPDIR", previous_.c_str(), 1);
  else
    unsetenv("TMPDIR");
  // The folder stays: tests running in parallel share it.
}

}  // namespace velmora::test
