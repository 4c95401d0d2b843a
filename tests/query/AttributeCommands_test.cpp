#include <gtest/gtest.h>

#include <sys/xattr.h>

#include "TempHome.h"
#include "query/QueryContainer.h"
#include "query/commands/ExcludeFolderCommand.h"
#include "query/commands/ExtensionCommand.h"
#include "query/commands/FileOrFolderCommand.h"
#include "query/commands/InsideCommand.h"
#include "query/commands/LabelCommand.h"
#include "query/commands/LabelTagManager.h"
#include "query/LanguageParse.h"
#include "query/commands/MaxDepth.h"
#include "query/commands/LengthCommand.h"
#include "query/commands/LengthCommand.h"
#include "query/commands/RegexCommand.h"
#include "query/commands/UTICommand.h"
#include "model/SearchResult.h"
#include "stores/PreferenceStore.h"

namespace velmora {
namespace {

class AttributeCommands : public ::testing::Test {
 protected:
  void SetUp() override { PreferenceStore::resetShared(home.path() / "preferences.json"); }
  CommandApplyResult apply(Command& command, const std::string& path, bool isDirectory = false) {
    SearchResult r;
    r.path = path;
    r.isDirectory = isDirectory;
    return command.commandImpApply(r, nullptr, query);
  }
  static constexpr auto accept = CommandApplyResult::accept;
  static constexpr auto exclude = CommandApplyResult::exclude;
  static constexpr auto skip = CommandApplyResult::skip;

  test::TempHome home;
  QueryContainer query;
};

TEST_F(AttributeCommands, FilesFoldersAndBundles) {
  FileOrFolderCommand file(FileOrFolderType::file), folder(FileOrFolderType::folder);
  EXPECT_EQ(apply(file, "/a/b.txt"), accept);
  EXPECT_EQ(apply(folder, "/a/b.txt"), exclude);
  EXPECT_EQ(apply(folder, "/a/b", true), accept);
  EXPECT_EQ(apply(file, "/a/b", true), exclude);
  // An application bundle is neither.
  EXPECT_EQ(apply(file, "/Applications/Notes.app", true), exclude);
  EXPECT_EQ(apply(folder, "/Applications/Notes.app", true), exclude);
  EXPECT_EQ(file.commandToString(), "is file");
}

TEST_F(AttributeCommands, InsideAndExcludingFolders) {
  InsideCommand inside("work", false), insideExactly("work", true);
  EXPECT_EQ(apply(inside, "/Users/me/Homework/a.txt"), accept);
  EXPECT_EQ(apply(inside, "/Users/me/work.txt"), exclude);  // the name itself does not count
  EXPECT_EQ(apply(insideExactly, "/Users/me/Homework/a.txt"), exclude);
  EXPECT_EQ(apply(insideExactly, "/Users/me/Work/a.txt"), accept);

  ExcludeFolderCommand excluding("-build", false);
  EXPECT_EQ(excluding.insidePath, "build");
  EXPECT_EQ(excluding.commandToString(), "excluding folder \"build\"");
  EXPECT_EQ(apply(excluding, "/src/build/x.o"), exclude);
  EXPECT_EQ(apply(excluding, "/src/builder.txt"), accept);
}

TEST_F(AttributeCommands, DepthCountsFromTheRootOfTheItemsDisk) {
  // macOS rules: a volume's name does not count.
  MaxDepth mac(2, PathConventions::macOS(), nullptr);
  EXPECT_EQ(mac.depthOf("/Users/a/b.txt"), 2);
  EXPECT_EQ(mac.depthOf("/Volumes/Data/Users/a/b.txt"), 2);
  EXPECT_EQ(apply(mac, "/Users/a/b.txt"), accept);
  EXPECT_EQ(apply(mac, "/Users/a/b/c.txt"), exclude);

  // Linux: the disk root is the path's mount point.
  auto volumes = std::make_shared<const VolumeTable>(std::vector<MountedVolume>{
      {"/", "/dev/vda1", "ext4", {}, {}, true, true}, {"/media/me/stick", "/dev/sdb1", "vfat", {}, {}, true, true}});
  MaxDepth linux(1, PathConventions::linux(), volumes);
  EXPECT_EQ(linux.depthOf("/docs/a.txt"), linux.depthOf("/media/me/stick/docs/a.txt"));
  EXPECT_EQ(apply(linux, "/media/me/stick/docs/a.txt"), accept);
  EXPECT_EQ(apply(linux, "/media/me/stick/docs/x/a.txt"), exclude);
  EXPECT_EQ(apply(*MaxDepth(0, PathConventions::linux(), volumes).copy(), "/a/b/c/d/e"), accept);
  EXPECT_TRUE(linux.commandIsOnlyAFilter());
}

TEST_F(AttributeCommands, ExtensionsLengthsAndExpressions) {
  ExtensionCommand txt("TXT", false), notTxt("txt", true);
  EXPECT_EQ(apply(txt, "/a/Notes.Txt"), accept);
  EXPECT_EQ(apply(txt, "/a/notes.md"), exclude);
  EXPECT_EQ(apply(txt, "/a/Makefile"), skip);
  EXPECT_EQ(apply(notTxt, "/a/notes.txt"), exclude);
  EXPECT_EQ(txt.commandImpExtraSearchStrings(), std::vector<std::string>{"txt"});
  EXPECT_TRUE(notTxt.commandImpExtraSearchStrings().empty());
  EXPECT_EQ(notTxt.commandExtraHighlightStrings(), std::vector<std::string>{".txt"});
  EXPECT_EQ(notTxt.commandToString(), "not .txt");

  // Both limits are strict.
  NameLengthCommand maxName(10, NameLengthCommand::Choice::max), minName(10, NameLengthCommand::Choice::min);
  EXPECT_EQ(apply(maxName, "/x/123456789"), accept);
  EXPECT_EQ(apply(maxName, "/x/1234567890"), exclude);
  EXPECT_EQ(apply(minName, "/x/1234567890"), exclude);
  EXPECT_EQ(apply(minName, "/x/12345678901"), accept);
  EXPECT_EQ(apply(minName, "/x/éééééééééé\u0301"), exclude);  // characters, not bytes
  PathLengthCommand maxPath(6, PathLengthCommand::Choice::max);
  EXPECT_EQ(apply(maxPath, "/a/bc"), accept);
  EXPECT_EQ(apply(maxPath, "/a/bcd"), exclude);
  EXPECT_EQ(maxPath.commandExample(), "max path length **6**");

  RegexCommand regex("^a.*z$");
  EXPECT_EQ(apply(regex, "/q/ABZ"), accept);
  EXPECT_EQ(apply(regex, "/q/abc"), exclude);
  // Long names: the text matched must stay alive while the matcher runs.
  RegexCommand start("^a"), inner("abc");
  for (int repeat = 0; repeat < 50; ++repeat) {
    EXPECT_EQ(apply(start, "/q/abcdefghijklmnopqrstuvwxyz0123456789abcdefghijklmnop.txt"), accept);
    EXPECT_EQ(apply(inner, "/q/abcdefghijklmnopqrstuvwxyz0123456789.txt"), accept);
    EXPECT_EQ(apply(inner, "/q/xyzxyzxyzxyzxyzxyzxyzxyzxyzxyzxyzxyzxyzxyz-abc.txt"), accept);
  }
  RegexCommand broken("a(b");
  EXPECT_FALSE(broken.hasMatcher());
  EXPECT_EQ(apply(broken, "/q/ab"), skip);
  EXPECT_EQ(regex.commandExample(), "regex **^a.*z$**");
}

TEST_F(AttributeCommands, KindsComeFromContentTypes) {
  UTICommand audio("audio"), text("text"), pdf("pdf"), file("file");
  EXPECT_EQ(apply(audio, "/m/song.mp3"), accept);
  EXPECT_EQ(apply(audio, "/m/song.flac"), accept);
  EXPECT_EQ(apply(audio, "/m/movie.mp4"), exclude);
  EXPECT_EQ(apply(text, "/m/page.html"), accept);
  EXPECT_EQ(apply(pdf, "/m/paper.pdf"), accept);
  EXPECT_EQ(apply(pdf, "/m/paper.txt"), exclude);
  EXPECT_EQ(apply(file, "/m/any"), accept);
  EXPECT_EQ(audio.commandExample(), "is **audio**");

  auto variable = [](const char* word) {
    return UTICommandFactory::utiVariable(SentenceComponent::parseWords(word));
  };
  EXPECT_TRUE(variable("audio"));
  EXPECT_FALSE(variable("folder"));
  EXPECT_FALSE(variable("aud"));  // an unfinished word waits
}

TEST_F(AttributeCommands, TagsFromTheExtendedAttribute) {
  auto tagged = home.tree("tags") / "a.txt";
  auto untagged = home.tree("tags") / "b.txt";
  test::writeFile(tagged);
  test::writeFile(untagged);
  const std::string tags = "Red,Work Stuff";
  if (setxattr(tagged.c_str(), LabelCommand::kTagsAttribute, tags.data(), tags.size(), 0) != 0)
    GTEST_SKIP() << "no user extended attributes on this file system";

  LabelCommand red("RED", false), notRed("red", true), stuff("work stuff", false);
  EXPECT_EQ(apply(red, tagged), accept);
  EXPECT_EQ(apply(stuff, tagged), accept);
  EXPECT_EQ(apply(notRed, tagged), exclude);
  EXPECT_EQ(apply(red, untagged), exclude);
  EXPECT_EQ(apply(notRed, untagged), accept);
  EXPECT_EQ(LabelCommand::tagNames(tagged)->size(), 2u);
  // Tags seen on files are offered while typing.
  LanguageParse parse;
  EXPECT_EQ(parse.variableCompletors.at("~tagCompletor")(SentenceComponent::parseWords("wo")), "work stuff");
}

}  // namespace
}  // namespace velmora
