#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>

#include "connectivity/map_t.h"
#include "tests/support/Environment.h"
#include "tests/support/MapBuilder.h"
#include "tests/unit/connectivity/failure.h"
#include "tests/unit/connectivity/made_values.h"

namespace tests {
namespace {

using product::map_t;

constexpr const char* invalidated = "Iterator invalidated by modifying map";
constexpr const char* foreign = "Invalid comparison of iterators into different maps";
constexpr const char* none = "(no failure)";
constexpr const char* theSwitch = "KV_SKIP_DATA_T_ITERATOR_CHECKS";

map_t numbers(std::int64_t count) {
  map_t map;
  for (std::int64_t number = 0; number < count; ++number) map[integer(number)] = number;
  return map;
}

/// Reads nothing of the entry, so that an iterator into a dead block can be tried.
template <class Iterator>
std::string failureOfReading(const Iterator& position) {
  return failureOf([&] { return &*position; });
}

TEST(MapIteratorTest, WalksInSlotOrder) {
  const map_t map = adoptMap(MapBuilder(8)
                                 .putHashed(6, integerValue(1), integerValue(0))
                                 .putHashed(2, integerValue(2), integerValue(0))
                                 .putHashed(14, integerValue(3), integerValue(0))
                                 .putHashed(3, integerValue(4), integerValue(0))
                                 .build());
  std::string walked;
  for (const auto& [key, value] : map) walked += std::to_string(key.get<std::int64_t>());
  EXPECT_EQ(walked, "2413");
}

TEST(MapIteratorTest, PassesFreeSlotsAndTombstones) {
  map_t map = numbers(6);
  for (const std::int64_t number : {0, 2, 5}) map.erase(integer(number));
  std::int64_t sum = 0, walked = 0;
  for (auto position = map.begin(); position != map.end(); position++) {
    sum += position->first.get<std::int64_t>();
    ++walked;
  }
  EXPECT_EQ(walked, 3);
  EXPECT_EQ(sum, 1 + 3 + 4);
}

TEST(MapIteratorTest, BeginsAtTheEndOfABlockWithoutEntries) {
  map_t map(8);
  EXPECT_TRUE(map.begin() == map.end());
  EXPECT_TRUE(std::as_const(map).begin() == std::as_const(map).end());
}

TEST(MapIteratorTest, YieldsKeyAndValueInPlace) {
  map_t map = mapFromJson(R"({"a": 1})");
  map.begin()->second = std::int64_t{2};
  EXPECT_EQ(toJson(map), R"({"a":2})");
}

TEST(MapIteratorTest, TurnsIntoItsReadOnlyForm) {
  map_t map = mapFromJson(R"({"a": 1})");
  const map_t::const_iterator position = map.find("a");
  EXPECT_TRUE(position == std::as_const(map).find("a"));
  EXPECT_EQ(position->second.get<std::int64_t>(), 1);
}

// ---- validity

TEST(MapIteratorTest, IsInvalidAfterAnInsertion) {
  map_t map = numbers(2);
  const auto position = map.begin();
  map["new"] = true;
  EXPECT_EQ(failureOfReading(position), invalidated);
  EXPECT_EQ(failureOf([&] { return position->first.type(); }), invalidated);
  EXPECT_EQ(failureOf([&] { return position->second.type(); }), invalidated);
  EXPECT_EQ(failureOfReading(map.begin()), none);
}

TEST(MapIteratorTest, IsInvalidAfterAnErasure) {
  map_t map = numbers(2);
  const auto kept = map.find(integer(0));
  map.erase(map.find(integer(1)));
  EXPECT_EQ(failureOfReading(kept), invalidated);
}

TEST(MapIteratorTest, IsInvalidAfterARebuildWithTheSameCapacity) {
  map_t map = numbers(2);
  const auto position = map.begin();
  map.reserve(8);
  EXPECT_EQ(failureOfReading(position), invalidated);
}

TEST(MapIteratorTest, IsInvalidAfterARebuildWithAnotherCapacity) {
  map_t map = numbers(2);
  const auto position = map.begin();
  map.reserve(16);
  EXPECT_EQ(failureOfReading(position), invalidated);
}

TEST(MapIteratorTest, IsInvalidWhenTheBlockIsGone) {
  map_t map = numbers(1);
  const auto position = map.begin();
  const map_t other(std::move(map));
  EXPECT_EQ(failureOfReading(position), invalidated);
}

TEST(MapIteratorTest, IsInvalidWhenABlockHasCome) {
  map_t map;
  const auto position = map.begin();
  map.reserve(8);
  EXPECT_EQ(failureOfReading(position), invalidated);
}

TEST(MapIteratorTest, IsInvalidWhenReadOnlyToo) {
  map_t map = numbers(1);
  const auto position = std::as_const(map).begin();
  map["new"] = true;
  EXPECT_EQ(failureOfReading(position), invalidated);
}

TEST(MapIteratorTest, StaysValidWhenAValueIsAssigned) {
  map_t map = numbers(2);
  const auto position = map.begin();
  map[integer(0)] = "other";
  map[integer(1)] = "other";
  EXPECT_EQ(failureOfReading(position), none);
}

TEST(MapIteratorTest, DoesNotNoticeChangesThatLeaveBlockCapacityAndCount) {
  map_t map = numbers(2);
  const auto position = map.find(integer(0));
  map.erase(map.find(integer(1)));
  map["new"] = true;
  EXPECT_EQ(failureOfReading(position), none);
}

TEST(MapIteratorTest, IsNotCheckedWhenItIsIncremented) {
  map_t map = numbers(2);
  auto position = map.begin();
  map["new"] = true;
  EXPECT_EQ(failureOf([&] { ++position; }), none);
  EXPECT_EQ(failureOf([&] { position++; }), none);
}

TEST(MapIteratorTest, IsReportedAfterTheTableHasBeenRebuilt) {
  map_t map = numbers(7);
  auto position = map.begin();
  map["eighth"] = true;
  EXPECT_EQ(failureOf([&] { ++position; }), none);
  EXPECT_EQ(failureOf([&] { map.erase(position); }), invalidated);
}

TEST(MapIteratorTest, ErasesThroughNoInvalidIterator) {
  map_t map = numbers(2);
  const auto position = map.begin();
  map["new"] = true;
  EXPECT_EQ(failureOf([&] { map.erase(position); }), invalidated);
  EXPECT_EQ(map.size(), 3u);
}

// ---- comparison

TEST(MapIteratorTest, ComparesByIndexWithinAMap) {
  map_t map = numbers(3);
  EXPECT_TRUE(map.find(integer(1)) == map.find(integer(1)));
  EXPECT_TRUE(map.find(integer(1)) != map.find(integer(2)));
  EXPECT_TRUE(map.find(integer(9)) == map.end());
}

TEST(MapIteratorTest, RefusesComparisonAcrossMaps) {
  map_t one = numbers(1), other = numbers(1);
  EXPECT_EQ(failureOf([&] { return one.begin() == other.begin(); }), foreign);
  EXPECT_EQ(failureOf([&] { return one.begin() != other.begin(); }), foreign);
  EXPECT_EQ(failureOf([&] { return one.end() == other.end(); }), foreign);
  EXPECT_EQ(failureOf([&] { return std::as_const(one).end() != std::as_const(other).end(); }), foreign);
}

TEST(MapIteratorTest, RefusesComparisonAcrossMapsWithoutABlock) {
  map_t one, other;
  EXPECT_EQ(failureOf([&] { return one.end() == other.end(); }), foreign);
}

TEST(MapIteratorTest, RefusesErasureInAnotherMap) {
  map_t one = numbers(2), other = numbers(2);
  EXPECT_EQ(failureOf([&] { one.erase(other.begin()); }), foreign);
  EXPECT_EQ(failureOf([&] { one.erase(other.end()); }), foreign);
  EXPECT_EQ(one.size(), 2u);
  EXPECT_EQ(other.size(), 2u);
}

// ---- the switch

class MapIteratorSwitchTest : public testing::Test {
 protected:
  Environment environment;
};

TEST_F(MapIteratorSwitchTest, LetsAnInvalidIteratorGoOnAsItStands) {
  map_t map = mapFromJson(R"({"a": 1})");
  const auto position = map.begin();
  map["b"] = true;
  environment.set(theSwitch, "1");
  EXPECT_EQ(position->second.get<std::int64_t>(), 1);
}

TEST_F(MapIteratorSwitchTest, LetsAnInvalidIteratorErase) {
  map_t map = mapFromJson(R"({"a": 1, "b": 2})");
  const auto position = map.find("a");
  map["c"] = std::int64_t{3};
  environment.set(theSwitch, "1");
  EXPECT_EQ(failureOf([&] { map.erase(position); }), none);
  EXPECT_EQ(toJson(map), R"({"b":2,"c":3})");
  EXPECT_EQ(map.size(), 2u);
  EXPECT_EQ(map.header()->tombstones, 1u);
}

TEST_F(MapIteratorSwitchTest, LetsIteratorsOfDifferentMapsCompareByIndex) {
  map_t one = numbers(1), other = numbers(1);
  environment.set(theSwitch, "1");
  EXPECT_TRUE(one.begin() == other.begin());
  EXPECT_TRUE(one.begin() != other.end());
}

TEST_F(MapIteratorSwitchTest, LetsTheEndOfAnotherMapEraseNothing) {
  map_t one = numbers(1), other = numbers(1);
  environment.set(theSwitch, "1");
  EXPECT_EQ(failureOf([&] { one.erase(other.end()); }), none);
  EXPECT_EQ(one.size(), 1u);
}

TEST_F(MapIteratorSwitchTest, IsLookedAtAtEachFailure) {
  map_t map = numbers(1), other;
  const auto position = map.begin();
  map["new"] = true;
  for (const char* setting : {"", "0", "false", "1"}) {
    environment.unset(theSwitch);
    EXPECT_EQ(failureOfReading(position), invalidated) << setting;
    EXPECT_EQ(failureOf([&] { return map.end() == other.end(); }), foreign) << setting;
    environment.set(theSwitch, setting);
    EXPECT_EQ(failureOfReading(position), none) << setting;
    EXPECT_EQ(failureOf([&] { return map.end() == other.end(); }), none) << setting;
  }
}

}  // namespace
}  // namespace tests
