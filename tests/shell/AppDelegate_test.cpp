#include "shell/AppDelegate.h"

#include <gtest/gtest.h>

#include "common/Alert.h"
#include "common/Logger.h"
#include "common/MainQueue.h"
#include "shell/GuruMeditation.h"
#include "stores/PreferenceStore.h"
#include "stores/Preferences.h"
#include "stores/SQLite.h"
#include "support/ManualScheduler.h"
#include "support/TempHome.h"

namespace velmora::test {

namespace {
class RecordingLoginItem : public LoginItem {
 public:
  explicit RecordingLoginItem(std::vector<std::string>& log) : log_(log) {}
  Status setEnabled(bool enabled) override {
    log_.push_back(enabled ? "login on" : "login off");
    return outcome;
  }
  Status outcome;

 private:
  std::vector<std::string>& log_;
};
}  // namespace

class AppDelegateTest : public ::testing::Test {
 protected:
  void SetUp() override {
    MainQueue::adoptCurrentThread();
    PreferenceStore::resetShared(home.path() / "preferences.json");
    Logger::shared().setEcho(false);
    ASSERT_TRUE(store.open(home.path() / "meta.sql").ok());
    ASSERT_TRUE(store.setupForHierarchicalDBValue().ok());
    Alert::setPresenter([this](const Alert& alert, Alert::Completion done) {
      alerts.push_back(alert.title);
      if (done) done(answer);
    });
  }
  void TearDown() override {
    Alert::setPresenter({});
    MainQueue::poll();
    PreferenceStore::resetShared(home.path() / "unused.json");
  }

  LifecycleHooks recordingHooks() {
    LifecycleHooks hooks;
    auto note = [this](std::string name) { return [this, name] { events.push_back(name); }; };
    hooks.securityStartup = note("security");
    hooks.ignoreItemsStartup = note("ignore");
    hooks.mediaServerStartup = note("media start");
    hooks.contentIndexPeriodicStep = note("index step");
    hooks.mediaServerShutdown = note("media stop");
    hooks.labelTagSave = note("labels");
    hooks.cancelAllIndexUpdates = note("cancel indexes");
    hooks.updatingIndexCount = [this] { return updating; };
    hooks.openWindowPaths = [] { return std::vector<std::string>{"/home/ann"}; };
    return hooks;
  }

  TempHome home;
  ManualClock clock;
  ManualScheduler scheduler{clock};
  SQLite store;
  std::vector<std::string> events;
  std::vector<std::string> alerts;
  int answer = 0;
  int updating = 0;
  RecordingLoginItem loginItem{events};
};

TEST_F(AppDelegateTest, StartsInOrderAndSkipsMissingSubsystems) {
  LifecycleHooks hooks = recordingHooks();
  hooks.mediaServerStartup = {};  // not in this build
  AppDelegate delegate(hooks, scheduler, loginItem, [this] { return &store; });
  delegate.applicationWillFinishLaunching();
  delegate.applicationDidFinishLaunching();

  std::vector<std::string> expected = {"Log",
                                       "Preferences.startup",
                                       "HistoryController.startup",
                                       "Security.startup",
                                       "FavoriteFolders.startup",
                                       "IgnoreItems.startup",
                                       "activateOrQuitHotKeyStatusMenuSupportApp",
                                       "RecentItems.startup",
                                       "ContentIndexManager.timer",
                                       "observe EnsureQueryWindowIsOpen"};
  EXPECT_EQ(delegate.ranSteps(), expected);
  EXPECT_EQ(events, (std::vector<std::string>{"security", "ignore", "login on"}));
  EXPECT_TRUE(Preferences::showInMenuBar());  // the defaults were registered on the way

  // The index manager's step comes every 50 seconds, never during launch.
  scheduler.advance(Seconds(49));
  EXPECT_EQ(events.size(), 3u);
  scheduler.advance(Seconds(1));
  scheduler.advance(Seconds(50));
  EXPECT_EQ(std::count(events.begin(), events.end(), "index step"), 2);
}

TEST_F(AppDelegateTest, QuitWithNothingUpdatingAsksNothingAndStopsInOrder) {
  AppDelegate delegate(recordingHooks(), scheduler, loginItem, [this] { return &store; });
  delegate.applicationDidFinishLaunching();
  events.clear();
  PreferenceStore::shared().set("showInMenuBar", false);

  EXPECT_EQ(delegate.applicationShouldTerminate({}), AppDelegate::TerminateReply::terminateNow);
  delegate.applicationWillTerminate();
  MainQueue::poll();
  EXPECT_TRUE(alerts.empty());
  EXPECT_EQ(events, (std::vector<std::string>{"media stop", "labels", "login off"}));
  EXPECT_TRUE(Preferences::hasLaunchedBefore());
  EXPECT_EQ(store.read(DBValue::Kind::json, "default", "openWindowPaths", DBFamily{"FileBrowserWC"}),
            DBValue::json("[\"/home/ann\"]"));
  scheduler.advance(Seconds(200));  // the index timer is gone
  EXPECT_EQ(std::count(events.begin(), events.end(), "index step"), 0);
}

TEST_F(AppDelegateTest, BusyQuitAsksOrWaitsOutTheGracePeriod) {
  AppDelegate delegate(recordingHooks(), scheduler, loginItem, [] { return nullptr; });
  updating = 1;
  std::vector<bool> replies;
  auto reply = [&](bool quit) { replies.push_back(quit); };

  delegate.setInteractive(true);
  answer = 1;  // "Keep Running"
  EXPECT_EQ(delegate.applicationShouldTerminate(reply), AppDelegate::TerminateReply::terminateLater);
  MainQueue::poll();
  EXPECT_EQ(alerts, std::vector<std::string>{AppDelegate::busyTitle});
  EXPECT_EQ(replies, std::vector<bool>{false});
  EXPECT_TRUE(events.empty());

  answer = 0;  // "Quit"
  delegate.applicationShouldTerminate(reply);
  MainQueue::poll();
  EXPECT_EQ(replies, (std::vector<bool>{false, true}));
  EXPECT_EQ(events, std::vector<std::string>{"cancel indexes"});

  // Without anyone to ask: wait while the update may still finish.
  events.clear();
  replies.clear();
  delegate.setInteractive(false);
  delegate.setGracePeriod(Seconds(10));
  delegate.applicationShouldTerminate(reply);
  scheduler.advance(Seconds(5));
  EXPECT_TRUE(replies.empty());
  updating = 0;  // finished by itself: nothing to cancel
  scheduler.advance(Seconds(1));
  EXPECT_EQ(replies, std::vector<bool>{true});
  EXPECT_TRUE(events.empty());

  updating = 1;
  delegate.applicationShouldTerminate(reply);
  scheduler.advance(Seconds(10));
  EXPECT_EQ(replies, (std::vector<bool>{true, true}));
  EXPECT_EQ(events, std::vector<std::string>{"cancel indexes"});
  EXPECT_EQ(alerts.size(), 2u);  // no further questions
}

TEST_F(AppDelegateTest, FailingLoginItemIsReported) {
  loginItem.outcome = Status::ioError("cannot link");
  AppDelegate delegate(LifecycleHooks{}, scheduler, loginItem, [] { return nullptr; });
  Preferences::startup();
  delegate.activateOrQuitHotKeyStatusMenuSupportApp();
  MainQueue::poll();
  EXPECT_EQ(alerts, std::vector<std::string>{"Sorry, Velmora couldn't be configured to open at startup."});
}

TEST_F(AppDelegateTest, NoWayToStartAtLoginIsExplainedOnce) {
  loginItem.outcome = Status::unsupported("add `velmora serve` to your startup programs");
  AppDelegate delegate(LifecycleHooks{}, scheduler, loginItem, [] { return nullptr; });
  Preferences::startup();
  delegate.activateOrQuitHotKeyStatusMenuSupportApp();
  delegate.activateOrQuitHotKeyStatusMenuSupportApp();  // at quit
  MainQueue::poll();
  PreferenceStore::resetShared(home.path() / "preferences.json");  // the next start
  AppDelegate next(LifecycleHooks{}, scheduler, loginItem, [] { return nullptr; });
  next.activateOrQuitHotKeyStatusMenuSupportApp();
  MainQueue::poll();
  EXPECT_EQ(alerts, std::vector<std::string>{"add `velmora serve` to your startup programs"});
}

TEST(GuruMeditationTest, DetailedStringLines) {
  GMTrace trace;
  trace.add("opened window");
  trace.add("searched");
  std::string text = GuruMeditation::errorToDetailedString("disk vanished", &trace, "/src/shell/Thing.cpp", 42);
  std::vector<std::string> lines;
  for (std::size_t start = 0, end; (end = text.find('\n', start)) != std::string::npos; start = end + 1)
    lines.push_back(text.substr(start, end - start));
  ASSERT_EQ(lines.size(), 9u);
  EXPECT_NE(lines[0].find(" error details:"), std::string::npos);
  EXPECT_EQ(lines[1].rfind("Version ", 0), 0u);
  EXPECT_EQ(lines[2], "File: Thing  Line: 42");
  EXPECT_EQ(lines[3], "Trace: opened window");
  EXPECT_EQ(lines[4], "searched");
  EXPECT_EQ(lines[5].rfind("OS: ", 0), 0u);
  EXPECT_EQ(lines[6].rfind("Mac Cores: ", 0), 0u);
  EXPECT_NE(lines[6].find("  Arch: "), std::string::npos);
  EXPECT_EQ(lines[7], "disk vanished");
  EXPECT_EQ(lines[8], std::string(39, '-'));
}

}  // namespace velmora::test
