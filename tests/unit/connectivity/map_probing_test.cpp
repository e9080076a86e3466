// Where entries go in a table, and what erasure leaves there.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "connectivity/map_t.h"
#include "tests/support/TestHost.h"
#include "tests/unit/connectivity/made_values.h"
#include "tests/unit/connectivity/map_table.h"

namespace tests {
namespace {

using product::data_t;
using product::map_t;

/// Keys that begin their probe at `start` of 8 slots, found by search under the host's hash.
std::vector<std::string> keysThatStartAt(std::uint64_t start, std::size_t count) {
  std::vector<std::string> keys;
  for (int number = 0; keys.size() < count; ++number) {
    std::string key = "key" + std::to_string(number);
    if (qel_hash_string(key.c_str()) % 8 == start) keys.push_back(std::move(key));
  }
  return keys;
}

bool isTombstone(const map_t& map, std::uint64_t index) {
  const map_slot& slot = slotsOf(map.header())[index];
  return slot.hash == 1 && slot.key.tag == QEL_EMPTY && slot.value.tag == QEL_EMPTY;
}

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

}  // namespace
}  // namespace tests
