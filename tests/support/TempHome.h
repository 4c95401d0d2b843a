#pragma once
#include <filesystem>
#include <string>

namespace velmora::test {

// A fresh folder that stands for the user's Velmora home for one test:
// VELMORA_HOME points at it while the object lives, and it is removed after.
class TempHome {
 public:
  TempHome();
  ~TempHome();
  TempHome(const TempHome&) = delete;
  TempHome& operator=(const TempHome&) = delete;
  const std::filesystem::path& path() const { return path_; }
  // A scratch folder inside the home for generated trees.
  std::filesystem::path tree(const std::string& name) const;

 private:
  std::filesystem::path path_;
  std::string previous_;
  bool hadPrevious_ = false;
};

// Writes a file (creating parents) with the given contents.
void writeFile(const std::filesystem::path& file, const std::string& contents = {});
std::string readFile(const std::filesystem::path& file);

// The build folder and the source tree, wherever the test runs from.
std::filesystem::path binaryDir();
std::filesystem::path sourceDir();
// Path of a built program, e.g. programPath("velmora").
std::filesystem::path programPath(const std::string& name);

// Runs a command line through /bin/sh; returns the exit status and standard output.
struct CommandOutput {
  int status = -1;
  std::string out;
};
CommandOutput runCommand(const std::string& commandLine);
// Quotes text for /bin/sh.
std::string shellQuote(const std::string& text);

}  // namespace velmora::test
