#include "common/ObserverList.h"

#include <gtest/gtest.h>

namespace velmora {

TEST(ObserverList, TokensRemoveTheirObserverAndObserversMayLeaveWhileCalled) {
  ObserverList<int> list;
  int sum = 0;
  {
    auto token = list.observe([&](int v) { sum += v; });
    list.notify(2);
    EXPECT_EQ(sum, 2);
  }
  list.notify(5);  // the token has gone, and its observer with it
  EXPECT_EQ(sum, 2);

  int selfRemoving = 0;
  int id = 0;
  id = list.add([&](int) {
    ++selfRemoving;
    list.remove(id);
  });
  list.notify(1);
  list.notify(1);
  EXPECT_EQ(selfRemoving, 1);
  EXPECT_TRUE(list.empty());

  // A token may outlive its list.
  ObserverList<int>::Token survivor;
  {
    ObserverList<int> shortLived;
    survivor = shortLived.observe([](int) {});
  }
  survivor.reset();
}

}  // namespace velmora
