// What a map does for its user. How its table works is in map_table_test.cpp.
#include "connectivity/map_t.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/MapBuilder.h"
#include "tests/support/TestHost.h"
#include "tests/unit/connectivity/failure.h"
#include "tests/unit/connectivity/host_variations.h"
#include "tests/unit/connectivity/made_values.h"

namespace tests {
namespace {

using product::data_t;
using product::list_t;
using product::map_t;
using Numbers = std::vector<std::uint64_t>;

constexpr const char* customKey = "Cannot use custom values as a key";
constexpr const char* nullKey = "Cannot have a null key";
constexpr const char* notInMap = "Element not in map";

data_t nan() {
  return std::numeric_limits<double>::quiet_NaN();
}

// ---- no block

TEST(MapWithoutBlockTest, AnswersEveryReading) {
  TestHost::forgetCalls();
  map_t map;
  const map_t& constant = map;
  EXPECT_EQ(map.size(), 0u);
  EXPECT_TRUE(map.empty());
  EXPECT_TRUE(map.find("a") == map.end());
  EXPECT_TRUE(constant.find("a") == constant.end());
  EXPECT_TRUE(map.begin() == map.end());
  EXPECT_TRUE(constant.begin() == constant.end());
  EXPECT_EQ(failureOf([&] { return constant.at("a").type(); }), notInMap);
  EXPECT_EQ(map.name(), nullptr);
  EXPECT_EQ(TestHost::calls(HostCall::qel_allocate_map), 0u);
}

TEST(MapWithoutBlockTest, ErasesNothing) {
  map_t map;
  map.erase(map.end());
  EXPECT_FALSE(map.erase(data_t("a")));
  EXPECT_EQ(map.header(), nullptr);
}

TEST(MapWithoutBlockTest, GetsABlockOfEightWithTheFirstEntry) {
  TestHost::forgetCalls();
  map_t byIndex, byCopiedKey, byInsertion;
  byIndex["a"] = true;
  const data_t key("a");
  byCopiedKey[key] = true;
  byInsertion.insert("a", true);
  EXPECT_EQ(TestHost::arguments(HostCall::qel_allocate_map), (Numbers{8, 8, 8}));
  EXPECT_EQ(TestHost::calls(HostCall::qel_reallocate_map), 0u);
}

// ---- construction and moves

TEST(MapTest, AsksForAtLeastEightSlotsAndForNoneOfNone) {
  TestHost::forgetCalls();
  const map_t none(0), one(1), eight(8), nine(9), many(100);
  EXPECT_EQ(none.header(), nullptr);
  EXPECT_EQ(TestHost::arguments(HostCall::qel_allocate_map), (Numbers{8, 8, 9, 100}));
}

TEST(MapTest, BearsACopyOfItsName) {
  const std::string name = "name";
  const map_t withRoom(20, name.c_str()), withoutRoom(0, name.c_str());
  EXPECT_STREQ(withRoom.name(), "name");
  EXPECT_NE(withRoom.name(), name.c_str());
  EXPECT_EQ(withRoom.header()->capacity, 20u);
  EXPECT_STREQ(withoutRoom.name(), "name");
  EXPECT_EQ(withoutRoom.header()->capacity, 8u);
}

TEST(MapTest, BearsAnEmptyName) {
  const map_t map(0, "");
  EXPECT_STREQ(map.name(), "");
}

TEST(MapTest, DropsANameThatTheFreshBlockBears) {
  const NamedFreshMaps named("stale");
  TestHost::forgetCalls();
  const map_t map(8);
  EXPECT_EQ(map.name(), nullptr);
  EXPECT_EQ(TestHost::calls(HostCall::qel_free_string), 1u);
}

TEST(MapTest, ReplacesANameThatTheFreshBlockBears) {
  const NamedFreshMaps named("stale");
  const map_t withRoom(8, "name"), withoutRoom(0, "name");
  EXPECT_STREQ(withRoom.name(), "name");
  EXPECT_STREQ(withoutRoom.name(), "name");
}

TEST(MapTest, IsNullAfterAMove) {
  map_t source = mapFromJson(R"({"a": 1})");
  map_t target(std::move(source));
  EXPECT_EQ(source.header(), nullptr);
  map_t last;
  last = std::move(target);
  EXPECT_EQ(target.header(), nullptr);
  EXPECT_EQ(toJson(last), R"({"a":1})");
}

TEST(MapTest, FreesItsOldBlockWhenAssigned) {
  map_t source = mapFromJson(R"({"a": 1})"), target = mapFromJson(R"({"$name": "n", "$map": {"old": "x"}})");
  TestHost::forgetCalls();
  target = std::move(source);
  EXPECT_EQ(TestHost::calls(HostCall::qel_free_map), 1u);
  EXPECT_EQ(toJson(target), R"({"a":1})");
}

TEST(MapTest, SurvivesAssignmentToItself) {
  map_t map = mapFromJson(R"({"a": 1})");
  map_t& same = map;
  map = std::move(same);
  EXPECT_EQ(toJson(map), R"({"a":1})");
}

TEST(MapTest, ReservesAtLeastEightSlots) {
  TestHost::forgetCalls();
  map_t map;
  map.reserve(3);
  map.reserve(0);
  map.reserve(30);
  EXPECT_EQ(TestHost::arguments(HostCall::qel_allocate_map), (Numbers{8}));
  EXPECT_EQ(TestHost::arguments(HostCall::qel_reallocate_map), (Numbers{8, 30}));
}

// ---- reading

TEST(MapTest, FindsTheEntryOfAKey) {
  map_t map = mapFromJson(R"({"a": 1, "b": 2})");
  EXPECT_STREQ(map.find("b")->first.get<const char*>(), "b");
  EXPECT_EQ(map.find("b")->second.get<std::int64_t>(), 2);
  EXPECT_TRUE(map.find("c") == map.end());
}

TEST(MapTest, GivesTheValueOfAKeyByReference) {
  map_t map = mapFromJson(R"({"a": 1})");
  map.find("a")->second = std::int64_t{2};
  EXPECT_EQ(std::as_const(map).at("a").get<std::int64_t>(), 2);
  EXPECT_EQ(&std::as_const(map).at("a"), &map.find("a")->second);
}

TEST(MapTest, RefusesAnAbsentKeyByItsConstAccess) {
  const map_t map = mapFromJson(R"({"a": 1})");
  EXPECT_EQ(failureOf([&] { return map.at("b").type(); }), notInMap);
}

TEST(MapTest, TellsKeysOfDifferentTypesApart) {
  map_t map;
  map[integer(1)] = "integer";
  map[data_t(1.0)] = "double";
  map[data_t(true)] = "boolean";
  map[data_t("1")] = "string";
  map[decimal(1)] = "decimal";
  EXPECT_EQ(map.size(), 5u);
  EXPECT_STREQ(map.at(decimal(1)).get<const char*>(), "decimal");
  EXPECT_STREQ(map.at(data_t(1.0)).get<const char*>(), "double");
}

TEST(MapTest, TakesContainersAsKeys) {
  map_t map;
  map[dataFromJson(R"([1, {"a": 2}])")] = "list";
  map[dataFromJson(R"({"a": [1]})")] = "map";
  map[buffer("bytes")] = "buffer";
  EXPECT_STREQ(map.at(dataFromJson(R"([1, {"a": 2}])")).get<const char*>(), "list");
  EXPECT_STREQ(map.at(dataFromJson(R"({"a": [1]})")).get<const char*>(), "map");
  EXPECT_STREQ(map.at(buffer("bytes")).get<const char*>(), "buffer");
}

TEST(MapTest, FindsOneZeroByTheOther) {
  map_t map;
  map[data_t(0.0)] = "zero";
  EXPECT_STREQ(map.at(data_t(-0.0)).get<const char*>(), "zero");
}

TEST(MapTest, NeverFindsANanAgain) {
  map_t map;
  map[nan()] = "first";
  EXPECT_TRUE(map.insert(nan(), "second").second);
  EXPECT_EQ(map.size(), 2u);
  EXPECT_TRUE(map.find(nan()) == map.end());
  EXPECT_FALSE(map.erase(nan()));
}

TEST(MapTest, MissesAnOwnedKeyByABorrowedOneAndConversely) {
  map_t owned, lent;
  owned["a"] = true;
  lent[borrowed("a")] = true;
  EXPECT_TRUE(owned.find(borrowed("a")) == owned.end());
  EXPECT_TRUE(lent.find("a") == lent.end());
  EXPECT_FALSE(lent.find(borrowed("a")) == lent.end());
}

// ---- inserting

TEST(MapTest, InsertsAnEmptyValueByIndex) {
  map_t map;
  EXPECT_TRUE(map["a"].empty());
  const data_t key("b");
  EXPECT_TRUE(map[key].empty());
  EXPECT_EQ(toJson(map), R"({"a":null,"b":null})");
}

TEST(MapTest, KeepsKeyValueAndHashOfAnExistingEntryByIndex) {
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

TEST(MapTest, CopiesKeyAndValueIntoTheSlotThroughTheHost) {
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

TEST(MapTest, MovesKeyAndValueIntoTheSlot) {
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

TEST(MapTest, DestroysARejectedKeyAndValue) {
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

TEST(MapTest, RefusesAnEmptyKeyThatIsMovedIn) {
  map_t map;
  EXPECT_EQ(failureOf([&] { map[data_t()] = true; }), nullKey);
  EXPECT_EQ(failureOf([&] { map.insert(data_t(), true); }), nullKey);
  EXPECT_EQ(map.header(), nullptr);
}

TEST(MapTest, RefusesAnEmptyKeyThatIsMovedInThoughOneIsThere) {
  map_t map;
  const data_t nothing;
  map[nothing] = "stored";
  EXPECT_EQ(failureOf([&] { map.insert(data_t(), true); }), nullKey);
  EXPECT_EQ(failureOf([&] { map[data_t()] = true; }), nullKey);
}

TEST(MapTest, StoresAnEmptyKeyThatIsCopiedIn) {
  map_t map;
  const data_t nothing;
  map[nothing] = "stored";
  EXPECT_EQ(map.size(), 1u);
  EXPECT_STREQ(map.at(nothing).get<const char*>(), "stored");
  const map_slot& slot = slotsOf(map.header())[0x243FCAF1 % 8];
  EXPECT_EQ(slot.hash, 0x243FCAF1u);
  EXPECT_EQ(slot.key.tag, 0u);
}

TEST(MapTest, TreatsAnEntryWithAnEmptyKeyLikeAnyOther) {
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

TEST(MapTest, RefusesACustomKey) {
  map_t map;
  const data_t key = custom();
  EXPECT_EQ(failureOf([&] { map[custom()] = true; }), customKey);
  EXPECT_EQ(failureOf([&] { map[key] = true; }), customKey);
  EXPECT_EQ(failureOf([&] { map.insert(custom(), true); }), customKey);
  EXPECT_EQ(failureOf([&] { map.find(key); }), customKey);
  EXPECT_EQ(failureOf([&] { return map.at(key).type(); }), customKey);
  EXPECT_EQ(map.header(), nullptr);
}

TEST(MapTest, RefusesAKeyThatHoldsACustomValue) {
  map_t map;
  EXPECT_EQ(failureOf([&] { map[listOf(integer(1), custom())] = true; }), customKey);
  EXPECT_EQ(failureOf([&] { map[dataFromJson(R"({"a": [{"$custom": 1}]})")] = true; }), customKey);
  EXPECT_TRUE(map.empty());
}

TEST(MapTest, TakesACustomValue) {
  map_t map;
  map["a"] = custom(7);
  EXPECT_EQ(toJson(map), R"({"a":{"$custom":7}})");
}

TEST(MapTest, LeavesWhatItRefusesWithTheCaller) {
  map_t map = mapFromJson(R"({"a": 1})");
  data_t key, value("kept");
  EXPECT_EQ(failureOf([&] { map.insert(std::move(key), std::move(value)); }), nullKey);
  EXPECT_EQ(toJson(value), R"("kept")");
  EXPECT_EQ(toJson(map), R"({"a":1})");
}

// ---- erasing

TEST(MapTest, ErasesTheEntryAtAnIterator) {
  map_t map = mapFromJson(R"({"a": 1, "b": 2})");
  map.erase(map.find("a"));
  EXPECT_EQ(toJson(map), R"({"b":2})");
  EXPECT_EQ(map.size(), 1u);
  EXPECT_EQ(map.header()->tombstones, 1u);
}

TEST(MapTest, LeavesATombstoneBehind) {
  map_t map;
  map["a"] = "value";
  map.erase(map.begin());
  const map_slot& slot = slotsOf(map.header())[qel_hash_string("a") % 8];
  EXPECT_EQ(slot.hash, 1u);
  EXPECT_EQ(slot.key.tag, 0u);
  EXPECT_EQ(slot.value.tag, 0u);
}

TEST(MapTest, ErasesNothingAtTheEnd) {
  map_t map = mapFromJson(R"({"a": 1})");
  map.erase(map.end());
  EXPECT_EQ(map.size(), 1u);
  EXPECT_EQ(map.header()->tombstones, 0u);
}

TEST(MapTest, DestroysTheOldValueThenTheOldKeyWhenTheSlotIsDone) {
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

TEST(MapTest, ErasesByKeyWhenThereIsOne) {
  map_t map = mapFromJson(R"({"a": 1})");
  EXPECT_FALSE(map.erase(data_t("b")));
  EXPECT_TRUE(map.erase(data_t("a")));
  EXPECT_FALSE(map.erase(data_t("a")));
  EXPECT_TRUE(map.empty());
}

TEST(MapTest, TakesTheValueOfAKeyOut) {
  map_t map = mapFromJson(R"({"a": [1], "b": 2})");
  EXPECT_EQ(toJson(map.take("a")), "[1]");
  EXPECT_EQ(toJson(map), R"({"b":2})");
  EXPECT_TRUE(map.take("a").empty());
  EXPECT_EQ(map.size(), 1u);
}

// ---- copies

TEST(MapCopyTest, IsDeepAndIndependent) {
  map_t map = mapFromJson(R"({"a": [1], "b": {"c": "d"}})");
  const map_t copy = map.copy();
  map.find("a")->second.get<list_t>().push_back(integer(2));
  EXPECT_EQ(toJson(copy), R"({"a":[1],"b":{"c":"d"}})");
  EXPECT_NE(copy.header(), map.header());
}

TEST(MapCopyTest, HasNoBlockWhenTheSourceHoldsNothing) {
  const map_t null, emptied(16);
  TestHost::forgetCalls();
  EXPECT_EQ(null.copy().header(), nullptr);
  EXPECT_EQ(emptied.copy().header(), nullptr);
  EXPECT_EQ(TestHost::calls(HostCall::qel_allocate_map), 0u);
}

TEST(MapCopyTest, BeginsWithRoomForTheCountAndGrowsAsItFills) {
  map_t map;
  for (std::int64_t number = 0; number < 20; ++number) map[integer(number)] = number;
  TestHost::forgetCalls();
  const map_t copy = map.copy();
  EXPECT_EQ(TestHost::arguments(HostCall::qel_allocate_map), (Numbers{20}));
  EXPECT_EQ(TestHost::arguments(HostCall::qel_reallocate_map), (Numbers{34}));
  EXPECT_EQ(copy.size(), 20u);
}

TEST(MapCopyTest, BeginsWithEightSlotsForFewEntries) {
  const map_t map = mapFromJson(R"({"a": 1})");
  TestHost::forgetCalls();
  const map_t copy = map.copy();
  EXPECT_EQ(TestHost::arguments(HostCall::qel_allocate_map), (Numbers{8}));
}

TEST(MapCopyTest, CopiesKeysAndValuesThroughTheHost) {
  const map_t map = mapFromJson(R"({"a": 1, "b": [2]})");
  TestHost::forgetCalls();
  const map_t copy = map.copy();
  EXPECT_EQ(TestHost::calls(HostCall::qel_copy_data), 4u);
}

TEST(MapCopyTest, ComputesHashesAnew) {
  const map_t map = adoptMap(MapBuilder(8).putHashed(12345, stringValue("a"), integerValue(1)).build());
  EXPECT_TRUE(map.find("a") == map.end());
  EXPECT_EQ(map.copy().at("a").get<std::int64_t>(), 1);
}

TEST(MapCopyTest, LeavesTombstonesBehind) {
  map_t map = mapFromJson(R"({"a": 1, "b": 2})");
  map.erase(data_t("a"));
  EXPECT_EQ(map.copy().header()->tombstones, 0u);
}

TEST(MapCopyTest, BearsTheName) {
  const map_t filled = mapFromJson(R"({"$name": "n", "$map": {"a": 1}})"), nothing(0, "n");
  EXPECT_EQ(toJson(filled.copy()), R"({"$map":{"a":1},"$name":"n"})");
  EXPECT_NE(filled.copy().name(), filled.name());
  TestHost::forgetCalls();
  const map_t copy = nothing.copy();
  EXPECT_STREQ(copy.name(), "n");
  EXPECT_EQ(TestHost::arguments(HostCall::qel_allocate_map), (Numbers{8}));
}

TEST(MapCopyTest, BearsNoNameOfTheFreshBlock) {
  const map_t map = mapFromJson(R"({"a": 1})");
  const NamedFreshMaps named("stale");
  EXPECT_EQ(map.copy().name(), nullptr);
}

TEST(MapCopyTest, KeepsEveryNan) {
  map_t map;
  map.insert(nan(), true);
  map.insert(nan(), true);
  EXPECT_EQ(map.copy().size(), 2u);
}

TEST(MapCopyTest, RefusesAnEmptyKeyAsInsertionDoes) {
  map_t map;
  const data_t nothing;
  map[nothing] = "value";
  map["a"] = "other";
  EXPECT_EQ(failureOf([&] { return map.copy(); }), nullKey);
  EXPECT_EQ(map.size(), 2u);
}

TEST(MapCopyTest, RefusesACustomKeyAsInsertionDoes) {
  const map_t map = adoptMap(MapBuilder(8).putHashed(5, customValue(1), integerValue(1)).build());
  EXPECT_EQ(failureOf([&] { return map.copy(); }), customKey);
}

}  // namespace
}  // namespace tests
