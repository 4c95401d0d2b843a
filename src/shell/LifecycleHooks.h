#pragma once
#include <functional>
#include <string>
#include <vector>

namespace velmora {

// What the lifecycle needs of subsystems that live outside the shell. The
// front-end that runs the application fills in each one whose subsystem is
// built; an empty hook is a step that is skipped.
struct LifecycleHooks {
  // Start-up, called in the order of AppDelegate::startSteps().
  std::function<void()> securityStartup;
  std::function<void()> ignoreItemsStartup;
  std::function<void()> restoreOpenWindows;
  std::function<void()> peerServiceStartup;       // the nearby-peer service "Velmora"
  std::function<void()> importTextNotifications;  // the text import service's notifications
  std::function<void()> mediaServerStartup;

  // The index manager: its periodic step (every 50 seconds), the number of
  // indexes being updated now, and stopping all updates.
  std::function<void()> contentIndexPeriodicStep;
  std::function<int()> updatingIndexCount;
  std::function<void()> cancelAllIndexUpdates;

  // Stop.
  std::function<void()> mediaServerShutdown;
  std::function<void()> labelTagSave;
  std::function<std::vector<std::string>()> openWindowPaths;

  // Shows a query window (found, de-minimised or made).
  std::function<void()> showQueryWindow;
};

}  // namespace velmora
