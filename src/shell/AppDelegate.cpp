#include "shell/AppDelegate.h"

#include <exception>

#include <nlohmann/json.hpp>

#include "common/Alert.h"
#include "common/JSONText.h"
#include "common/Logger.h"
#include "stores/FavoriteFolders.h"
#include "stores/HistoryController.h"
#include "stores/PreferenceStore.h"
#include "stores/Preferences.h"
#include "stores/RecentItems.h"
#include "stores/SQLite.h"

namespace velmora {

AppDelegate::AppDelegate(LifecycleHooks hooks, Scheduler& scheduler, LoginItem& loginItem, MetadataStore metadata)
    : hooks_(std::move(hooks)), scheduler_(&scheduler), loginItem_(&loginItem), metadata_(std::move(metadata)) {}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationWillFinishLaunching() {
  // URLs arrive through the desktop's scheme handler (velmora open-url), so
  // there is nothing to register with a running event loop here.
  VLOG("will finish launching, build {}", Preferences::buildVersion());
}

std::vector<AppDelegate::StartStep> AppDelegate::startSteps() {
  // The services menu of other desktops has no counterpart here, so the
  // services provider and its send types are not among the steps.
  return {
      {"Log", [] { VLOG("did finish launching"); }},
      {"Preferences.startup", [] { Preferences::startup(); }},
      {"HistoryController.startup", [] { HistoryController::shared().startup(); }},
      {"Security.startup", hooks_.securityStartup},
      {"FavoriteFolders.startup", [] { FavoriteFolders::shared().startup(); }},
      {"IgnoreItems.startup", hooks_.ignoreItemsStartup},
      {"activateOrQuitHotKeyStatusMenuSupportApp", [this] { activateOrQuitHotKeyStatusMenuSupportApp(); }},
      {"FileBrowserWC.restoreOpenWindows", hooks_.restoreOpenWindows},
      {"RecentItems.startup", [] { RecentItems::shared().startup(); }},
      {"SwiftTalk.startup", hooks_.peerServiceStartup},
      {"ImportTextToolsXPC.initNotifications", hooks_.importTextNotifications},
      {"ContentIndexManager.timer",
       [this] {
         // Index updates start 50 seconds after launch, never during it.
         indexTimer_ = std::make_unique<RepeatingTimer>(*scheduler_, Seconds(indexTimerSeconds), [this] {
           if (hooks_.contentIndexPeriodicStep) hooks_.contentIndexPeriodicStep();
         });
       }},
      {"MediaServer.startup", hooks_.mediaServerStartup},
      {"observe EnsureQueryWindowIsOpen", [this] { observingEnsureQueryWindow_ = true; }},
  };
}

void AppDelegate::applicationDidFinishLaunching() {
  for (auto& step : startSteps()) {
    if (!step.run) {
      VLOG("start step {} is not part of this build", step.name);
      continue;
    }
    // One subsystem failing to start must not keep the others from starting.
    try {
      step.run();
    } catch (const std::exception& e) {
      Logger::shared().log("Start step " + step.name + " failed: " + e.what());
    }
    ranSteps_.push_back(step.name);
  }
}

void AppDelegate::applicationDidBecomeActive() {
  if (!hooks_.showQueryWindow) return;
  scheduler_->schedule(Seconds(0.1), [show = hooks_.showQueryWindow] { show(); });
}

void AppDelegate::ensureQueryWindowIsOpen() {
  if (observingEnsureQueryWindow_ && hooks_.showQueryWindow) hooks_.showQueryWindow();
}

void AppDelegate::activateOrQuitHotKeyStatusMenuSupportApp() {
  if (Preferences::bringToFrontHotKey() || Preferences::showInMenuBar()) {
    Status status = loginItem_->setEnabled(true);
    if (status.code() == Status::Code::unsupported) {
      // Nothing here can start programs at login: say what to do instead,
      // once, rather than apologise at every start.
      if (loginItemAdviceShown_ || PreferenceStore::shared().boolForKey(loginItemAdviceKey)) return;
      loginItemAdviceShown_ = true;
      // Noted once it was shown, so that a quit before then still leaves it for the next start.
      Alert::show(Alert{status.message(), {}, {}},
                  [](int) { PreferenceStore::shared().set(loginItemAdviceKey, true); });
    } else if (!status.ok()) {
      Alert::show(Alert{"Sorry, Velmora couldn't be configured to open at startup.", status.message(), {}});
    }
  } else if (!loginItem_->setEnabled(false).ok()) {
    Logger::shared().log("SMLoginItemSetEnabled returned an error when disabling the launch at login item.");
  }
}

int AppDelegate::updatingIndexCount() const { return hooks_.updatingIndexCount ? hooks_.updatingIndexCount() : 0; }

AppDelegate::TerminateReply AppDelegate::applicationShouldTerminate(TerminateCompletion completion) {
  if (updatingIndexCount() == 0) return TerminateReply::terminateNow;
  auto cancelUpdates = [this] {
    if (hooks_.cancelAllIndexUpdates) hooks_.cancelAllIndexUpdates();
  };
  if (interactive_) {
    Alert::show(Alert{busyTitle, busyText, {"Quit", "Keep Running"}},
                [cancelUpdates, completion](int button) {
                  if (button == 0) cancelUpdates();
                  if (completion) completion(button == 0);
                });
    return TerminateReply::terminateLater;
  }
  // Nobody can answer: let running updates finish for a while, then stop them.
  Logger::shared().log(std::string(busyTitle) + " Stopping in at most " +
                       std::to_string(static_cast<int>(grace_.count())) + " seconds.");
  Date deadline = scheduler_->clock().now() + std::chrono::duration_cast<Date::duration>(grace_);
  graceTimer_ = std::make_unique<RepeatingTimer>(*scheduler_, Seconds(1.0), [this, deadline, cancelUpdates,
                                                                           completion] {
    bool busy = updatingIndexCount() > 0;
    if (busy && scheduler_->clock().now() < deadline) return;
    graceTimer_->cancel();
    if (busy) cancelUpdates();
    if (completion) completion(true);
  });
  return TerminateReply::terminateLater;
}

void AppDelegate::saveOpenWindowPaths() {
  SQLite* store = metadata_ ? metadata_() : nullptr;
  if (!store || !store->isOpen()) return;
  nlohmann::json paths = hooks_.openWindowPaths ? hooks_.openWindowPaths() : std::vector<std::string>{};
  if (Status error = store->write(DBValue::json(JSONText::dump(paths)), "default", "openWindowPaths", DBFamily{"FileBrowserWC"}); !error.ok())
    Logger::shared().log("Open window paths not saved: " + error.message());
}

void AppDelegate::applicationWillTerminate() {
  indexTimer_.reset();
  graceTimer_.reset();
  if (hooks_.mediaServerShutdown) hooks_.mediaServerShutdown();
  if (hooks_.labelTagSave) hooks_.labelTagSave();
  activateOrQuitHotKeyStatusMenuSupportApp();
  saveOpenWindowPaths();
  PreferenceStore::shared().set("hasLaunchedBefore", true);
  VLOG("will terminate");
}

}  // namespace velmora
