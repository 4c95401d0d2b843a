#pragma once
#include <cstddef>

namespace velmora {

// Database statistics as mdb_stat reports them.
struct Stats {
  std::size_t pageSize = 0;
  std::size_t depth = 0;
  std::size_t branchPageCount = 0;
  std::size_t leafPageCount = 0;
  std::size_t overflowPageCount = 0;
  std::size_t entries = 0;
};

}  // namespace velmora
