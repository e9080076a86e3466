// Tables as a host may build them and this library never would.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "connectivity/hashed_key.h"
#include "connectivity/map_t.h"
#include "tests/support/MapBuilder.h"
#include "tests/support/TestHost.h"
#include "tests/unit/connectivity/made_values.h"
#include "tests/unit/connectivity/map_table.h"

namespace tests {
namespace {

using product::data_t;
using product::hashed_key;
using product::map_t;
using Numbers = std::vector<std::uint64_t>;

/// Eight slots, all occupied, with keys of every start.
MapBuilder& fillAll(MapBuilder& builder) {
  for (int number = 0; number < 8; ++number) builder.put("key" + std::to_string(number), integerValue(number));
  return builder;
}

TEST(HostBuiltMapTest, LookupEndsInAFullTable) {
  MapBuilder builder(8);
  const map_t map = adoptMap(fillAll(builder).build());
  EXPECT_FALSE(map.contains("absent"));
  for (int number = 0; number < 8; ++number) {
    EXPECT_EQ(map.at(data_t("key" + std::to_string(number))).get<std::int64_t>(), number);
  }
}

TEST(HostBuiltMapTest, FullTableIsRebuiltForANewKey) {
  MapBuilder builder(8);
  map_t map = adoptMap(fillAll(builder).build());
  TestHost::forgetCalls();
  map["new"] = true;
  EXPECT_EQ(TestHost::arguments(HostCall::qel_reallocate_map), (Numbers{18}));
  EXPECT_EQ(map.size(), 9u);
}

TEST(HostBuiltMapTest, FullTableTakesAnExistingKeyAsItIs) {
  MapBuilder builder(8);
  map_t map = adoptMap(fillAll(builder).build());
  TestHost::forgetCalls();
  map["key3"] = "changed";
  EXPECT_EQ(TestHost::calls(HostCall::qel_reallocate_map), 0u);
  EXPECT_STREQ(map.at("key3").get<const char*>(), "changed");
}

TEST(HostBuiltMapTest, TombstoneTakesTheNewKeyOfATableWithoutFreeSlots) {
  MapBuilder builder(8);
  fillAll(builder);
  for (const char* key : {"key0", "key1", "key2", "key3", "key4"}) builder.erase(key);
  map_t map = adoptMap(builder.build());
  map.header()->tombstones = 0;  // a host may keep no count
  TestHost::forgetCalls();
  map["new"] = true;
  EXPECT_EQ(TestHost::calls(HostCall::qel_reallocate_map), 0u);
  EXPECT_EQ(toJson(map), R"({"key5":5,"key6":6,"key7":7,"new":true})");
  EXPECT_FALSE(map.contains("key0"));
}

TEST(HostBuiltMapTest, TombstonesThatTheHostCountsBringARebuild) {
  MapBuilder builder(8);
  fillAll(builder);
  for (const char* key : {"key0", "key1", "key2", "key3", "key4"}) builder.erase(key);
  map_t map = adoptMap(builder.build());
  TestHost::forgetCalls();
  map["new"] = true;
  EXPECT_EQ(TestHost::arguments(HostCall::qel_reallocate_map), (Numbers{8}));
  EXPECT_EQ(map.header()->tombstones, 0u);
  EXPECT_EQ(toJson(map), R"({"key5":5,"key6":6,"key7":7,"new":true})");
}

TEST(HostBuiltMapTest, BlockWithoutSlotsBehavesLikeNone) {
  map_t map = adoptMap(mapValue(qel_allocate_map(0)));
  TestHost::takeFaults();  // a host may hold such a block; a plug-in may not ask for it
  EXPECT_TRUE(map.find("a") == map.end());
  EXPECT_TRUE(map.begin() == map.end());
  TestHost::forgetCalls();
  map["a"] = true;
  EXPECT_EQ(TestHost::arguments(HostCall::qel_reallocate_map), (Numbers{8}));
  EXPECT_EQ(toJson(map), R"({"a":true})");
}

TEST(HostBuiltMapTest, OddCapacityIsProbedByModulo) {
  for (int number = 0; number < 16; ++number) {
    const std::string key = "key" + std::to_string(number);
    map_t map = adoptMap(MapBuilder(11).build());
    map[data_t(key)] = true;
    EXPECT_EQ(map.header()->capacity, 11u);
    EXPECT_EQ(slotOf(map, key), qel_hash_string(key.c_str()) % 11);
    EXPECT_TRUE(map.contains(data_t(key)));
  }
}

TEST(HostBuiltMapTest, EntriesOfAnOddCapacityAreFoundAmongOthers) {
  MapBuilder builder(11);
  for (int number = 0; number < 8; ++number) builder.put("key" + std::to_string(number), integerValue(number));
  map_t map = adoptMap(builder.build());
  map["new"] = true;
  EXPECT_EQ(map.header()->capacity, 11u);
  EXPECT_TRUE(map.contains("new"));
  for (int number = 0; number < 8; ++number) EXPECT_TRUE(map.contains(data_t("key" + std::to_string(number))));
}

// ---- by a ready-made key

TEST(HostBuiltMapTest, BlockWithoutSlotsTakesAReadyMadeKey) {
  const hashed_key key("a");
  map_t map = adoptMap(mapValue(qel_allocate_map(0)));
  TestHost::takeFaults();
  EXPECT_TRUE(map.find(key) == map.end());
  TestHost::forgetCalls();
  map.set(key, true);
  EXPECT_EQ(TestHost::arguments(HostCall::qel_reallocate_map), (Numbers{8}));
  EXPECT_EQ(toJson(map), R"({"a":true})");
}

TEST(HostBuiltMapTest, FullTableIsSearchedForAReadyMadeKey) {
  MapBuilder builder(8);
  const map_t map = adoptMap(fillAll(builder).build());
  EXPECT_FALSE(map.contains(hashed_key("absent")));
  for (int number = 0; number < 8; ++number)
    EXPECT_EQ(map.at(hashed_key("key" + std::to_string(number))).get<std::int64_t>(), number);
}

TEST(HostBuiltMapTest, FullTableTakesAnExistingReadyMadeKeyAsItIs) {
  MapBuilder builder(8);
  map_t map = adoptMap(fillAll(builder).build());
  TestHost::forgetCalls();
  map.set(hashed_key("key3"), "changed");
  EXPECT_FALSE(map.insert(hashed_key("key4"), "rejected").second);
  EXPECT_EQ(TestHost::calls(HostCall::qel_reallocate_map), 0u);
  EXPECT_STREQ(map.at("key3").get<const char*>(), "changed");
  EXPECT_EQ(map.at("key4").get<std::int64_t>(), 4);
}

TEST(HostBuiltMapTest, FullTableIsRebuiltForANewReadyMadeKey) {
  MapBuilder builder(8);
  map_t map = adoptMap(fillAll(builder).build());
  TestHost::forgetCalls();
  map.set(hashed_key("new"), true);
  EXPECT_EQ(TestHost::arguments(HostCall::qel_reallocate_map), (Numbers{18}));
  EXPECT_EQ(map.size(), 9u);
  EXPECT_TRUE(map.contains("new"));
}

TEST(HostBuiltMapTest, OddCapacityTakesAReadyMadeKeyByModulo) {
  for (int number = 0; number < 16; ++number) {
    const hashed_key key("key" + std::to_string(number));
    map_t map = adoptMap(MapBuilder(11).build());
    map.set(key, true);
    EXPECT_EQ(slotOf(map, key.get<std::string>()), key.hash() % 11);
    EXPECT_TRUE(map.contains(key));
  }
}

// A header that counts fewer entries than there are asks for no rebuild, though no slot is free.
TEST(HostBuiltMapTest, FullTableThatCountsTooFewIsSearchedAndRebuiltToo) {
  MapBuilder builder(8);
  map_t map = adoptMap(fillAll(builder).build());
  map.header()->count = 3;
  EXPECT_FALSE(map.contains(hashed_key("new")));
  EXPECT_FALSE(map.contains(data_t("new")));
  TestHost::forgetCalls();
  map.set(hashed_key("new"), true);
  TestHost::takeFaults();  // the host notices its own miscount
  EXPECT_EQ(TestHost::arguments(HostCall::qel_reallocate_map), (Numbers{8, 18}));
  EXPECT_EQ(map.size(), 9u);
  EXPECT_TRUE(map.contains("new"));
  EXPECT_TRUE(map.contains("key7"));
}

TEST(HostBuiltMapTest, EntriesAreReadChangedAndErased) {
  map_t map = adoptMap(MapBuilder(8)
                           .name("name")
                           .put("gone", integerValue(0))
                           .put("a", integerValue(1))
                           .put(borrowedString("lent"), integerValue(2))
                           .erase("gone")
                           .build());
  EXPECT_EQ(map.at("a").get<std::int64_t>(), 1);
  EXPECT_EQ(map.at(borrowed("lent")).get<std::int64_t>(), 2);
  map["a"] = "changed";
  map.erase(borrowed("lent"));
  map["new"] = true;
  EXPECT_EQ(toJson(map), R"({"$map":{"a":"changed","new":true},"$name":"name"})");
  EXPECT_EQ(map.header()->tombstones, 2u);
}

TEST(HostBuiltMapTest, EntryWithAnotherHashThanItsKeysIsNotFound) {
  const map_t map =
      adoptMap(MapBuilder(8).putHashed(qel_hash_string("a") + 8, stringValue("a"), integerValue(1)).build());
  EXPECT_TRUE(map.find("a") == map.end());
  EXPECT_EQ(map.size(), 1u);
}

TEST(HostBuiltMapTest, OccupiedSlotsWithHash0And1AreRead) {
  const map_t map = adoptMap(MapBuilder(8)
                                 .putHashed(0, integerValue(10), integerValue(1))
                                 .putHashed(1, integerValue(11), integerValue(2))
                                 .build());
  EXPECT_EQ(map.size(), 2u);
  std::string walked;
  for (const auto& [key, value] : map) walked += std::to_string(key.get<std::int64_t>()) + " ";
  EXPECT_EQ(walked, "10 11 ");
  EXPECT_EQ(toJson(map.copy()), R"({"$entries":[[10,1],[11,2]]})");
}

}  // namespace
}  // namespace tests
