#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "common/Clock.h"
#include "common/Result.h"
#include "stores/ChangeNotifier.h"
#include "stores/HistoryItem.h"

namespace velmora {

// The queries the user ran, oldest first, one entry per query text, kept
// under "history" and cut to "historyMaxCount". Each change starts from the
// list as saved now, so queries another window or process recorded meanwhile
// are kept.
class HistoryController {
 public:
  static constexpr const char* HistoryChanged = "HistoryController.HistoryChanged";
  static constexpr int currentHistoryVersion = 1;

  explicit HistoryController(const Clock& clock = Clock::system());
  static HistoryController& shared();

  // Notes the stored format version and loads the list.
  void startup();
  void load();
  Status save();

  // Records a query (trimmed) unless history is switched off; an earlier
  // entry of the same text moves to the end. A failure to save is logged.
  void addQuery(const std::string& text);
  Status deleteQuery(const std::string& query);
  Status clear();

  const std::vector<HistoryItem>& items() const { return items_; }
  std::vector<std::string> queries() const;

  int didChange(ChangeNotifier::Handler call) { return notifier_.didChange(std::move(call)); }
  void removeObserver(int token) { notifier_.removeObserver(token); }

 private:
  using Items = std::vector<HistoryItem>;
  static void removeOld(Items& items, std::int64_t limit);
  // Applies `edit` to the list as saved now and saves it when it returns true.
  Status change(const std::function<bool(Items&)>& edit);

  const Clock* clock_;
  std::vector<HistoryItem> items_;
  ChangeNotifier notifier_{HistoryChanged};
};

// A fresh random (version 4) UUID in its usual upper-case text form.
std::string makeUUIDString();

}  // namespace velmora
