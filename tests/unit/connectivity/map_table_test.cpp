// How a map's table works: where entries go, what erasure leaves behind, when it is rebuilt, and tables that the host
// built.
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "connectivity/map_t.h"
#include "tests/support/MapBuilder.h"
#include "tests/support/TestHost.h"
#include "tests/unit/connectivity/made_values.h"

namespace tests {
namespace {

using product::data_t;
using product::map_t;
using Numbers = std::vector<std::uint64_t>;

/// Keys that begin their probe at `start` of 8 slots, found by search under the host's hash.
std::vector<std::string> keysThatStartAt(std::uint64_t start, std::size_t count) {
  std::vector<std::string> keys;
  for (int number = 0; keys.size() < count; ++number) {
    std::string key = "key" + std::to_string(number);
    if (qel_hash_string(key.c_str()) % 8 == start) keys.push_back(std::move(key));
  }
  return keys;
}

/// In which slot the key lies; nothing when it lies in none.
std::optional<std::uint64_t> slotOf(const map_t& map, const std::string& key) {
  const map_header* block = map.header();
  for (std::uint64_t index = 0; index < block->capacity; ++index) {
    const qel_value& stored = slotsOf(block)[index].key;
    if (stored.tag == QEL_STRING && key == pointerIn<const char>(stored)) return index;
  }
  return std::nullopt;
}

bool isTombstone(const map_t& map, std::uint64_t index) {
  const map_slot& slot = slotsOf(map.header())[index];
  return slot.hash == 1 && slot.key.tag == QEL_EMPTY && slot.value.tag == QEL_EMPTY;
}

void insertAll(map_t& map, const std::vector<std::string>& keys) {
  for (const std::string& key : keys) map.insert(data_t(key), data_t(key));
}

void insertNumbers(map_t& map, std::int64_t from, std::int64_t to) {
  for (std::int64_t number = from; number < to; ++number) map.insert(integer(number), integer(number));
}

void eraseNumbers(map_t& map, std::int64_t from, std::int64_t to) {
  for (std::int64_t number = from; number < to; ++number) map.erase(map.find(integer(number)));
}

// ---- probing

TEST(MapProbingTest, BeginsAtTheHashModuloTheCapacity) {
  for (std::uint64_t start = 0; start < 8; ++start) {
    const std::string key = keysThatStartAt(start, 1)[0];
    map_t map;
    insertAll(map, {key});
    EXPECT_EQ(slotOf(map, key), start);
    EXPECT_EQ(slotsOf(map.header())[start].hash, qel_hash_string(key.c_str()));
  }
}

TEST(MapProbingTest, MovesUpOverCollisions) {
  const auto keys = keysThatStartAt(2, 3);
  map_t map;
  insertAll(map, keys);
  EXPECT_EQ(slotOf(map, keys[0]), 2u);
  EXPECT_EQ(slotOf(map, keys[1]), 3u);
  EXPECT_EQ(slotOf(map, keys[2]), 4u);
}

TEST(MapProbingTest, WrapsFromTheLastSlotToTheFirst) {
  const auto keys = keysThatStartAt(7, 3);
  map_t map;
  insertAll(map, keys);
  EXPECT_EQ(slotOf(map, keys[0]), 7u);
  EXPECT_EQ(slotOf(map, keys[1]), 0u);
  EXPECT_EQ(slotOf(map, keys[2]), 1u);
  EXPECT_STREQ(map.at(data_t(keys[2])).get<const char*>(), keys[2].c_str());
}

class MapChainTest : public testing::TestWithParam<std::size_t> {};

TEST_P(MapChainTest, FindsTheRestOfAChainWhenOneIsErased) {
  const auto keys = keysThatStartAt(6, 4);
  map_t map;
  insertAll(map, keys);
  const std::string& erased = keys[GetParam()];
  const std::uint64_t place = slotOf(map, erased).value();
  map.erase(data_t(erased));
  EXPECT_TRUE(isTombstone(map, place));
  for (const std::string& key : keys) EXPECT_EQ(map.contains(data_t(key)), key != erased);
}

TEST_P(MapChainTest, ReusesTheTombstoneOfAChain) {
  const auto keys = keysThatStartAt(6, 5);
  map_t map;
  insertAll(map, {keys.begin(), keys.begin() + 4});
  const std::uint64_t place = slotOf(map, keys[GetParam()]).value();
  map.erase(data_t(keys[GetParam()]));
  insertAll(map, {keys[4]});
  EXPECT_EQ(slotOf(map, keys[4]), place);
  EXPECT_EQ(map.header()->tombstones, 1u);
  EXPECT_EQ(map.size(), 4u);
}

TEST_P(MapChainTest, FindsAnExistingKeyBeyondATombstoneInsteadOfStoringItAgain) {
  const auto keys = keysThatStartAt(6, 4);
  map_t map;
  insertAll(map, keys);
  map.erase(data_t(keys[GetParam()]));
  for (const std::string& key : keys) map[data_t(key)];
  EXPECT_EQ(map.size(), 4u);
  for (const std::string& key : keys) map.erase(data_t(key));
  for (const std::string& key : keys) EXPECT_FALSE(map.contains(data_t(key)));
}

INSTANTIATE_TEST_SUITE_P(Places, MapChainTest, testing::Values(0, 1, 2, 3));

TEST(MapProbingTest, RemembersTheFirstOfSeveralTombstones) {
  const auto keys = keysThatStartAt(1, 4);
  map_t map;
  insertAll(map, {keys[0], keys[1], keys[2]});
  map.erase(data_t(keys[1]));
  map.erase(data_t(keys[0]));
  insertAll(map, {keys[3]});
  EXPECT_EQ(slotOf(map, keys[3]), 1u);
}

TEST(MapProbingTest, ComparesKeysOfEqualHashes) {
  TestHost::useHash([](std::string_view) { return std::uint64_t{77}; });
  map_t map;
  insertAll(map, {"a", "b", "c"});
  for (const char* key : {"a", "b", "c"}) EXPECT_STREQ(map.at(key).get<const char*>(), key);
  EXPECT_FALSE(map.contains("d"));
}

TEST(MapProbingTest, KeepsOwnedAndBorrowedKeysOfOneTextApart) {
  map_t map;
  map["a"] = "owned";
  map[borrowed("a")] = "borrowed";
  EXPECT_EQ(map.size(), 2u);
  EXPECT_STREQ(map.at("a").get<const char*>(), "owned");
  EXPECT_STREQ(map.at(borrowed("a")).get<const char*>(), "borrowed");
}

// ---- hashes that look like marks

class MapMarkTest : public testing::Test {
 protected:
  // An even length hashes to 0, an odd one to 1: the marks of free slots and of tombstones.
  void SetUp() override {
    TestHost::useHash([](std::string_view key) { return std::uint64_t{key.size() % 2}; });
  }
};

TEST_F(MapMarkTest, EntriesWithHash0And1AreFoundAndWalked) {
  map_t map;
  insertAll(map, {"even", "odd", "evener", "odder"});
  EXPECT_EQ(toJson(map), R"({"even":"even","evener":"evener","odd":"odd","odder":"odder"})");
  int walked = 0;
  for (const auto& entry : map) walked += entry.first.isString();
  EXPECT_EQ(walked, 4);
  for (const char* key : {"even", "odd", "evener", "odder"}) EXPECT_TRUE(map.contains(key)) << key;
}

TEST_F(MapMarkTest, EntriesWithHash0And1AreErasedAndStoredAgain) {
  map_t map;
  insertAll(map, {"even", "odd", "evener", "odder"});
  map.erase(data_t("even"));
  map.erase(data_t("odd"));
  EXPECT_FALSE(map.contains("even"));
  EXPECT_TRUE(map.contains("evener"));
  EXPECT_TRUE(map.contains("odder"));
  insertAll(map, {"odd", "even"});
  EXPECT_EQ(map.size(), 4u);
  EXPECT_EQ(toJson(map.copy()), R"({"even":"even","evener":"evener","odd":"odd","odder":"odder"})");
}

TEST_F(MapMarkTest, EntriesWithHash0And1SurviveARebuild) {
  map_t map;
  std::string key;
  for (int length = 1; length <= 20; ++length) insertAll(map, {key += 'x'});
  EXPECT_EQ(map.size(), 20u);
  for (std::size_t length = 1; length <= 20; ++length) {
    EXPECT_TRUE(map.contains(data_t(std::string(length, 'x')))) << length;
  }
}

// ---- growth

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

TEST(MapGrowthTest, ARebuildKeepsTheName) {
  map_t map(8, "name");
  insertNumbers(map, 0, 20);
  EXPECT_STREQ(map.name(), "name");
}

TEST(MapGrowthTest, AValueIsFoundWhereTheRebuiltTableHasIt) {
  map_t map;
  insertNumbers(map, 0, 7);
  const auto [position, isNew] = map.insert(integer(7), text("last"));
  EXPECT_TRUE(isNew);
  EXPECT_STREQ(position->second.get<const char*>(), "last");
}

// ---- tables from the host

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
  MapBuilder builder(11);
  for (int number = 0; number < 8; ++number) builder.put("key" + std::to_string(number), integerValue(number));
  map_t map = adoptMap(builder.build());
  for (int number = 0; number < 8; ++number) EXPECT_TRUE(map.contains(data_t("key" + std::to_string(number))));
  map["new"] = true;
  EXPECT_EQ(map.header()->capacity, 11u);
  EXPECT_EQ(slotOf(map, "new").has_value(), true);
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
