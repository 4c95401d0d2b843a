#include "shell/GuruMeditation.h"

#include <sys/utsname.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <thread>

#include "common/Alert.h"
#include "common/Logger.h"
#include "common/MainQueue.h"
#include "stores/Preferences.h"

namespace velmora::GuruMeditation {

namespace {
std::string processName() {
  const char* name = program_invocation_short_name;
  return name && *name ? name : "velmora";
}

std::string cpuArchitecture() {
  utsname info{};
  if (uname(&info) != 0 || !*info.machine) return "Unknown";
  return info.machine;
}

std::string osVersion() {
  utsname info{};
  if (uname(&info) != 0) return "Unknown";
  return std::string(info.sysname) + " " + info.release;
}

std::string fileStem(std::string_view file) {
  return std::filesystem::path(std::string(file)).stem().string();
}
}  // namespace

std::string errorToDetailedString(std::string_view error, const GMTrace* crumbs, std::string_view file, int line) {
  std::string version = Preferences::buildVersion();
  if (version == "unknown") version.clear();
  std::string out;
  out += processName() + " error details:\n";
  out += version.empty() ? "Unknown Version\n" : "Version " + version + "\n";
  out += "File: " + fileStem(file) + "  Line: " + std::to_string(line) + "\n";
  out += "Trace: " + (crumbs ? crumbs->description() : std::string()) + "\n";
  out += "OS: " + osVersion() + "\n";
  out += "Mac Cores: " + std::to_string(std::thread::hardware_concurrency()) + "  Arch: " + cpuArchitecture() + "\n";
  out += std::string(error) + "\n";
  out += std::string(39, '-') + "\n";
  return out;
}

bool copyToClipboard(const std::string& text) {
  for (const char* command : {"wl-copy 2>/dev/null", "xclip -selection clipboard 2>/dev/null",
                              "xsel --clipboard --input 2>/dev/null"}) {
    FILE* pipe = popen(command, "w");
    if (!pipe) continue;
    std::fwrite(text.data(), 1, text.size(), pipe);
    if (pclose(pipe) == 0) return true;
  }
  return false;
}

void showErrorAlert(std::string error, const GMTrace* trace, std::string_view file, int line) {
  std::string details = errorToDetailedString(error, trace, file, line);
  MainQueue::async([error = std::move(error), details = std::move(details)] {
    VLOG("{}", details);
    Alert alert{error, {}, {"OK", "Copy Details To Clipboard"}};
    Alert::show(alert, [details](int button) {
      if (button == 1 && !copyToClipboard(details))
        Logger::shared().log("GuruMeditation: no clipboard program (wl-copy, xclip, xsel) took the details");
    });
  });
}

}  // namespace velmora::GuruMeditation
