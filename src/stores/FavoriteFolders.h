#pragma once
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "common/Result.h"
#include "stores/ChangeNotifier.h"

namespace velmora {

// Folders the user asked Velmora to remember, by a short name (the folder's
// own name, or "name-parent" when that name is taken). Kept under
// "RememberedFolders"; the query language's "~remembered" reads them. Each
// change starts from the list as saved now, so folders remembered by another
// process meanwhile are kept. Paths are bytes: a name that is not UTF-8
// comes back as it went in.
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
  Status save();

  // Returns the name the folder is remembered under; invalidArgument for a
  // path that is not absolute, or why it could not be saved.
  Result<std::string> add(const std::string& path);
  // Remembers the folder under a name of the user's choosing; invalidArgument
  // when the name is taken by another folder or the path is not absolute.
  Status addNamed(const std::string& name, const std::string& path);
  // Removes the entry shown at `index` of displayItems().
  Status deleteDisplayItem(std::size_t index);
  // notFound when no folder has the name.
  Status remove(const std::string& name);

  const std::map<std::string, std::string>& keyFolderPairs() const { return pairs_; }
  // (name, path) sorted by name as a person reads it.
  std::vector<std::pair<std::string, std::string>> displayItems() const;
  std::optional<std::string> pathFor(const std::string& name) const;
  // The name under which the Downloads folder is remembered.
  std::string downloadsName() const;

  int didChange(ChangeNotifier::Handler call) { return notifier_.didChange(std::move(call)); }

 private:
  using Pairs = std::map<std::string, std::string>;
  // Applies `edit` to the list as saved now and saves it when it returns true.
  Status change(const std::function<bool(Pairs&)>& edit);

  Pairs pairs_;
  ChangeNotifier notifier_{DidChange};
};

}  // namespace velmora
