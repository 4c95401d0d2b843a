#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "common/Clock.h"
#include "shell/LifecycleHooks.h"
#include "shell/LoginItem.h"

namespace velmora {

class SQLite;

// The application's start and stop, in a fixed order. Everything here runs
// on the main queue.
class AppDelegate {
 public:
  static constexpr const char* ensureQueryWindowIsOpenNotification =
      "com.tessarawinkle.Velmora.EnsureQueryWindowIsOpen";
  static constexpr const char* busyTitle = "Velmora is busy updating caches.";
  static constexpr const char* busyText =
      "If you quit Velmora now, the caches will only be partially updated, possibly resulting in inaccurate "
      "search results.";
  static constexpr double indexTimerSeconds = 50.0;
  // Set once the user was told how to start Velmora at login by hand.
  static constexpr const char* loginItemAdviceKey = "loginItemAdviceGiven";

  struct StartStep {
    std::string name;
    std::function<void()> run;  // empty: the subsystem is not part of this build
  };
  enum class TerminateReply { terminateNow, terminateCancel, terminateLater };
  // Told later whether to terminate after a terminateLater reply.
  using TerminateCompletion = std::function<void(bool terminate)>;
  // The store the open window paths are kept in; none leaves them unsaved.
  using MetadataStore = std::function<SQLite*()>;

  AppDelegate(LifecycleHooks hooks, Scheduler& scheduler, LoginItem& loginItem, MetadataStore metadata);
  ~AppDelegate();

  void applicationWillFinishLaunching();
  void applicationDidFinishLaunching();
  void applicationDidBecomeActive();
  // With an index updating: asks (interactive) or waits out a grace period
  // (no one to ask), then stops the updates.
  TerminateReply applicationShouldTerminate(TerminateCompletion completion);
  void applicationWillTerminate();

  // The start-up steps in their order; later subsystems join through hooks.
  std::vector<StartStep> startSteps();
  // Names of the steps that ran, in order (skipped ones are not listed).
  const std::vector<std::string>& ranSteps() const { return ranSteps_; }

  // Whether a person can answer the busy question (a terminal or a window).
  void setInteractive(bool interactive) { interactive_ = interactive; }
  void setGracePeriod(Seconds grace) { grace_ = grace; }
  Seconds gracePeriod() const { return grace_; }

  // Enables the login item when the hot key or the menu-bar item is wanted,
  // disables it otherwise.
  void activateOrQuitHotKeyStatusMenuSupportApp();
  // The observer of ensureQueryWindowIsOpenNotification (after start-up).
  void ensureQueryWindowIsOpen();

 private:
  int updatingIndexCount() const;
  void saveOpenWindowPaths();

  LifecycleHooks hooks_;
  Scheduler* scheduler_;
  LoginItem* loginItem_;
  MetadataStore metadata_;
  std::vector<std::string> ranSteps_;
  std::unique_ptr<RepeatingTimer> indexTimer_;
  std::unique_ptr<RepeatingTimer> graceTimer_;
  bool interactive_ = false;
  bool observingEnsureQueryWindow_ = false;
  bool loginItemAdviceShown_ = false;
  Seconds grace_{30.0};
};

}  // namespace velmora
