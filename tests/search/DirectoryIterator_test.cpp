#include "search/DirectoryIterator.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "common/Logger.h"
#include "common/MainQueue.h"
#include "support/TempHome.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;
using test::TempHome;
using test::writeFile;

std::vector<std::string> names(const std::vector<FSItemAndAttrs>& items) {
  std::vector<std::string> out;
  for (const auto& item : items) out.push_back(item.name);
  std::sort(out.begin(), out.end());
  return out;
}

TEST(DirectoryIterator, ListsFilesAndFoldersButNoLinksOrSpecialFiles) {
  TempHome home;
  fs::path root = home.tree("t");
  writeFile(root / "a.txt", "12345");
  writeFile(root / ".hidden", "");
  fs::create_directory(root / "sub");
  fs::create_directory_symlink(root / "sub", root / "linkdir");
  fs::create_symlink(root / "a.txt", root / "linkfile");
  ASSERT_EQ(::mkfifo((root / "pipe").c_str(), 0600), 0);
  writeFile(root / "bad\xFFname", "");

  DirectoryIterator iterator;
  auto [error, items] = iterator.contentsOfDirectoryAtPath(root.string(), [] { return false; });
  EXPECT_EQ(error, 0);
  EXPECT_EQ(names(items), (std::vector<std::string>{".hidden", "a.txt", "bad\xEF\xBF\xBDname", "sub"}));
  for (const auto& item : items) {
    // The name is repaired for display; the path keeps the bytes that open it.
    bool bad = item.name == "bad\xEF\xBF\xBDname";
    EXPECT_EQ(item.fullPath, root.string() + "/" + (bad ? std::string("bad\xFFname") : item.name));
    struct stat info {};
    EXPECT_EQ(::lstat(item.fullPath.c_str(), &info), 0) << item.fullPath;
    if (item.name == "a.txt") {
      EXPECT_EQ(item.fileSize, 5u);
      EXPECT_GT(item.modifyTime.tv_sec, 0);
      EXPECT_TRUE(item.fileSystem && item.object);
    }
    if (item.name == "sub") EXPECT_TRUE(item.isDirectory);
  }
  // A trailing slash changes nothing.
  auto again = iterator.contentsOfDirectoryAtPath_galb(root.string() + "/").second;
  std::vector<std::string> first, second;
  for (const auto& i : items) first.push_back(i.fullPath);
  for (const auto& i : again) second.push_back(i.fullPath);
  std::sort(first.begin(), first.end());
  std::sort(second.begin(), second.end());
  EXPECT_EQ(first, second);
}

TEST(DirectoryIterator, OnlyWantedEntriesGetAttributes) {
  TempHome home;
  fs::path root = home.tree("t");
  writeFile(root / "report.txt", "abc");
  writeFile(root / "other.txt", "abcdef");
  DirectoryIterator iterator;
  DirectoryIterator::Options options;
  options.wantsAttributes = [](const FSItemAndAttrs& item) { return item.name.find("report") != std::string::npos; };
  auto listing = iterator.list(root.string(), options);
  ASSERT_EQ(listing.items.size(), 2u);
  for (std::size_t i = 0; i < listing.items.size(); ++i) {
    bool isReport = listing.items[i].name == "report.txt";
    EXPECT_EQ(listing.wanted[i] != 0, isReport);
    EXPECT_EQ(listing.items[i].fileSize, isReport ? 3u : 0u);
  }
}

TEST(DirectoryIterator, RootEmptyAndUnopenableListAsEmptyWithoutError) {
  TempHome home;
  Logger::shared().setFolder(home.path());
  Logger::shared().setEcho(false);
  Logger::setEnabled(true);
  std::vector<std::string> lines;
  int token = Logger::shared().addDelegate([&](const std::string& line) { lines.push_back(line); });
  MainQueue::adoptCurrentThread();

  DirectoryIterator iterator;
  for (const char* path : {"/", ""}) {
    auto [error, items] = iterator.contentsOfDirectoryAtPath_galb(path);
    EXPECT_EQ(error, 0);
    EXPECT_TRUE(items.empty());
  }
  auto [error, items] = iterator.contentsOfDirectoryAtPath_galb((home.path() / "missing").string());
  EXPECT_EQ(error, 0);
  EXPECT_TRUE(items.empty());
  MainQueue::poll();
  EXPECT_TRUE(std::any_of(lines.begin(), lines.end(),
                          [](const std::string& l) { return l.find("open error: ") != std::string::npos; }));
  Logger::shared().removeDelegate(token);
  Logger::setEnabled(false);

  // The crawl lists the root itself where "/" is one walk.
  DirectoryIterator::Options options;
  options.listRoot = true;
  options.wantsAttributes = [](const FSItemAndAttrs&) { return false; };
  auto root = iterator.list("/", options);
  EXPECT_FALSE(root.items.empty());
  for (const auto& item : root.items) EXPECT_EQ(item.fullPath, "/" + item.name);
}

TEST(DirectoryIterator, OneLevelContentsAndExtendedAttributes) {
  TempHome home;
  fs::path root = home.tree("t");
  writeFile(root / "f", "");
  fs::create_directory(root / "d");
  fs::create_directory_symlink(root / "d", root / "l");
  auto contents = DirectoryIterator::urlContentsOfDirectory(root.string());
  std::sort(contents.files.begin(), contents.files.end());
  EXPECT_EQ(contents.files, (std::vector<std::string>{(root / "f").string(), (root / "l").string()}));
  EXPECT_EQ(contents.directories, (std::vector<std::string>{(root / "d").string()}));
  EXPECT_TRUE(DirectoryIterator::urlContentsOfDirectory((root / "none").string()).files.empty());

  EXPECT_TRUE(DirectoryIterator::listExtendedAttributes((root / "f").string()).empty());
  if (::setxattr((root / "f").c_str(), "user.xdg.tags", "red", 3, 0) != 0)
    GTEST_SKIP() << "this file system keeps no user attributes";
  ::setxattr((root / "f").c_str(), "user.b", "", 0, 0);
  auto names = DirectoryIterator::listExtendedAttributes((root / "f").string());
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"user.b", "user.xdg.tags"}));
}

}  // namespace
}  // namespace velmora
