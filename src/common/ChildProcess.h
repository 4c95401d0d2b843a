#pragma once
#include <sys/types.h>

#include <string>
#include <vector>

namespace velmora {

// Starting helper programs (openers, user scripts) that must not draw on the
// terminal we own: their standard streams go to /dev/null.
namespace ChildProcess {

struct Started {
  pid_t pid = -1;
  int error = 0;  // errno-style reason when pid is -1
  explicit operator bool() const { return pid > 0; }
};

// arguments[0] is the program; with searchPath it is looked up in PATH.
Started spawnQuietly(std::vector<std::string> arguments, bool searchPath);
// Waits for the child and returns its raw wait status.
int waitForExit(pid_t pid);
// Reaps the child on a background thread so it never lingers as a zombie.
void reapInBackground(pid_t pid);

}  // namespace ChildProcess

}  // namespace velmora
