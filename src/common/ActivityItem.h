#pragma once
#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "common/Clock.h"

namespace velmora {

class ActivityItem;
class ActivityReporter;

// Whoever owns a long piece of work and can stop it.
class ActivityItemCancelProtocol {
 public:
  virtual ~ActivityItemCancelProtocol() = default;
  virtual void cancel(ActivityItem& item) = 0;
};

// One row of the activity list: a crawl, an index update, a deletion. Its
// owner changes texts and counts and then saves it to the controller again;
// the controller reads it on the main thread.
class ActivityItem : public std::enable_shared_from_this<ActivityItem> {
 public:
  enum class Image { cache, search, document, trash, clipboard };
  enum class ProgressStyle { rawText, indexingCalculatedTotals };

  explicit ActivityItem(Date createdAt = Clock::system().now());
  static std::shared_ptr<ActivityItem> make(Date createdAt = Clock::system().now()) {
    return std::make_shared<ActivityItem>(createdAt);
  }

  std::string id;  // a new UUID
  std::optional<std::string> parent;
  Date createdAt;
  Image image = Image::cache;
  bool autoShowWindow = false;
  ProgressStyle style = ProgressStyle::rawText;
  // Read by workers without a lock; it only ever goes from false to true.
  std::atomic<bool> hasCanceled{false};
  std::string leftText;
  std::string rightText;
  std::optional<std::string> shortStatus;
  // Not owned: the target outlives its registered item.
  ActivityItemCancelProtocol* cancelTarget = nullptr;
  std::function<void(ActivityItem&)> cancelFunc;
  std::optional<std::string> verb;
  std::optional<std::int64_t> totalUnitCount;
  std::optional<std::int64_t> completedUnitCount;
  std::optional<int> currentItemPercentage;
  std::optional<std::string> currentItemTarget;
  bool didAutoShowController = false;
  // The list the item was last saved to; set by the list itself.
  ActivityReporter* reporter = nullptr;

  // Marks the item cancelled, tells its owner, and saves it so the row shows
  // the change. Call it on an item that was saved to a reporter.
  void cancel();

  bool operator==(const ActivityItem& other) const { return id == other.id; }
};

}  // namespace velmora
