#pragma once
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace velmora {

class ScriptCommand;

// Runs the user's scripts (the scripts folder) on chosen files: each path is
// one argument. The script runs in the background with its output
// discarded, so a terminal window stays intact; a failure comes back as text.
class ScriptRunner {
 public:
  struct Outcome {
    bool started = false;
    int exitStatus = -1;
    std::string error;  // empty on success
  };
  using Completion = std::function<void(const Outcome&)>;

  // The scripts of the user's scripts folder by name, sorted.
  static std::vector<std::pair<std::string, std::filesystem::path>> availableScripts();

  // Starts script with the files as arguments; completion is called on the
  // runner's thread when it ends (or at once when it cannot start).
  static void run(const std::filesystem::path& script, const std::vector<std::string>& files,
                  Completion completion = {});
  // The same, blocking, for command-line use and tests.
  static Outcome runAndWait(const std::filesystem::path& script, const std::vector<std::string>& files);
  // What a ScriptCommand asks for: its script on the files, a failure shown as an alert.
  static void run(const ScriptCommand& command, const std::vector<std::string>& files);
};

}  // namespace velmora
