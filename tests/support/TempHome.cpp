#include "support/TempHome.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace velmora::test {

namespace fs = std::filesystem;

TempHome::TempHome() {
  std::string pattern = (fs::temp_directory_path() / "velmora-test-XXXXXX").string();
  if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
  if (const char* old = std::getenv("VELMORA_HOME")) {
    previous_ = old;
    hadPrevious_ = true;
  }
  setenv("VELMORA_HOME", path_.c_str(), 1);
}

TempHome::~TempHome() {
  if (hadPrevious_)
    setenv("VELMORA_HOME", previous_.c_str(), 1);
  else
    unsetenv("VELMORA_HOME");
  std::error_code ec;
  // Tests may leave folders without permissions; give them back first.
  for (auto it = fs::recursive_directory_iterator(path_, fs::directory_options::skip_permission_denied, ec);
       it != fs::recursive_directory_iterator(); it.increment(ec)) {
    if (it->is_directory(ec) && !it->is_symlink(ec))
      fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ec);
  }
  fs::permissions(path_, fs::perms::owner_all, fs::perm_options::add, ec);
  fs::remove_all(path_, ec);
}

fs::path TempHome::tree(const std::string& name) const {
  fs::path p = path_ / name;
  fs::create_directories(p);
  return p;
}

void writeFile(const fs::path& file, const std::string& contents) {
  fs::create_directories(file.parent_path());
  std::ofstream out(file, std::ios::binary);
  out << contents;
}

std::string readFile(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::stringstream buffer;
  buffer << in.rdbuf();
  return buffer.str();
}

fs::path binaryDir() {
  // The environment wins so that a copied build still finds itself; the
  // compiled-in folder serves a test started by hand from anywhere.
  const char* dir = std::getenv("VELMORA_BINARY_DIR");
  return fs::path(dir && *dir ? dir : VELMORA_TEST_BINARY_DIR).lexically_normal();
}

fs::path sourceDir() { return fs::path(VELMORA_TEST_SOURCE_DIR).lexically_normal(); }

fs::path programPath(const std::string& name) { return binaryDir() / "bin" / name; }

CommandOutput runCommand(const std::string& commandLine) {
  CommandOutput result;
  FILE* pipe = popen(commandLine.c_str(), "r");
  if (!pipe) return result;
  char buffer[65536];
  std::size_t n;
  while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) result.out.append(buffer, n);
  int status = pclose(pipe);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

std::string shellQuote(const std::string& text) {
  std::string out = "'";
  for (char c : text) {
    if (c == '\'')
      out += "'\\''";
    else
      out += c;
  }
  return out + "'";
}

}  // namespace velmora::test
