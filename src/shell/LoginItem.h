#pragma once
#include <filesystem>
#include <string>

#include "common/Result.h"

namespace velmora {

// Whether Velmora starts by itself when the user logs in.
class LoginItem {
 public:
  virtual ~LoginItem() = default;
  // Ok when done; unsupported when this system has no way to start programs
  // at login, with a message that says what to do instead; any other failure
  // when the change could not be made.
  virtual Status setEnabled(bool enabled) = 0;
};

// On Linux, starting at login means the systemd user unit "velmora.service"
// wanted by default.target. Enabling installs the unit when it is missing
// (for the program that is running) and makes the link that
// `systemctl --user enable velmora.service` makes. Without a systemd user
// manager there is nothing to enable: that is reported as unsupported.
class SystemdLoginItem : public LoginItem {
 public:
  static constexpr const char* unitName = "velmora.service";

  // $XDG_CONFIG_HOME/systemd/user, or <VELMORA_HOME>/systemd/user when set;
  // the user manager is looked for at $XDG_RUNTIME_DIR/systemd.
  SystemdLoginItem();
  SystemdLoginItem(std::filesystem::path userUnitFolder, bool userManagerRunning)
      : folder_(std::move(userUnitFolder)), managerRunning_(userManagerRunning) {}

  Status setEnabled(bool enabled) override;
  bool isEnabled() const;
  // Writes the unit for `executable` unless one is installed already.
  Status installUnit(const std::filesystem::path& executable) const;
  // The unit's text, running `executable serve`.
  static std::string unitText(const std::filesystem::path& executable);
  // Whether a systemd user manager runs for this session.
  static bool userManagerRunning();
  // The program that is running now.
  static std::filesystem::path currentExecutable();

  std::filesystem::path unitFile() const { return folder_ / unitName; }
  std::filesystem::path wantsLink() const { return folder_ / "default.target.wants" / unitName; }

 private:
  std::filesystem::path folder_;
  bool managerRunning_ = false;
};

}  // namespace velmora
