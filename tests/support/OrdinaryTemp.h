#pragma once
#include <filesystem>
#include <string>

namespace velmora::test {

// Points TMPDIR (and so TempHome) at a folder that a crawl enters by default:
// one that lies in no operating-system folder such as /tmp and has no hidden
// component. Crawl tests need that wherever the build folder happens to be.
// The previous TMPDIR comes back when the object goes.
class OrdinaryTemp {
 public:
  OrdinaryTemp();
  ~OrdinaryTemp();
  OrdinaryTemp(const OrdinaryTemp&) = delete;
  OrdinaryTemp& operator=(const OrdinaryTemp&) = delete;
  const std::filesystem::path& folder() const { return folder_; }

 private:
  std::filesystem::path folder_;
  std::string previous_;
  bool hadPrevious_ = false;
};

}  // namespace velmora::test
