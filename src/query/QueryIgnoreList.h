#pragma once
#include <string>
#include <string_view>

namespace velmora {

// The user's folders and extensions that no search shows, as a query sees
// them. The list itself lives with the search locations; a query holds a
// fresh one, read-only and safe to read from many threads.
class QueryIgnoreList {
 public:
  virtual ~QueryIgnoreList() = default;
  // The path lies in an ignored folder, or in a folder with an ignored extension.
  virtual bool includesFolder(const std::string& path) const = 0;
  // The extension (without its dot) is ignored.
  virtual bool containsExtension(std::string_view extension) const = 0;
};

}  // namespace velmora
