#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "query/QueryIgnoreList.h"
#include "search/IgnoreItem.h"

namespace velmora {

class PreferenceStore;
struct PathConventions;

// The folders and extensions no search shows, from the preferences
// "ignoreFolders" and "ignoreExtensions". A query holds a fresh one and only
// reads it, so it is safe to read from many threads.
class IgnoreItems final : public QueryIgnoreList {
 public:
  static constexpr const char* foldersKey = "ignoreFolders";
  static constexpr const char* extensionsKey = "ignoreExtensions";

  // Reads the preferences; values that are not arrays of strings give none.
  IgnoreItems();
  IgnoreItems(PreferenceStore& store, const PathConventions& conventions);

  std::vector<IgnoreItem> pathComponents;
  std::vector<IgnoreItem> pathExtensions;

  void save();
  bool contains(const std::string& path) const;
  bool containsExtension(std::string_view extension) const override;
  // An ignored folder text with a "/" matches anywhere in the path as a
  // substring; one without matches a whole component. A component whose
  // extension is ignored hides itself and all below it.
  bool includesFolder(const std::string& path) const override;
  void add(const std::string& path);
  void addFileExtension(const std::string& fileExtension);
  void deleteItem(const std::string& id);
  // Headers "Files & Folders" and "Extensions" with their sorted items.
  std::vector<IgnoreItem> itemsForDisplay() const;
  void changeDisplayItemValue(std::size_t index, const std::string& newValue, bool save);

  // Marks the first load; installs the ignore list of every new query.
  static void startup();
  // Every new query reads the lists afresh from the preferences.
  static void installQueryIgnoreList();

 private:
  PreferenceStore& store_;
};

}  // namespace velmora
