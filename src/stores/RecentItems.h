#pragma once
#include <functional>
#include <string>
#include <vector>

#include "common/Clock.h"
#include "stores/ChangeNotifier.h"
#include "stores/RecentItem.h"

namespace velmora {

// Files opened from results lately, newest first, kept as JSON text under
// "recentSmartItems". The list is cut back to "recentItemsMaxCount" at most
// once a day ("recentSmartLastPurge").
class RecentItems {
 public:
  static constexpr const char* DidChange = "RecentItems.DidChange";
  using RecentDocumentSink = std::function<void(const std::string& path)>;

  explicit RecentItems(const Clock& clock = Clock::system());
  ~RecentItems();
  RecentItems(const RecentItems&) = delete;
  RecentItems& operator=(const RecentItems&) = delete;
  static RecentItems& shared();

  // Loads, purges, and listens to OpenedFilesNotification.
  void startup();
  void load();
  void save();

  void addPopularItem(const std::vector<std::string>& paths, bool save = true);
  void deleteItem(const std::string& path, bool save = true);
  // Cuts the list when the last cut was not today.
  void purge();

  const std::vector<RecentItem>& items() const { return items_; }
  // Newest first by lastSeen.
  std::vector<RecentItem> itemsForDisplay() const;
  // Hands each item, oldest first, to the desktop's recent-documents list.
  void tryBuildRecentMenu() const;
  void setRecentDocumentSink(RecentDocumentSink sink) { sink_ = std::move(sink); }

  int didChange(ChangeNotifier::Handler call) { return notifier_.didChange(std::move(call)); }

 private:
  const Clock* clock_;
  std::vector<RecentItem> items_;
  ChangeNotifier notifier_{DidChange};
  RecentDocumentSink sink_;
  int openedToken_ = 0;
};

}  // namespace velmora
