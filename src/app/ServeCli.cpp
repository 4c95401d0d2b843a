// `velmora serve`: the long-running application (timed index updates, the
// peer search service, the media server). One per Velmora home.
#include <CLI/CLI.hpp>
#include <unistd.h>

#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "app/CliRegistry.h"
#include "common/Alert.h"
#include "common/Logger.h"
#include "common/MainQueue.h"
#include "index/ContentIndexManager.h"
#include "index/ImportWordSource.h"
#include "textimport/ImportClient.h"
#include "shell/ActivityController.h"
#include "query/commands/LabelTagManager.h"
#include "search/DiskInfoManager.h"
#include "search/IgnoreItems.h"
#include "search/Security.h"
#include "shell/AppDelegate.h"
#include "shell/Application.h"
#include "shell/LoginItem.h"
#include "shell/SingleInstanceLock.h"
#include "stores/BrowsingMetadata.h"
#include "stores/Preferences.h"

namespace velmora::app {

namespace {

// Subsystems join the application here as they are built, one line each,
// e.g. `hooks.mediaServerStartup = [] { MediaServer::shared().startup(); };`.
// The order they run in is fixed by AppDelegate::startSteps().
LifecycleHooks subsystemHooks(bool resetBookmarks, bool resetCaches) {
  LifecycleHooks hooks;
  // Index builds run on their own threads; the list and the timed round
  // stay on the main queue.
  ContentIndexManager::Environment indexes;
  indexes.resetCaches = resetCaches;
  indexes.buildOptions.activity = &ActivityController::shared();
  static ImportWordSource words(ImportClient::shared());
  indexes.buildOptions.words = &words;
  indexes.startRefresh = [](std::shared_ptr<ContentIndex> index, bool userInitiated) {
    std::thread([index, userInitiated] {
      Status built = ContentIndexManager::shared().buildNow(index, userInitiated);
      MainQueue::async([index, built] {
        if (!built.ok() && built.code() != Status::Code::cancelled)
          Alert::show(Alert{"The cache \"" + index->displayName + "\" could not be updated.", built.message(), {"OK"}}, {});
        index->state = ContentIndexLMDBState::none;
        ContentIndexManager::shared().save().ignore();
        ContentIndexManager::shared().performNextTimedIndexRefresh();
      });
    }).detach();
  };
  ContentIndexManager::configureShared(std::move(indexes));
  hooks.contentIndexPeriodicStep = [] {
    ContentIndexManager::shared().startScheduledRefreshIfNeeded();
    ContentIndexManager::shared().performNextTimedIndexRefresh();
  };
  hooks.updatingIndexCount = [] { return ContentIndexManager::shared().buildingCount(); };
  hooks.cancelAllIndexUpdates = [] { ContentIndexManager::shared().cancelAll(); };
  hooks.securityStartup = [resetBookmarks] { Security::shared().startup(resetBookmarks); };
  hooks.ignoreItemsStartup = [] {
    IgnoreItems::startup();
    // The disk list follows mounts from now on, so locations and indexes of
    // a disk plugged in later are known without a restart.
    DiskInfoManager::shared().startMonitoring();
  };
  hooks.labelTagSave = [] { LabelTagManager::shared().save(); };
  return hooks;
}

// A question on the terminal, for when someone is there to answer.
void askOnTerminal(const Alert& alert, Alert::Completion done) {
  std::cerr << "\n" << alert.title << "\n";
  if (!alert.text.empty()) std::cerr << alert.text << "\n";
  if (alert.buttons.size() <= 1) {  // a notice: nothing to choose
    if (done) done(0);
    return;
  }
  const std::vector<std::string>& buttons = alert.buttons;
  for (std::size_t i = 0; i < buttons.size(); ++i) std::cerr << "  " << i + 1 << ") " << buttons[i] << "\n";
  std::cerr << "Choose [1]: " << std::flush;
  std::string line;
  int choice = 0;
  if (!std::getline(std::cin, line)) {
    choice = -1;
  } else if (!line.empty()) {
    try {
      choice = std::stoi(line) - 1;
    } catch (...) {
      choice = -1;
    }
    if (choice < 0 || choice >= static_cast<int>(buttons.size())) choice = -1;
  }
  if (done) done(choice);
}

// Takes the first lock file that can be made. Nothing when another serve
// holds one (exit 2) or when no lock can be taken at all (exit 1): a serve
// without its lock could run twice, and `velmora quit` could not find it.
struct LockOutcome {
  std::unique_ptr<SingleInstanceLock> lock;
  int exitCode = 0;
};

LockOutcome takeLock() {
  std::string errors;
  for (const auto& path : SingleInstanceLock::candidatePaths()) {
    auto lock = std::make_unique<SingleInstanceLock>(path);
    switch (lock->acquire()) {
      case SingleInstanceLock::Outcome::acquired:
        return {std::move(lock), 0};
      case SingleInstanceLock::Outcome::heldByOther: {
        std::string holder = lock->holder() ? " (process " + std::to_string(*lock->holder()) + ")" : "";
        std::cerr << "velmora serve: Velmora is already running for this home" << holder
                  << "; stop it with `velmora quit`\n";
        return {nullptr, 2};
      }
      case SingleInstanceLock::Outcome::unavailable:
        Logger::shared().log("Serve: " + lock->error());
        errors += "\n  " + lock->error();
        break;
    }
  }
  std::cerr << "velmora serve: not started: no one-instance lock could be taken (is the home folder read-only "
               "or full?):"
            << errors << "\n";
  return {nullptr, 1};
}

int installUserUnit() {
  SystemdLoginItem item;
  if (Status status = item.installUnit(SystemdLoginItem::currentExecutable()); !status.ok()) {
    std::cerr << "velmora serve: the user unit was not installed: " << status.message() << "\n";
    return 1;
  }
  std::cout << item.unitFile().string() << "\n";
  std::cerr << "velmora serve: the user unit is installed; start Velmora at login with\n"
               "  systemctl --user daemon-reload && systemctl --user enable --now "
            << SystemdLoginItem::unitName << "\n";
  return 0;
}

int runServe(double graceSeconds, bool resetBookmarks, bool resetCaches) {
  // `--log` switched logging on already; the preference can switch it on
  // (and off again) while running.
  bool logFlag = Logger::isEnabled() && !Preferences::loggingEnabled();
  Preferences::preferencesDidChangeNotification([logFlag](const std::string& key) {
    if (key == Preferences::loggingKey) Logger::setEnabled(logFlag || Preferences::loggingEnabled());
  });

  bool interactive = ::isatty(STDIN_FILENO) && ::isatty(STDERR_FILENO);
  if (interactive) Alert::setPresenter(askOnTerminal);

  SystemdLoginItem loginItem;
  AppDelegate delegate(subsystemHooks(resetBookmarks, resetCaches), Scheduler::main(), loginItem,
                       [] { return &BrowsingMetadata::metadata(); });
  delegate.setInteractive(interactive);
  delegate.setGracePeriod(Seconds(graceSeconds));
  Application application(delegate);
  // Taken once signals are watched, so whoever sees the lock can stop us.
  auto [lock, lockExit] = takeLock();
  if (!lock) return lockExit;
  std::cerr << "velmora serve: running as process " << ::getpid() << "; stop it with `velmora quit`\n";
  int status = application.run();
  Alert::setPresenter({});
  return status;
}

const bool registered = registerCli(80, [](CLI::App& root, CliContext& context) {
  CLI::App* serve = root.add_subcommand(
      "serve", "run Velmora in the background: timed index updates and the network services (one per home)");
  auto grace = std::make_shared<double>(30.0);
  serve->add_option("--grace", *grace,
                    "seconds to let running index updates finish on quit when nobody can be asked")
      ->check(CLI::NonNegativeNumber);
  auto resetBookmarks = std::make_shared<bool>(false);
  serve->add_flag("--reset-bookmarks", *resetBookmarks, "forget the remembered access to folders before starting");
  auto resetCaches = std::make_shared<bool>(false);
  serve->add_flag("--reset-caches", *resetCaches,
                  "forget the list of indexes before starting (their files stay); a way out of a bad list");
  auto installUnit = std::make_shared<bool>(false);
  serve->add_flag("--install-user-unit", *installUnit,
                  "install the systemd user unit that starts `velmora serve` at login, then exit");
  serve->callback([&context, grace, resetBookmarks, resetCaches, installUnit] {
    context.exitCode = *installUnit ? installUserUnit() : runServe(*grace, *resetBookmarks, *resetCaches);
  });
});

}  // namespace

}  // namespace velmora::app
