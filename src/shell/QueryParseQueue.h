#pragma once
#include <functional>

namespace velmora {

// Where the query window parses: one background thread for the whole
// process, so that a long query never holds up the main loop. The thread is
// never joined: a parse cannot be interrupted, and quitting must not wait
// for one. busy() tells the front-end that one still runs at exit.
class QueryParseQueue {
 public:
  static void async(std::function<void()> parse);
  static bool busy();
};

}  // namespace velmora
