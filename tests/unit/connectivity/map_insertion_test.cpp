// Entries that are put into a map and taken out again.
#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "connectivity/hashed_key.h"
#include "connectivity/map_t.h"
#include "connectivity/to_string.h"
#include "tests/support/TestHost.h"
#include "tests/unit/connectivity/failure.h"
#include "tests/unit/connectivity/made_values.h"

namespace tests {
namespace {

using product::data_t;
using product::hashed_key;
using product::map_t;

constexpr const char* customKey = "Cannot use custom values as a key";
constexpr const char* nullKey = "Cannot have a null key";

TEST(MapInsertionTest, InsertsAnEmptyValueByIndex) {
  map_t map;
  EXPECT_TRUE(map["a"].empty());
  const data_t key("b");
  EXPECT_TRUE(map[key].empty());
  EXPECT_EQ(toJson(map), R"({"a":null,"b":null})");
}

TEST(MapInsertionTest, LeavesTheMapAsItWasWhenTheKeyCannotBeCopied) {
  map_t map;
  map["a"] = "first";
  const data_t key("b");
  TestHost::throwFrom(HostCall::qel_copy_data, [] { throw std::runtime_error("no memory"); });
  EXPECT_EQ(failureOf([&] { map[key] = true; }), "no memory");
  TestHost::throwFrom(HostCall::qel_copy_data, nullptr);
  EXPECT_EQ(map.size(), 1u);
  EXPECT_EQ(toJson(map.copy()), R"({"a":"first"})");
}

TEST(MapInsertionTest, CopiesTheKeyOnlyWhenTheTableHasRoom) {
  map_t map;
  for (std::int64_t number = 0; number < 7; ++number) map[integer(number)] = number;
  const data_t key("new");
  TestHost::forgetCalls();
  TestHost::throwFrom(HostCall::qel_copy_data, [] { throw std::runtime_error("no memory"); });
  EXPECT_EQ(failureOf([&] { map[key]; }), "no memory");
  TestHost::throwFrom(HostCall::qel_copy_data, nullptr);
  EXPECT_EQ(TestHost::arguments(HostCall::qel_reallocate_map), (std::vector<std::uint64_t>{16}));
  EXPECT_EQ(toJson(map), R"({"$entries":[[0,0],[1,1],[2,2],[3,3],[4,4],[5,5],[6,6]]})");
  EXPECT_EQ(map.size(), 7u);
}

class RefusedReadyMadeKeyTest : public testing::Test {
 protected:
  /// Whatever `insertion` leaves of a map whose host has no memory for a key, and of the value.
  template <class Insertion>
  void expectNothingChanged(Insertion insertion) {
    map_t map = mapFromJson(R"({"gone": 0, "a": 1, "b": [2]})");
    map.erase(data_t("gone"));
    const std::string before = to_string(map);
    data_t value("kept");
    TestHost::throwFrom(HostCall::qel_copy_data, [] { throw std::runtime_error("no memory"); });
    for (const hashed_key* key : {&gone, &fresh})
      EXPECT_EQ(failureOf([&] { insertion(map, *key, std::move(value)); }), "no memory");
    TestHost::throwFrom(HostCall::qel_copy_data, nullptr);
    EXPECT_EQ(to_string(map), before);
    EXPECT_EQ(toJson(map), R"({"a":1,"b":[2]})");
    EXPECT_EQ(map.size(), 2u);
    EXPECT_EQ(toJson(value), R"("kept")");
  }

  const hashed_key gone{"gone"}, fresh{"fresh"};
};

TEST_F(RefusedReadyMadeKeyTest, LeavesMapAndValueAsTheyWereWhenSet) {
  expectNothingChanged([](map_t& map, const hashed_key& key, data_t&& value) { map.set(key, std::move(value)); });
}

TEST_F(RefusedReadyMadeKeyTest, LeavesMapAndValueAsTheyWereWhenInserted) {
  expectNothingChanged([](map_t& map, const hashed_key& key, data_t&& value) { map.insert(key, std::move(value)); });
}

TEST(MapInsertionTest, KeepsKeyValueAndHashOfAnExistingEntryByIndex) {
  map_t map;
  map["a"] = "old";
  const data_t* key = &map.find("a")->first;
  const std::uint64_t keyBlock = key->bits();
  const data_t again("a");
  EXPECT_STREQ(map["a"].get<const char*>(), "old");
  EXPECT_STREQ(map[again].get<const char*>(), "old");
  EXPECT_EQ(map.size(), 1u);
  EXPECT_EQ(&map.find("a")->first, key);
  EXPECT_EQ(key->bits(), keyBlock);
  EXPECT_EQ(slotsOf(map.header())[qel_hash_string("a") % 8].hash, qel_hash_string("a"));
}

TEST(MapInsertionTest, CopiesKeyAndValueIntoTheSlotThroughTheHost) {
  map_t map;
  const data_t key("a");
  TestHost::forgetCalls();
  map[key];
  EXPECT_EQ(TestHost::calls(HostCall::qel_copy_data), 2u);
  map[key];
  EXPECT_EQ(TestHost::calls(HostCall::qel_copy_data), 2u);
  EXPECT_STREQ(key.get<const char*>(), "a");
  EXPECT_NE(map.find("a")->first.bits(), key.bits());
}

TEST(MapInsertionTest, MovesKeyAndValueIntoTheSlot) {
  map_t map;
  data_t key("a"), value("v");
  const std::uint64_t keyBlock = key.bits(), valueBlock = value.bits();
  TestHost::forgetCalls();
  const auto [position, isNew] = map.insert(std::move(key), std::move(value));
  EXPECT_TRUE(isNew);
  EXPECT_EQ(position->first.bits(), keyBlock);
  EXPECT_EQ(position->second.bits(), valueBlock);
  EXPECT_TRUE(key.empty());
  EXPECT_TRUE(value.empty());
  EXPECT_EQ(TestHost::calls(HostCall::qel_copy_data), 0u);
}

TEST(MapInsertionTest, DestroysARejectedKeyAndValue) {
  map_t map;
  map["a"] = "old";
  data_t key("a"), value("new");
  TestHost::forgetCalls();
  const auto [position, isNew] = map.insert(std::move(key), std::move(value));
  EXPECT_EQ(TestHost::calls(HostCall::qel_free_string), 2u);
  EXPECT_FALSE(isNew);
  EXPECT_STREQ(position->second.get<const char*>(), "old");
  EXPECT_TRUE(key.empty());
  EXPECT_TRUE(value.empty());
}

TEST(MapInsertionTest, RefusesAnEmptyKeyThatIsMovedIn) {
  map_t map;
  EXPECT_EQ(failureOf([&] { map[data_t()] = true; }), nullKey);
  EXPECT_EQ(failureOf([&] { map.insert(data_t(), true); }), nullKey);
  EXPECT_EQ(map.header(), nullptr);
}

TEST(MapInsertionTest, RefusesAnEmptyKeyThatIsMovedInThoughOneIsThere) {
  map_t map;
  const data_t nothing;
  map[nothing] = "stored";
  EXPECT_EQ(failureOf([&] { map.insert(data_t(), true); }), nullKey);
  EXPECT_EQ(failureOf([&] { map[data_t()] = true; }), nullKey);
}

TEST(MapInsertionTest, StoresAnEmptyKeyThatIsCopiedIn) {
  map_t map;
  const data_t nothing;
  map[nothing] = "stored";
  EXPECT_EQ(map.size(), 1u);
  EXPECT_STREQ(map.at(nothing).get<const char*>(), "stored");
  const map_slot& slot = slotsOf(map.header())[0x243FCAF1 % 8];
  EXPECT_EQ(slot.hash, 0x243FCAF1u);
  EXPECT_EQ(slot.key.tag, 0u);
}

TEST(MapInsertionTest, TreatsAnEntryWithAnEmptyKeyLikeAnyOther) {
  map_t map;
  const data_t nothing;
  map[nothing] = "stored";
  for (std::int64_t number = 0; number < 20; ++number) map[integer(number)] = number;
  EXPECT_STREQ(map.at(nothing).get<const char*>(), "stored");
  std::uint64_t walked = 0;
  for (auto position = map.begin(); position != map.end(); ++position) ++walked;
  EXPECT_EQ(walked, 21u);
  EXPECT_TRUE(map.erase(nothing));
  EXPECT_TRUE(map.find(nothing) == map.end());
}

TEST(MapInsertionTest, RefusesACustomKey) {
  map_t map;
  const data_t key = custom();
  EXPECT_EQ(failureOf([&] { map[custom()] = true; }), customKey);
  EXPECT_EQ(failureOf([&] { map[key] = true; }), customKey);
  EXPECT_EQ(failureOf([&] { map.insert(custom(), true); }), customKey);
  EXPECT_EQ(failureOf([&] { map.find(key); }), customKey);
  EXPECT_EQ(failureOf([&] { return map.at(key).type(); }), customKey);
  EXPECT_EQ(map.header(), nullptr);
}

TEST(MapInsertionTest, RefusesAKeyThatHoldsACustomValue) {
  map_t map;
  EXPECT_EQ(failureOf([&] { map[listOf(integer(1), custom())] = true; }), customKey);
  EXPECT_EQ(failureOf([&] { map[dataFromJson(R"({"a": [{"$custom": 1}]})")] = true; }), customKey);
  EXPECT_TRUE(map.empty());
}

TEST(MapInsertionTest, TakesACustomValue) {
  map_t map;
  map["a"] = custom(7);
  EXPECT_EQ(toJson(map), R"({"a":{"$custom":7}})");
}

TEST(MapInsertionTest, LeavesWhatItRefusesWithTheCaller) {
  map_t map = mapFromJson(R"({"a": 1})");
  data_t key, value("kept");
  EXPECT_EQ(failureOf([&] { map.insert(std::move(key), std::move(value)); }), nullKey);
  EXPECT_EQ(toJson(value), R"("kept")");
  EXPECT_EQ(toJson(map), R"({"a":1})");
}

TEST(MapErasureTest, ErasesTheEntryAtAnIterator) {
  map_t map = mapFromJson(R"({"a": 1, "b": 2})");
  map.erase(map.find("a"));
  EXPECT_EQ(toJson(map), R"({"b":2})");
  EXPECT_EQ(map.size(), 1u);
  EXPECT_EQ(map.header()->tombstones, 1u);
}

TEST(MapErasureTest, LeavesATombstoneBehind) {
  map_t map;
  map["a"] = "value";
  map.erase(map.begin());
  const map_slot& slot = slotsOf(map.header())[qel_hash_string("a") % 8];
  EXPECT_EQ(slot.hash, 1u);
  EXPECT_EQ(slot.key.tag, 0u);
  EXPECT_EQ(slot.value.tag, 0u);
}

TEST(MapErasureTest, ErasesNothingAtTheEnd) {
  map_t map = mapFromJson(R"({"a": 1})");
  map.erase(map.end());
  EXPECT_EQ(map.size(), 1u);
  EXPECT_EQ(map.header()->tombstones, 0u);
}

TEST(MapErasureTest, DestroysTheOldValueThenTheOldKeyWhenTheSlotIsDone) {
  map_t map;
  map["key"] = listOf(integer(1));
  std::string order;
  TestHost::throwFrom(HostCall::qel_free_vector, [&] { order += "value of " + std::to_string(map.size()) + ", "; });
  TestHost::throwFrom(HostCall::qel_free_string, [&] { order += "key of " + std::to_string(map.size()); });
  map.erase(map.begin());
  TestHost::throwFrom(HostCall::qel_free_vector, nullptr);
  TestHost::throwFrom(HostCall::qel_free_string, nullptr);
  EXPECT_EQ(order, "value of 0, key of 0");
}

TEST(MapErasureTest, ErasesByKeyWhenThereIsOne) {
  map_t map = mapFromJson(R"({"a": 1})");
  EXPECT_FALSE(map.erase(data_t("b")));
  EXPECT_TRUE(map.erase(data_t("a")));
  EXPECT_FALSE(map.erase(data_t("a")));
  EXPECT_TRUE(map.empty());
}

TEST(MapErasureTest, TakesTheValueOfAKeyOut) {
  map_t map = mapFromJson(R"({"a": [1], "b": 2})");
  EXPECT_EQ(toJson(map.take("a")), "[1]");
  EXPECT_EQ(toJson(map), R"({"b":2})");
  EXPECT_TRUE(map.take("a").empty());
  EXPECT_EQ(map.size(), 1u);
}

TEST(MapErasureTest, ErasesWhatATestPicksInTheOrderOfTheTable) {
  map_t map = mapFromJson(R"({"a": 1, "b": [2], "c": 3, "d": [4]})");
  map.erase(data_t("c"));
  std::vector<std::string> order, seen;
  for (const auto& [key, value] : map) order.push_back(key.get<std::string>());
  product::list_t taken;
  map.eraseIf([&](const data_t& key, data_t& value) {
    seen.push_back(key.get<std::string>());
    if (!value.is(product::Tag::list)) return false;
    taken.push_back(std::move(value));
    return true;
  });
  EXPECT_EQ(seen, order);
  EXPECT_EQ(toJson(map), R"({"a":1})");
  EXPECT_EQ(map.size(), 1u);
  EXPECT_EQ(map.header()->tombstones, 3u);
  EXPECT_EQ(taken.size(), 2u);
}

TEST(MapErasureTest, ErasesBorrowedKeysByATestToo) {
  map_t map;
  map.insert(borrowed("lent"), integer(1));
  map.eraseIf([](const data_t&, data_t&) { return true; });
  EXPECT_TRUE(map.empty());
  EXPECT_EQ(map.header()->tombstones, 1u);
}

TEST(MapErasureTest, TestsNothingOfAnEmptyMap) {
  const auto fail = [](const data_t&, data_t&) -> bool { throw std::logic_error("there is no entry"); };
  map_t map;
  map.eraseIf(fail);
  map = mapFromJson(R"({"a": 1})");
  map.erase(data_t("a"));
  map.eraseIf(fail);
  EXPECT_TRUE(map.empty());
}

TEST(MapErasureTest, KeepsTheRestWhenATestFails) {
  map_t map = mapFromJson(R"({"a": 1, "b": 2, "c": 3})");
  int tested = 0;
  const auto failSecond = [&](const data_t&, data_t&) -> bool {
    if (++tested == 2) throw std::runtime_error("no idea");
    return true;
  };
  EXPECT_EQ(failureOf([&] { map.eraseIf(failSecond); }), "no idea");
  EXPECT_EQ(map.size(), 2u);
  EXPECT_EQ(map.header()->tombstones, 1u);
}

}  // namespace
}  // namespace tests
