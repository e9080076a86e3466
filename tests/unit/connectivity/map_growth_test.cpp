// When a table is rebuilt, and with how many slots.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "connectivity/hashed_key.h"
#include "connectivity/map_t.h"
#include "tests/support/TestHost.h"
#include "tests/unit/connectivity/made_values.h"
#include "tests/unit/connectivity/map_table.h"

namespace tests {
namespace {

using product::data_t;
using product::hashed_key;
using product::map_t;
using Numbers = std::vector<std::uint64_t>;

void insertNumbers(map_t& map, std::int64_t from, std::int64_t to) {
  for (std::int64_t number = from; number < to; ++number) map.insert(integer(number), integer(number));
}

void setTexts(map_t& map, std::int64_t from, std::int64_t to) {
  for (std::int64_t number = from; number < to; ++number) map.set(hashed_key(std::to_string(number)), integer(number));
}

void eraseNumbers(map_t& map, std::int64_t from, std::int64_t to) {
  for (std::int64_t number = from; number < to; ++number) map.erase(map.find(integer(number)));
}

TEST(MapGrowthTest, SevenEntriesStandInEightSlots) {
  TestHost::forgetCalls();
  map_t map;
  insertNumbers(map, 0, 7);
  EXPECT_EQ(TestHost::arguments(HostCall::qel_allocate_map), (Numbers{8}));
  EXPECT_EQ(TestHost::arguments(HostCall::qel_reallocate_map), Numbers{});
  EXPECT_EQ(map.header()->capacity, 8u);
}

TEST(MapGrowthTest, TheEighthEntryAsksForSixteenSlots) {
  map_t map;
  insertNumbers(map, 0, 7);
  TestHost::forgetCalls();
  insertNumbers(map, 7, 8);
  EXPECT_EQ(TestHost::arguments(HostCall::qel_reallocate_map), (Numbers{16}));
  EXPECT_EQ(map.size(), 8u);
}

TEST(MapGrowthTest, AsksForTwiceTheCountAndTwo) {
  TestHost::forgetCalls();
  map_t map;
  insertNumbers(map, 0, 80);
  EXPECT_EQ(TestHost::arguments(HostCall::qel_reallocate_map), (Numbers{16, 28, 46, 72, 112}));
  for (std::int64_t number = 0; number < 80; ++number) EXPECT_TRUE(map.contains(integer(number))) << number;
}

TEST(MapGrowthTest, ACopiedKeyGrowsTheTableAlike) {
  TestHost::forgetCalls();
  map_t map;
  for (std::int64_t number = 0; number < 80; ++number) {
    const data_t key = integer(number);
    map[key] = number;
  }
  EXPECT_EQ(TestHost::arguments(HostCall::qel_allocate_map), (Numbers{8}));
  EXPECT_EQ(TestHost::arguments(HostCall::qel_reallocate_map), (Numbers{16, 28, 46, 72, 112}));
}

TEST(MapGrowthTest, AReadyMadeKeyGrowsTheTableAlike) {
  TestHost::forgetCalls();
  map_t map;
  setTexts(map, 0, 80);
  EXPECT_EQ(TestHost::arguments(HostCall::qel_allocate_map), (Numbers{8}));
  EXPECT_EQ(TestHost::arguments(HostCall::qel_reallocate_map), (Numbers{16, 28, 46, 72, 112}));
}

TEST(MapGrowthTest, AReadyMadeKeyThatExistsDoesNotGrowTheTable) {
  map_t map;
  setTexts(map, 0, 7);
  TestHost::forgetCalls();
  map.set(hashed_key("3"), integer(0));
  map.insert(hashed_key("4"), integer(0));
  EXPECT_EQ(TestHost::calls(HostCall::qel_reallocate_map), 0u);
  EXPECT_EQ(toJson(map), R"({"0":0,"1":1,"2":2,"3":0,"4":4,"5":5,"6":6})");
}

TEST(MapGrowthTest, AnExistingKeyDoesNotGrowTheTable) {
  map_t map;
  insertNumbers(map, 0, 7);
  TestHost::forgetCalls();
  map.insert(integer(3), integer(0));
  map[integer(3)] = true;
  EXPECT_EQ(TestHost::calls(HostCall::qel_reallocate_map), 0u);
}

TEST(MapGrowthTest, AReusedTombstoneStillCounts) {
  TestHost::useHash([](std::string_view) { return std::uint64_t{3}; });
  map_t map;
  insertAll(map, {"a", "b", "c", "d", "e", "f"});
  for (const char* key : {"a", "b", "c", "d", "e", "f"}) map.erase(data_t(key));
  TestHost::forgetCalls();
  insertAll(map, {"new"});
  EXPECT_EQ(slotOf(map, "new"), 3u);
  EXPECT_EQ(map.header()->tombstones, 6u);
  EXPECT_EQ(map.size(), 1u);
  EXPECT_EQ(TestHost::calls(HostCall::qel_reallocate_map), 0u);
}

TEST(MapGrowthTest, ATombstoneReusedByAReadyMadeKeyStillCounts) {
  TestHost::useHash([](std::string_view) { return std::uint64_t{3}; });
  map_t map;
  setTexts(map, 0, 6);
  for (std::int64_t number = 0; number < 6; ++number) map.erase(hashed_key(std::to_string(number)));
  TestHost::forgetCalls();
  map.set(hashed_key("new"), integer(6));
  EXPECT_EQ(slotOf(map, "new"), 3u);
  EXPECT_EQ(map.header()->tombstones, 6u);
  EXPECT_EQ(map.size(), 1u);
  EXPECT_EQ(TestHost::calls(HostCall::qel_reallocate_map), 0u);
  map.set(hashed_key("newer"), integer(7));
  EXPECT_EQ(TestHost::arguments(HostCall::qel_reallocate_map), (Numbers{8}));
  EXPECT_EQ(map.header()->tombstones, 0u);
  EXPECT_EQ(toJson(map), R"({"new":6,"newer":7})");
}

TEST(MapGrowthTest, TombstonesAreThrownOutByARebuildAtTheSameSize) {
  map_t map;
  insertNumbers(map, 0, 6);
  eraseNumbers(map, 0, 6);
  insertNumbers(map, 10, 11);
  TestHost::forgetCalls();
  insertNumbers(map, 11, 12);
  EXPECT_EQ(TestHost::arguments(HostCall::qel_reallocate_map), (Numbers{8}));
  EXPECT_EQ(map.header()->tombstones, 0u);
  EXPECT_EQ(toJson(map), R"({"$entries":[[10,10],[11,11]]})");
}

TEST(MapGrowthTest, ATableFullOfTombstonesIsRebuiltSmaller) {
  map_t map(100);
  insertNumbers(map, 0, 70);
  eraseNumbers(map, 2, 70);
  insertNumbers(map, 100, 106);
  TestHost::forgetCalls();
  insertNumbers(map, 106, 107);
  EXPECT_EQ(TestHost::arguments(HostCall::qel_reallocate_map), (Numbers{18}));
  EXPECT_EQ(map.header()->capacity, 18u);
  EXPECT_EQ(map.size(), 9u);
}

TEST(MapGrowthTest, AValueIsFoundWhereTheRebuiltTableHasIt) {
  map_t map;
  insertNumbers(map, 0, 7);
  const auto [position, isNew] = map.insert(integer(7), text("last"));
  EXPECT_TRUE(isNew);
  EXPECT_STREQ(position->second.get<const char*>(), "last");
}

}  // namespace
}  // namespace tests
