#pragma once
#include <map>
#include <string>

#include "stores/ChangeNotifier.h"
#include "stores/SavedSearchItem.h"

namespace velmora {

// The user's saved searches by id, kept under "savedSearches".
class SavedSearches {
 public:
  static constexpr const char* DidChange = "SavedSearches.DidChange";
  static constexpr const char* defaultsKey = "savedSearches";

  SavedSearches() = default;
  static SavedSearches& shared();

  // Entries that cannot be read are dropped.
  void load();
  // Replaces the stored list, clears the dirty marks and tells observers.
  void save(std::map<std::string, SavedSearchItem> items);

  const std::map<std::string, SavedSearchItem>& contents() const { return contents_; }
  const SavedSearchItem* item(const std::string& id) const;

  // `base` if no saved search is called that, else "base 2", "base 3", ...
  std::string makeUniqueName(const std::string& base = "Untitled Search") const;

  int didChange(ChangeNotifier::Handler call) { return notifier_.didChange(std::move(call)); }

 private:
  bool nameInUse(const std::string& name) const;

  std::map<std::string, SavedSearchItem> contents_;
  ChangeNotifier notifier_{DidChange};
};

}  // namespace velmora
