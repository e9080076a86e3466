#include <gtest/gtest.h>

#include <map>
#include <string>
#include <thread>
#include <vector>

#include "devhost/devhost.h"
#include "tests/unit/devhost/values.h"

using namespace values;

namespace {

using Items = std::map<std::string, std::string>;

int reporter;

TEST(StatusItemTest, LivesFromCreateToDelete) {
  void* item = qel_create_user_status_item(&reporter, "requests", "0");
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(devhost::statusItems(), (Items{{"requests", "0"}}));
  qel_set_user_status_item(item, "17");
  EXPECT_EQ(devhost::statusItems(), (Items{{"requests", "17"}}));
  qel_delete_user_status_item(&reporter, item);
  EXPECT_EQ(devhost::statusItems(), Items{});
}

TEST(StatusItemTest, KeyInUseGivesNull) {
  int otherReporter;
  void* item = qel_create_user_status_item(&reporter, "requests", "1");
  EXPECT_EQ(qel_create_user_status_item(&reporter, "requests", "2"), nullptr);
  EXPECT_EQ(qel_create_user_status_item(&otherReporter, "requests", "3"), nullptr);
  EXPECT_EQ(devhost::statusItems(), (Items{{"requests", "1"}}));
  qel_delete_user_status_item(&reporter, item);
}

TEST(StatusItemTest, KeyIsFreeAgainAfterDelete) {
  qel_delete_user_status_item(&reporter, qel_create_user_status_item(&reporter, "requests", "1"));
  void* item = qel_create_user_status_item(&reporter, "requests", "2");
  EXPECT_EQ(devhost::statusItems(), (Items{{"requests", "2"}}));
  qel_delete_user_status_item(&reporter, item);
}

TEST(StatusItemTest, NullKeyOrValueGivesNull) {
  EXPECT_EQ(qel_create_user_status_item(&reporter, nullptr, "1"), nullptr);
  EXPECT_EQ(qel_create_user_status_item(&reporter, "requests", nullptr), nullptr);
}

TEST(StatusItemTest, DeadHandleTouchesNoOtherItem) {
  void* dead = qel_create_user_status_item(&reporter, "old", "1");
  qel_delete_user_status_item(&reporter, dead);
  void* item = qel_create_user_status_item(&reporter, "new", "2");
  qel_set_user_status_item(dead, "3");
  qel_delete_user_status_item(&reporter, dead);
  EXPECT_EQ(devhost::statusItems(), (Items{{"new", "2"}}));
  qel_delete_user_status_item(&reporter, item);
}

TEST(StatusItemTest, OneOfManyThreadsGetsAKey) {
  constexpr int keys = 200;
  std::vector<void*> items[4];
  std::vector<std::thread> threads;
  for (std::vector<void*>& created : items) {
    threads.emplace_back([&created] {
      for (int n = 0; n < keys; ++n) {
        void* item = qel_create_user_status_item(&reporter, ("key " + std::to_string(n)).c_str(), "0");
        if (item == nullptr) continue;
        qel_set_user_status_item(item, "1");
        created.push_back(item);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();

  EXPECT_EQ(devhost::statusItems().size(), std::size_t{keys});
  std::size_t total = 0;
  for (const std::vector<void*>& created : items) {
    total += created.size();
    for (void* item : created) qel_delete_user_status_item(&reporter, item);
  }
  EXPECT_EQ(total, std::size_t{keys});
  EXPECT_EQ(devhost::statusItems(), Items{});
}

/// What publishing one entry makes of its value.
std::string published(qel_value value) {
  const qel_value entries = map(8);
  occupy(entries, 3, 3, string("entry"), value);
  qel_set_user_status_map(&reporter, mapOf(entries));
  release(entries);
  return devhost::publishedStatus()["entry"];
}

TEST(StatusMapTest, PublishesAllEntriesAndLeavesTheMapToTheCaller) {
  const qel_value entries = map(8);
  occupy(entries, 0, 0, string("first"), string("one"));
  entomb(entries, 1);
  occupy(entries, 2, 0x243FCAF1, empty(), integer(2));
  qel_set_user_status_map(&reporter, mapOf(entries));
  EXPECT_EQ(mapOf(entries)->count, 2u);
  release(entries);

  Items readBack = devhost::publishedStatus();
  readBack.erase("entry");
  EXPECT_EQ(readBack, (Items{{"first", "one"}, {"(null)", "2"}}));
}

TEST(StatusMapTest, NullMapPublishesNothing) {
  const Items before = devhost::publishedStatus();
  qel_set_user_status_map(&reporter, nullptr);
  EXPECT_EQ(devhost::publishedStatus(), before);
}

TEST(StatusMapTest, EntryPublishedAgainReplacesTheEarlier) {
  EXPECT_EQ(published(integer(1)), "1");
  EXPECT_EQ(published(integer(2)), "2");
}

TEST(StatusMapTest, ValuesReadAsText) {
  EXPECT_EQ(published(empty()), "(null)");
  EXPECT_EQ(published({7, 11, 0}), "(null)");
  EXPECT_EQ(published(boolean(true)), "true");
  EXPECT_EQ(published(boolean(false)), "false");
  EXPECT_EQ(published(number(0.1)), "0.1");
  EXPECT_EQ(published(integer(-9223372036854775807 - 1)), "-9223372036854775808");
  EXPECT_EQ(published(devhost::makeDecimal(15, -1)), "1.5");
  EXPECT_EQ(published(string("")), "");
  EXPECT_EQ(published(borrowed("lent, not given}")), "lent, not given}");
  EXPECT_EQ(published(custom(1)), "(custom)");
}

TEST(StatusMapTest, ContainersReadAsText) {
  EXPECT_EQ(published(list({})), "[]");
  EXPECT_EQ(published({0, QEL_LIST, 0}), "[]");
  EXPECT_EQ(published({0, QEL_MAP, 0}), "{}");
  EXPECT_EQ(published({0, QEL_BUFFER, 0}), "[]");
  EXPECT_EQ(published(devhost::makeBuffer("\n\xFF", 2)), "[0x0A,0xFF]");
  EXPECT_EQ(published(map(8, "named")), "named:{}");

  const qel_value inner = map(8);
  occupy(inner, 1, 1, string("a"), integer(1));
  occupy(inner, 2, 2, string("b"), list({boolean(true), string("x"), custom(1)}));
  EXPECT_EQ(published(inner), "{a:1,b:[true,x,(custom)]}");
}

TEST(StatusMapTest, DepthOfNestingDoesNotMatter) {
  std::string expected = "x";
  for (int i = 0; i < 5'000; ++i) expected = "{3:[" + expected + "]}";
  EXPECT_EQ(published(nested(10'000, string("x"))), expected);
}

}  // namespace
