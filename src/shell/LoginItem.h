#pragma once
#include <filesystem>

namespace velmora {

// Whether Velmora starts by itself when the user logs in.
class LoginItem {
 public:
  virtual ~LoginItem() = default;
  // False when the change could not be made.
  virtual bool setEnabled(bool enabled) = 0;
};

// The systemd user unit "velmora.service" wanted by default.target: the
// same link `systemctl --user enable velmora.service` makes. Enabling needs
// the unit to be installed in the user's unit folder.
class SystemdLoginItem : public LoginItem {
 public:
  // $XDG_CONFIG_HOME/systemd/user, or <VELMORA_HOME>/systemd/user when set.
  SystemdLoginItem();
  explicit SystemdLoginItem(std::filesystem::path userUnitFolder) : folder_(std::move(userUnitFolder)) {}
  bool setEnabled(bool enabled) override;
  bool isEnabled() const;
  std::filesystem::path unitFile() const { return folder_ / "velmora.service"; }
  std::filesystem::path wantsLink() const { return folder_ / "default.target.wants" / "velmora.service"; }

 private:
  std::filesystem::path folder_;
};

}  // namespace velmora
