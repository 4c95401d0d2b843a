#include "shell/LoginItem.h"

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
}  // namespace

SystemdLoginItem::SystemdLoginItem() : folder_(userUnitFolder()) {}

bool SystemdLoginItem::isEnabled() const {
  std::error_code ec;
  return fs::is_symlink(wantsLink(), ec);
}

bool SystemdLoginItem::setEnabled(bool enabled) {
  std::error_code ec;
  if (!enabled) {
    fs::remove(wantsLink(), ec);
    return !ec;
  }
  if (!fs::exists(unitFile(), ec)) return false;
  if (isEnabled()) return true;
  fs::create_directories(wantsLink().parent_path(), ec);
  fs::create_symlink(unitFile(), wantsLink(), ec);
  return !ec;
}

}  // namespace velmora
