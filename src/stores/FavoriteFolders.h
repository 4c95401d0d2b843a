#pragma once
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "stores/ChangeNotifier.h"

namespace velmora {

// Folders the user asked Velmora to remember, by a short name (the folder's
// own name, or "name-parent" when that name is taken). Kept under
// "RememberedFolders"; the query language's "~remembered" reads them.
class FavoriteFolders {
 public:
  static constexpr const char* DidChange = "FavoriteFolders.DidChange";
  static constexpr const char* defaultsKey = "RememberedFolders";
  static constexpr const char* downloadsNameKey = "RememberedFoldersDownloadsFolderName";

  FavoriteFolders() = default;
  static FavoriteFolders& shared();

  // Loads; on the very first run also remembers the Downloads folder.
  void startup();
  void load();
  void save();

  // Returns the name the folder is remembered under; nothing for a path that
  // is not absolute.
  std::optional<std::string> add(const std::string& path);
  // Remembers the folder under a name of the user's choosing; false when
  // the name is taken by another folder or the path is not absolute.
  bool addNamed(const std::string& name, const std::string& path);
  // Removes the entry shown at `index` of displayItems().
  bool deleteDisplayItem(std::size_t index);
  bool remove(const std::string& name);

  const std::map<std::string, std::string>& keyFolderPairs() const { return pairs_; }
  // (name, path) sorted by name as a person reads it.
  std::vector<std::pair<std::string, std::string>> displayItems() const;
  std::optional<std::string> pathFor(const std::string& name) const;
  // The name under which the Downloads folder is remembered.
  std::string downloadsName() const;

  int didChange(ChangeNotifier::Handler call) { return notifier_.didChange(std::move(call)); }

 private:
  std::map<std::string, std::string> pairs_;
  ChangeNotifier notifier_{DidChange};
};

}  // namespace velmora
