#include "connectivity/map_t.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/TestHost.h"
#include "tests/unit/connectivity/failure.h"
#include "tests/unit/connectivity/host_variations.h"
#include "tests/unit/connectivity/made_values.h"

namespace tests {
namespace {

using product::data_t;
using product::map_t;
using Numbers = std::vector<std::uint64_t>;

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

}  // namespace
}  // namespace tests
