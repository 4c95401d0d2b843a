#include "textimport/ImportClient.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <future>
#include <set>
#include <thread>

#include "TestDocuments.h"
#include "support/ManualScheduler.h"
#include "support/TempHome.h"
#include "textimport/FrameDecoder.h"
#include "textimport/ImportMessage.h"
#include "textimport/ImportSharedState.h"
#include "textimport/service/ImportText.h"

namespace velmora {
namespace {

using test::ManualClock;
using test::ManualScheduler;
using test::TempHome;
using test::writeFile;
using namespace std::chrono_literals;

bool processAlive(pid_t pid) {
  if (pid <= 0) return false;
  std::string stat = test::readFile("/proc/" + std::to_string(pid) + "/stat");
  auto close = stat.rfind(')');
  return !stat.empty() && close != std::string::npos && stat.size() > close + 2 && stat[close + 2] != 'Z';
}

// True when the process holds a descriptor open on `path`.
bool holdsOpen(pid_t pid, const std::string& path) {
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/fd", ec)) {
    std::error_code linkError;
    if (std::filesystem::read_symlink(entry.path(), linkError).string() == path) return true;
  }
  return false;
}

// Waits for a condition that another thread or process brings about; the
// rules under test never depend on how long this takes.
template <class F>
bool eventually(F condition) {
  for (int i = 0; i < 1000; ++i) {
    if (condition()) return true;
    std::this_thread::sleep_for(10ms);
  }
  return condition();
}

// A text file whose reading never ends until the test writes to it: a FIFO
// with the test holding its writing end.
struct HangingFile {
  explicit HangingFile(const std::filesystem::path& path) : path(path.string()) {
    ::mkfifo(this->path.c_str(), 0600);
    // Opening the reading end first keeps the writer's open from blocking.
    reader = ::open(this->path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    writer = ::open(this->path.c_str(), O_WRONLY | O_CLOEXEC);
  }
  void finish(const std::string& text) {
    if (writer >= 0) {
      [[maybe_unused]] auto n = ::write(writer, text.data(), text.size());
      ::close(writer);
      writer = -1;
    }
  }
  ~HangingFile() {
    finish("");
    ::close(reader);
  }
  std::string path;
  int reader = -1, writer = -1;
};

class ImportClientTest : public ::testing::Test {
 protected:
  ImportClient::Options options(double timeLimit = 0) {
    ImportClient::Options o;
    o.helperPath = test::programPath("velmora-import").string();
    o.scheduler = &scheduler;
    o.timeLimitSeconds = timeLimit;
    o.memoryLimitMB = 1024;
    return o;
  }
  std::string file(const std::string& name, const std::string& contents) {
    auto path = home.tree("files") / name;
    writeFile(path, contents);
    return path.string();
  }
  TempHome home;
  ManualClock clock;
  ManualScheduler scheduler{clock};
};

TEST_F(ImportClientTest, WordsAndTextThroughTheHelper) {
  ImportClient client(options());
  EXPECT_EQ(client.helperPid(), -1);
  auto skipped = client.wordsFromFile(file("a.xyz", "never read"), false);
  EXPECT_TRUE(skipped.error.ok());
  EXPECT_FALSE(skipped.words);
  EXPECT_EQ(client.helperPid(), -1) << "a type that can't be imported never reaches the helper";

  auto words = client.wordsFromFile(file("a.txt", "Hello, WORLD!! hello"), false);
  ASSERT_TRUE(words.error.ok()) << words.error.message();
  EXPECT_EQ(*words.words, (ImportTextTools::WordCounts{{"hello", 2}, {"world", 1}}));
  const pid_t helper = client.helperPid();
  EXPECT_TRUE(processAlive(helper));
  std::set<std::string> open;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(helper) + "/fd"))
    open.insert(entry.path().filename().string());
  EXPECT_EQ(open, (std::set<std::string>{"0", "1", "2", "3", "4"})) << "the helper keeps nothing else of ours";

  auto text = client.textFromFile(file("two.pdf", test::makePDF({{"page one"}, {"page two"}})), false, false,
                                  ImportTextTools::unlimitedLength);
  ASSERT_TRUE(text.error.ok()) << text.error.message();
  ASSERT_EQ(text.pages.size(), 2u);
  EXPECT_NE(text.pages[1].find("page two"), std::string::npos);
  EXPECT_EQ(client.helperPid(), helper) << "one helper serves file after file";

  auto unreadable = client.textFromFile(file("b.pdf", "not a pdf"), false, false, 100);
  EXPECT_FALSE(unreadable.error.ok());
  EXPECT_NE(unreadable.error.message().find("PDF"), std::string::npos);
  auto copied = client.copyContentsToClipboardImporter(file("c.txt", "copy me"), false);
  ASSERT_TRUE(copied.ok());
  EXPECT_EQ(copied->text, "copy me");
  EXPECT_EQ(client.helperPid(), helper) << "a file that can't be parsed is no failure of the helper";

  client.shutdown();
  EXPECT_EQ(client.helperPid(), -1);
  int status = 0;
  EXPECT_EQ(::waitpid(helper, &status, WNOHANG), -1) << "the client reaped its helper";
}

TEST_F(ImportClientTest, AKilledHelperCostsOneFile) {
  ImportClient client(options());
  client.startup();
  const pid_t first = client.helperPid();
  HangingFile hanging(home.tree("files") / "hang.txt");
  auto pending = std::async(std::launch::async, [&] { return client.wordsFromFile(hanging.path, false); });
  ASSERT_TRUE(eventually([&] { return holdsOpen(first, hanging.path); })) << "the helper reads the file";
  ::kill(first, SIGKILL);
  auto lost = pending.get();
  EXPECT_FALSE(lost.words);
  EXPECT_FALSE(lost.error.ok());
  EXPECT_NE(lost.error.message().find("hang.txt: the import helper was killed by signal 9"), std::string::npos)
      << lost.error.message();

  auto next = client.wordsFromFile(file("next.txt", "still works"), false);
  ASSERT_TRUE(next.error.ok()) << next.error.message();
  EXPECT_EQ(next.words->size(), 2u);
  EXPECT_NE(client.helperPid(), first);
}

TEST_F(ImportClientTest, IdleHelperEndsAfterAMinuteButNeverDuringAnImport) {
  ImportClient client(options());
  const auto txt = file("a.txt", "words");
  ASSERT_TRUE(client.wordsFromFile(txt, false).words);  // timer ticks at 60, 120, 180...
  const pid_t helper = client.helperPid();
  scheduler.advance(30s);
  ASSERT_TRUE(client.wordsFromFile(txt, false).words);  // last used at 30
  scheduler.advance(31s);                              // tick at 60: 30 s idle
  EXPECT_EQ(client.helperPid(), helper);
  ASSERT_TRUE(client.wordsFromFile(txt, false).words);  // last used at 61
  scheduler.advance(59s);                              // tick at 120: 59 s idle
  EXPECT_EQ(client.helperPid(), helper);
  scheduler.advance(60s);                              // tick at 180: 119 s idle
  EXPECT_EQ(client.helperPid(), -1);
  EXPECT_TRUE(eventually([&] { return !processAlive(helper); }));

  // A long import: the timer ticks through it and leaves it alone.
  HangingFile hanging(home.tree("files") / "slow.txt");
  auto pending = std::async(std::launch::async, [&] { return client.wordsFromFile(hanging.path, false); });
  ASSERT_TRUE(eventually([&] { return client.helperPid() > 0 && holdsOpen(client.helperPid(), hanging.path); }));
  const pid_t busy = client.helperPid();
  scheduler.advance(300s);
  EXPECT_EQ(client.helperPid(), busy);
  hanging.finish("finally done");
  auto words = pending.get();
  ASSERT_TRUE(words.words) << words.error.message();
  EXPECT_EQ(words.words->count("finally"), 1u);
}

TEST_F(ImportClientTest, AnImportWithoutProgressPastTheTimeLimitIsStopped) {
  ImportClient client(options(300));
  HangingFile hanging(home.tree("files") / "stuck.txt");
  auto pending = std::async(std::launch::async, [&] { return client.wordsFromFile(hanging.path, false); });
  ASSERT_TRUE(eventually([&] { return client.helperPid() > 0 && holdsOpen(client.helperPid(), hanging.path); }));
  const pid_t stuck = client.helperPid();
  clock.advance(299s);
  EXPECT_EQ(pending.wait_for(300ms), std::future_status::timeout);
  clock.advance(2s);
  auto result = pending.get();
  EXPECT_FALSE(result.words);
  EXPECT_NE(result.error.message().find("no progress for 300 seconds"), std::string::npos) << result.error.message();
  EXPECT_FALSE(processAlive(stuck));
  EXPECT_TRUE(client.wordsFromFile(file("after.txt", "fine"), false).words);
}

TEST_F(ImportClientTest, AHelperThatSpeaksNonsenseIsEnded) {
  // A stand-in helper that answers with a frame announcing 4 GB.
  const auto script = home.tree("bin") / "liar";
  writeFile(script, "#!/bin/sh\nprintf '\\377\\377\\377\\377' >&3\nexec sleep 30\n");
  std::filesystem::permissions(script, std::filesystem::perms::owner_all);
  auto o = options();
  o.helperPath = script.string();
  ImportClient client(o);
  auto result = client.wordsFromFile(file("a.txt", "words"), false);
  EXPECT_FALSE(result.words);
  EXPECT_NE(result.error.message().find("longer than allowed"), std::string::npos) << result.error.message();
  EXPECT_EQ(client.helperPid(), -1);
}

// Runs velmora-import by hand on two socket pairs and sends it raw bytes.
int helperExitFor(const std::string& bytes) {
  int requests[2], control[2];
  socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, requests);
  socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, control);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, requests[1], 3);
  posix_spawn_file_actions_adddup2(&actions, control[1], 4);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  const std::string program = test::programPath("velmora-import").string();
  std::vector<std::string> args = {program, "--request-fd", "3", "--control-fd", "4"};
  std::vector<char*> argv;
  for (auto& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  pid_t pid;
  posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(requests[1]);
  close(control[1]);
  [[maybe_unused]] auto n = write(requests[0], bytes.data(), bytes.size());
  shutdown(requests[0], SHUT_WR);
  int status = 0;
  waitpid(pid, &status, 0);
  close(requests[0]);
  close(control[0]);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

TEST(ImportHelper, EndsCleanlyOnBadFrames) {
  EXPECT_EQ(helperExitFor(std::string("\xFF\xFF\xFF\xFF", 4)), 3) << "a frame that is too long";
  EXPECT_EQ(helperExitFor(FrameDecoder::encode("\x01\x05garbage")), 3) << "a malformed message";
  ImportMessage reply;
  reply.op = "setProgress";
  EXPECT_EQ(helperExitFor(FrameDecoder::encode(reply.encode())), 3) << "not a request";
  ImportMessage announced;
  announced.op = "wordsInFile";
  announced.path = "/x.txt";
  announced.hasFd = true;
  EXPECT_EQ(helperExitFor(FrameDecoder::encode(announced.encode())), 3) << "a descriptor that never came";
  ImportMessage quit;
  quit.op = "quit";
  EXPECT_EQ(helperExitFor(FrameDecoder::encode(quit.encode())), 0);
  EXPECT_EQ(helperExitFor(""), 0) << "the client's end of stream";
}

TEST(ImportHelper, CancelOnlyStopsItsOwnFileAndProgressIsThinned) {
  ManualClock clock;
  ImportTextTools::sendCancelFor("/left/over");
  ImportText service(clock);
  EXPECT_TRUE(ImportTextTools::currentCancelItems().empty()) << "leftovers are cleared when the helper starts";

  service.setCurrentFile("/current.pdf");
  ImportSharedState::shared().setCancelItems({"/other.pdf"}, true);
  EXPECT_FALSE(service.shouldCancel()) << "a cancel for another file";
  ImportTextTools::sendCancelFor("/current.pdf");
  EXPECT_TRUE(service.shouldCancel());
  EXPECT_FALSE(service.shouldCancel()) << "a cancel is taken once";
  EXPECT_EQ(ImportTextTools::currentCancelItems(), std::set<std::string>{"/other.pdf"});
  ImportTextTools::clearCancel();

  std::vector<int> seen;
  const int token = ImportSharedState::shared().addObserver([&](ImportSharedState::Notification n) {
    if (n == ImportSharedState::Notification::progress) seen.push_back(ImportTextTools::progressInfo()["/current.pdf"]);
  });
  service.progressFunc("/current.pdf", 0);   // the first report passes
  clock.advance(2s);
  service.progressFunc("/current.pdf", 10);  // thinned
  clock.advance(1s);
  service.progressFunc("/current.pdf", 20);  // three seconds on
  service.progressFunc(std::nullopt, 0);     // resets the gate
  clock.advance(2.9s);
  service.progressFunc("/current.pdf", 30);
  ImportSharedState::shared().removeObserver(token);
  EXPECT_EQ(seen, (std::vector<int>{0, 20}));
  ImportTextTools::clearProgress("/current.pdf");
}

TEST(ImportMessages, RoundTripAndRejectMalformed) {
  ImportMessage m;
  m.op = "wordsInFile";
  m.path = "/a b/ü.txt";
  m.hasFd = true;
  m.maxLength = 1234567890123;
  m.words = {{"x", 3}, {"ü", 1}};
  m.pages = {"one", "", "three"};
  m.error = "";
  auto back = ImportMessage::decode(m.encode());
  ASSERT_TRUE(back.ok());
  EXPECT_EQ(back->path, m.path);
  EXPECT_TRUE(back->hasFd);
  EXPECT_EQ(back->maxLength, m.maxLength);
  EXPECT_EQ(back->words, m.words);
  EXPECT_EQ(back->pages, m.pages);
  EXPECT_EQ(back->error, std::optional<std::string>(""));
  const std::string bytes = m.encode();
  EXPECT_FALSE(ImportMessage::decode(bytes.substr(0, 5)).ok()) << "cut inside the name";
  EXPECT_FALSE(ImportMessage::decode(bytes.substr(0, bytes.size() - 1)).ok()) << "cut inside the last field";
  EXPECT_FALSE(ImportMessage::decode("").ok());
  // Found by fuzzing: one word twice whose counts add past the largest count.
  ImportMessage huge;
  huge.op = "wordsInFile";
  huge.words = {{"w", INT64_MAX}};
  const std::string twice = huge.encode() + huge.encode().substr(huge.encode().find('\x0a'));
  EXPECT_FALSE(ImportMessage::decode(twice).ok());
  EXPECT_FALSE(ImportMessage::decode(std::string("\x01\x03zzz", 5)).ok()) << "unknown name";

  FrameDecoder decoder(8);
  const std::string frames = FrameDecoder::encode("abc") + FrameDecoder::encode("") + FrameDecoder::encode("123456789");
  std::string frame;
  decoder.append(frames.data(), 2);
  EXPECT_EQ(decoder.next(frame), FrameDecoder::Next::needMore);
  decoder.append(frames.data() + 2, frames.size() - 2);
  ASSERT_EQ(decoder.next(frame), FrameDecoder::Next::frame);
  EXPECT_EQ(frame, "abc");
  ASSERT_EQ(decoder.next(frame), FrameDecoder::Next::frame);
  EXPECT_EQ(frame, "");
  EXPECT_EQ(decoder.next(frame), FrameDecoder::Next::tooLong);
}

}  // namespace
}  // namespace velmora
