#include <gtest/gtest.h>

#include <algorithm>

#include "TempHome.h"
#include "query/QueryContainer.h"
#include "query/commands/KnownDirectoriesCommand.h"
#include "query/commands/KnownDirectoriesSearch.h"
#include "stores/PreferenceStore.h"

namespace velmora {
namespace {

class Collector : public SearchDataSourceDelegate {
 public:
  bool shouldStop() const override { return false; }
  bool wantsInvisibleItems() const override { return false; }
  void searchResults(std::vector<SearchResult> results, SearchDataSource&) override {
    for (auto& r : results) paths.push_back(r.path), suppliers.push_back(r.searchResultSuppliedBy);
  }
  void searchDataSourceProgress(std::int64_t) override {}
  void searchDataSourceProgress(SearchDataSource&, std::int64_t, const std::string&) override {}
  void searchingInsideFile(const std::string&, bool, int) override {}
  void searchInvalidQuery() override {}
  std::vector<std::string> paths;
  std::vector<SearchResultSupplier> suppliers;
};

TEST(KnownDirectoriesSearch, ListsTheRememberedFolderDeepOrShallow) {
  test::TempHome home;
  PreferenceStore::resetShared(home.path() / "preferences.json");
  auto folder = home.tree("Projects");
  test::writeFile(folder / "a.txt");
  test::writeFile(folder / "sub" / "b.txt");
  PreferenceStore::shared().set("RememberedFolders", {{"Projects", folder.string()}});

  QuerySettings settings;
  settings.rememberedFolders = {{"Projects", folder.string()}};
  QueryContainer deep(": projects", std::nullopt, false, settings);
  auto command = deep.findCommand<KnownDirectoriesCommand>();
  ASSERT_TRUE(command);
  EXPECT_FALSE(command->shallow);
  EXPECT_FALSE(deep.isWordBasedSearch());
  EXPECT_FALSE(deep.querySearchArguments.checkPathForResults);

  KnownDirectoriesSearch source;
  EXPECT_EQ(source.dataSourceLocations(deep), std::vector<std::string>{folder.string()});
  Collector all;
  source.search(deep, all);
  std::sort(all.paths.begin(), all.paths.end());
  EXPECT_EQ(all.paths, (std::vector<std::string>{(folder / "a.txt").string(), (folder / "sub").string(),
                                                 (folder / "sub" / "b.txt").string()}));
  EXPECT_EQ(all.suppliers.front(), SearchResultSupplier::KnownDirectoriesSearch);

  QueryContainer shallow(": projects only", std::nullopt, false, settings);
  ASSERT_TRUE(shallow.findCommand<KnownDirectoriesCommand>());
  Collector top;
  KnownDirectoriesSearch().search(shallow, top);
  EXPECT_EQ(top.paths.size(), 2u);

  // Unknown names are no folder: the word stays unrecognised, nothing is listed.
  QueryContainer unknown(": elsewhere");
  EXPECT_FALSE(unknown.findCommand<KnownDirectoriesCommand>());
  Collector none;
  KnownDirectoriesSearch().search(unknown, none);
  EXPECT_TRUE(none.paths.empty());
  EXPECT_TRUE(source.dataSourceLocations(unknown).empty());
}

}  // namespace
}  // namespace velmora
