#include "shell/LoginItem.h"

#include <gtest/gtest.h>

#include "support/TempHome.h"

namespace velmora::test {

namespace fs = std::filesystem;

TEST(LoginItemTest, WithoutAUserManagerEnablingSaysWhatToDoInstead) {
  TempHome home;
  SystemdLoginItem item(home.path() / "units", /*userManagerRunning=*/false);
  Status status = item.setEnabled(true);
  EXPECT_EQ(status.code(), Status::Code::unsupported);
  EXPECT_NE(status.message().find("startup programs"), std::string::npos);
  EXPECT_FALSE(fs::exists(item.unitFile()));
  EXPECT_TRUE(item.setEnabled(false).ok());  // nothing to undo is no failure
}

TEST(LoginItemTest, EnablingInstallsTheUnitAndLinksIt) {
  TempHome home;
  SystemdLoginItem item(home.path() / "units", /*userManagerRunning=*/true);
  ASSERT_TRUE(item.setEnabled(true).ok());
  EXPECT_TRUE(item.isEnabled());
  EXPECT_EQ(fs::read_symlink(item.wantsLink()), item.unitFile());
  std::string unit = readFile(item.unitFile());
  EXPECT_NE(unit.find("ExecStart=\"" + SystemdLoginItem::currentExecutable().string() + "\" serve\n"),
            std::string::npos);
  EXPECT_NE(unit.find("WantedBy=default.target"), std::string::npos);
  EXPECT_TRUE(item.setEnabled(true).ok());  // again: nothing changes

  // A unit the user edited is kept.
  writeFile(item.unitFile(), "[Unit]\n# mine\n");
  EXPECT_TRUE(item.setEnabled(true).ok());
  EXPECT_EQ(readFile(item.unitFile()), "[Unit]\n# mine\n");
  EXPECT_TRUE(item.setEnabled(false).ok());
  EXPECT_FALSE(item.isEnabled());
  EXPECT_TRUE(fs::exists(item.unitFile()));

  // Specifier and quoting characters of a path are escaped for systemd.
  EXPECT_NE(SystemdLoginItem::unitText("/opt/my \"dir\"/100%/$bin").find(
                "ExecStart=\"/opt/my \\\"dir\\\"/100%%/$$bin\" serve\n"),
            std::string::npos);

  // A file where the unit folder should be is a failure, not a silent no.
  writeFile(home.path() / "blocked", "x");
  SystemdLoginItem blocked(home.path() / "blocked" / "units", true);
  Status failed = blocked.setEnabled(true);
  EXPECT_FALSE(failed.ok());
  EXPECT_NE(failed.code(), Status::Code::unsupported);
}

}  // namespace velmora::test
