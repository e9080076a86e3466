#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

#include "connectivity/map_t.h"
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
  map.insert(data_t(std::numeric_limits<double>::quiet_NaN()), true);
  map.insert(data_t(std::numeric_limits<double>::quiet_NaN()), true);
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
