#pragma once
#include <string>

namespace velmora {

enum class IgnoreItemType { pathComponent, pathExtension, displayGroup };

// One folder or extension the user does not want to see. Ids live for one
// IgnoreItems; they are not stored.
struct IgnoreItem {
  IgnoreItemType type = IgnoreItemType::pathComponent;
  std::string id;
  std::string text;

  bool operator==(const IgnoreItem&) const = default;
};

}  // namespace velmora
