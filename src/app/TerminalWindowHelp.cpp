#include "app/TerminalWindowHelp.h"

namespace velmora::app {

const std::vector<std::string>& TerminalWindowHelp::lines() {
  static const std::vector<std::string> lines{
      "Velmora keys",
      "",
      "  typing           edit the query; Return starts the search",
      "  Esc              stop the search; twice: back to the query field",
      "  Tab, Down        to the results; Tab or / back to the query",
      "  F2               choose where to search (disks, home, a folder)",
      "  F6, F7           sort by the next column, reverse the sort",
      "  1-6              sort by that column (again: reverse)",
      "  Space, a         select a result, select all or none",
      "  Return, o        open with the desktop's program",
      "  f                show the enclosing folder",
      "  c                copy the path(s)",
      "  x                run a script of the scripts folder on the selection",
      "  ?, F1            this help       q, F10, Ctrl-Q   quit",
      "  A paste always goes to the query field.",
      "",
      "Query examples",
      "",
      "  report budget              names holding both words",
      "  report : modified today    words, then commands after a colon",
      "  .m4v : bigger than 10mb    an extension and a size",
      "  : modified today is audio  only commands",
      "  : run tidy                 run the script \"tidy\" on the selection",
      "",
      "Press any key.",
  };
  return lines;
}

}  // namespace velmora::app
