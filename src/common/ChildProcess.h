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

struct Finished {
  int error = 0;       // errno-style reason when the program could not start
  int waitStatus = 0;  // raw wait status once it ran
  std::string output;  // all it wrote to standard output
};
// Runs a program (no PATH search) with standard input and error on
// /dev/null, collecting its standard output, and waits for it. Made by
// posix_spawn, so it is safe in a process with threads.
Finished runCollectingOutput(std::vector<std::string> arguments);

// The running program's own file (/proc/self/exe), to start it again as a
// helper; empty when it can't be read.
std::string currentProgram();

}  // namespace ChildProcess

}  // namespace velmora
