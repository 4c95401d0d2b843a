#include "shell/LoginItem.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include "common/AppDirectories.h"

namespace velmora {

namespace fs = std::filesystem;

namespace {
fs::path userUnitFolder() {
  const char* home = std::getenv("VELMORA_HOME");
  if (home && *home) return fs::path(home) / "systemd" / "user";
  const char* config = std::getenv("XDG_CONFIG_HOME");
  fs::path base = (config && *config && fs::path(config).is_absolute())
                      ? fs::path(config)
                      : AppDirectories::homeDirectory() / ".config";
  return base / "systemd" / "user";
}

// One word of an ExecStart line: quoted, with systemd's specifier and
// variable characters doubled so that a path is taken as it is.
std::string execWord(const std::string& word) {
  std::string out = "\"";
  for (char c : word) {
    if (c == '"' || c == '\\') out += '\\';
    if (c == '%' || c == '$') out += c;
    out += c;
  }
  return out + "\"";
}

Status writeFile(const fs::path& file, const std::string& text) {
  std::error_code ec;
  fs::create_directories(file.parent_path(), ec);
  fs::path temporary = file;
  temporary += ".tmp";
  int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) return Status::fromErrno(errno, "cannot create " + temporary.string());
  ssize_t written = ::write(fd, text.data(), text.size());
  int error = written == static_cast<ssize_t>(text.size()) ? 0 : (written < 0 ? errno : ENOSPC);
  if (::fsync(fd) != 0 && error == 0) error = errno;
  if (::close(fd) != 0 && error == 0) error = errno;
  if (error == 0 && ::rename(temporary.c_str(), file.c_str()) != 0) error = errno;
  if (error != 0) {
    ::unlink(temporary.c_str());
    return Status::fromErrno(error, "cannot write " + file.string());
  }
  return {};
}
}  // namespace

SystemdLoginItem::SystemdLoginItem() : folder_(userUnitFolder()), managerRunning_(userManagerRunning()) {}

bool SystemdLoginItem::userManagerRunning() {
  // The user manager keeps its runtime folder (with its private socket) there.
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  if (!runtime || !*runtime) return false;
  std::error_code ec;
  return fs::is_directory(fs::path(runtime) / "systemd", ec);
}

fs::path SystemdLoginItem::currentExecutable() {
  std::error_code ec;
  fs::path self = fs::read_symlink("/proc/self/exe", ec);
  return ec ? fs::path("velmora") : self;
}

std::string SystemdLoginItem::unitText(const fs::path& executable) {
  return "# Runs `velmora serve` while the user is logged in: timed index updates and\n"
         "# the network services. Written by Velmora when starting at login was asked for.\n"
         "[Unit]\n"
         "Description=Velmora file search (background service)\n"
         "\n"
         "[Service]\n"
         "Type=simple\n"
         "ExecStart=" +
         execWord(executable.string()) +
         " serve\n"
         "# Stopping sends SIGTERM; `velmora serve` then lets running index updates\n"
         "# finish for up to 30 seconds.\n"
         "TimeoutStopSec=45\n"
         "Restart=on-failure\n"
         "RestartSec=5\n"
         "\n"
         "[Install]\n"
         "WantedBy=default.target\n";
}

bool SystemdLoginItem::isEnabled() const {
  std::error_code ec;
  return fs::is_symlink(wantsLink(), ec);
}

Status SystemdLoginItem::installUnit(const fs::path& executable) const {
  std::error_code ec;
  if (fs::exists(unitFile(), ec)) return {};
  return writeFile(unitFile(), unitText(executable));
}

Status SystemdLoginItem::setEnabled(bool enabled) {
  std::error_code ec;
  if (!enabled) {
    fs::remove(wantsLink(), ec);
    if (ec) return Status::fromErrno(ec.value(), "cannot remove " + wantsLink().string());
    return {};
  }
  if (!managerRunning_)
    return Status::unsupported(
        "Velmora can't be set to open at startup here: no systemd user manager runs for this session. "
        "To start it when you log in, add `velmora serve` to your desktop's startup programs "
        "(a .desktop file in ~/.config/autostart) or to your session's start-up script; "
        "`velmora prefs set showInMenuBar false` stops this request.");
  if (Status installed = installUnit(currentExecutable()); !installed.ok()) return installed;
  if (isEnabled()) return {};
  fs::create_directories(wantsLink().parent_path(), ec);
  fs::create_symlink(unitFile(), wantsLink(), ec);
  if (ec) return Status::fromErrno(ec.value(), "cannot link " + wantsLink().string());
  return {};
}

}  // namespace velmora
