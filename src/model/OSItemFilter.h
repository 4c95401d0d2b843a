#pragma once
#include <string>

namespace velmora {

// The test that keeps operating-system folders, invisible items and package
// contents out of ordinary results. The file-system utilities answer it.
class OSItemFilter {
 public:
  virtual ~OSItemFilter() = default;
  virtual bool isInsideOSDirectory(const std::string& path) = 0;
  virtual bool isInvisibleOrInsidePackage(const std::string& path) = 0;
};

}  // namespace velmora
