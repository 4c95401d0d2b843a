#pragma once
#include <gtest/gtest.h>

#include "common/Logger.h"
#include "common/MainQueue.h"
#include "stores/PreferenceStore.h"
#include "support/TempHome.h"

namespace velmora::test {

// A fresh VELMORA_HOME with the shared preference store pointed into it.
class StoreFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    MainQueue::adoptCurrentThread();
    PreferenceStore::resetShared(prefsFile());
    Logger::shared().setEcho(false);
  }
  void TearDown() override {
    MainQueue::poll();
    PreferenceStore::resetShared(home.path() / "unused.json");
  }
  std::filesystem::path prefsFile() const { return home.path() / "preferences.json"; }
  std::string logText() const { return readFile(home.path() / "caches" / "Today's Log.txt"); }

  TempHome home;
};

}  // namespace velmora::test
