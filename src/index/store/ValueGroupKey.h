#pragma once
#include <string>

#include "index/store/Data.h"

namespace velmora {

// One row of a batched write; its database key is `group` followed by `key`.
struct ValueGroupKey {
  Data value;
  std::string group;
  std::string key;
};

}  // namespace velmora
