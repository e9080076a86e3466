#include "chainrunner/RequestOrder.h"

#include <gtest/gtest.h>

#include <vector>

namespace chainrunner {
namespace {

class RequestOrderTest : public testing::Test {
 protected:
  void add(RequestOrder::Id id, const char* key = nullptr) {
    order.add(id, key ? std::optional<std::string>(key) : std::nullopt, false);
  }
  void addBarrier(RequestOrder::Id id, const char* key = nullptr) {
    order.add(id, key ? std::optional<std::string>(key) : std::nullopt, true);
  }

  /// All that may start now.
  std::vector<RequestOrder::Id> startable() {
    std::vector<RequestOrder::Id> ids;
    while (const auto id = order.next()) ids.push_back(*id);
    return ids;
  }

  RequestOrder order;
};

using Ids = std::vector<RequestOrder::Id>;

TEST_F(RequestOrderTest, StartsRequestsWithoutHintsAllAtOnce) {
  add(1);
  add(2);
  add(3);
  EXPECT_EQ(startable(), (Ids{1, 2, 3}));
}

TEST_F(RequestOrderTest, StartsEachRequestOnce) {
  add(1);
  startable();
  EXPECT_EQ(startable(), Ids{});
}

TEST_F(RequestOrderTest, StartsOneRequestOfAKeyAtATime) {
  add(1, "a");
  add(2, "a");
  add(3, "b");
  add(4);
  EXPECT_EQ(startable(), (Ids{1, 3, 4}));
  order.finish(1);
  EXPECT_EQ(startable(), Ids{2});
}

TEST_F(RequestOrderTest, TakesTheEmptyKeyForAKey) {
  add(1, "");
  add(2, "");
  EXPECT_EQ(startable(), Ids{1});
}

TEST_F(RequestOrderTest, HoldsABarrierUntilAllBeforeItIsAnswered) {
  add(1);
  add(2, "a");
  addBarrier(3);
  EXPECT_EQ(startable(), (Ids{1, 2}));
  order.finish(2);
  EXPECT_EQ(startable(), Ids{});
  order.finish(1);
  EXPECT_EQ(startable(), Ids{3});
}

TEST_F(RequestOrderTest, HoldsAllBehindABarrierUntilItIsAnswered) {
  addBarrier(1);
  add(2);
  add(3, "a");
  EXPECT_EQ(startable(), Ids{1});
  order.finish(1);
  EXPECT_EQ(startable(), (Ids{2, 3}));
}

TEST_F(RequestOrderTest, KeepsTheKeyOfABarrier) {
  addBarrier(1, "a");
  add(2, "a");
  addBarrier(3, "a");
  EXPECT_EQ(startable(), Ids{1});
  order.finish(1);
  EXPECT_EQ(startable(), Ids{2});
  order.finish(2);
  EXPECT_EQ(startable(), Ids{3});
}

TEST_F(RequestOrderTest, IgnoresTheEndOfAnUnknownRequest) {
  add(1);
  order.finish(7);
  EXPECT_EQ(startable(), Ids{1});
}

TEST_F(RequestOrderTest, IgnoresTheEndOfARequestThatWasNotStarted) {
  add(1, "a");
  startable();
  add(2, "a");
  add(3);
  order.finish(2);
  order.finish(3);
  EXPECT_EQ(startable(), Ids{3});
  order.finish(1);
  EXPECT_EQ(startable(), Ids{2});
}

TEST_F(RequestOrderTest, StartsWhatCameFirstWhenItsKeyIsFree) {
  add(1, "a");
  EXPECT_EQ(startable(), Ids{1});
  add(2, "a");
  add(3);
  order.finish(1);
  EXPECT_EQ(startable(), (Ids{2, 3}));
}

TEST_F(RequestOrderTest, ForgetsAllAtOnce) {
  add(1, "a");
  startable();
  add(2, "a");
  addBarrier(3);
  add(4);
  order.clear();
  add(5, "a");
  addBarrier(6);
  EXPECT_EQ(startable(), Ids{5});
  order.finish(5);
  EXPECT_EQ(startable(), Ids{6});
}

}  // namespace
}  // namespace chainrunner
