#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include "connectivity/data_t.h"
#include "connectivity/value_hash.h"
#include "tests/support/MapBuilder.h"
#include "tests/unit/connectivity/cases.h"
#include "tests/unit/connectivity/failure.h"
#include "tests/unit/connectivity/made_values.h"

namespace tests {
namespace {

using product::data_t;
using product::map_t;

data_t json(const char* words) {
  return dataFromJson(words);
}
data_t nan() {
  return std::numeric_limits<double>::quiet_NaN();
}

struct Case {
  const char* name;
  std::function<data_t()> one, other;
  bool equal;
};

void PrintTo(const Case& each, std::ostream* out) {
  *out << each.name;
}

class EqualityTest : public testing::TestWithParam<Case> {};

TEST_P(EqualityTest, HoldsAsToldInBothDirections) {
  const data_t one = GetParam().one(), other = GetParam().other();
  EXPECT_EQ(one == other, GetParam().equal);
  EXPECT_EQ(other == one, GetParam().equal);
  EXPECT_EQ(one != other, !GetParam().equal);
}

INSTANTIATE_TEST_SUITE_P(
    Plain, EqualityTest,
    testing::Values(
        Case{"Empties", [] { return data_t(); }, [] { return data_t(); }, true},
        Case{"EmptiesWithPayloads", [] { return withTag(0, 1); }, [] { return withTag(0, 2); }, true},
        Case{"Trues", [] { return data_t(true); }, [] { return data_t(true); }, true},
        Case{"TrueAndFalse", [] { return data_t(true); }, [] { return data_t(false); }, false},
        Case{"BooleansOfUnequalBytes", [] { return withTag(1, 1); }, [] { return withTag(1, 2); }, false},
        Case{"BooleansOfEqualLowestBytes", [] { return withTag(1, 0x101); }, [] { return withTag(1, 1); }, true},
        Case{"Doubles", [] { return data_t(0.5); }, [] { return data_t(0.5); }, true},
        Case{"UnequalDoubles", [] { return data_t(0.5); }, [] { return data_t(0.25); }, false},
        Case{"Zeros", [] { return data_t(0.0); }, [] { return data_t(-0.0); }, true}, Case{"Nans", nan, nan, false},
        Case{"NanAndNumber", nan, [] { return data_t(0.0); }, false},
        Case{"Integers", [] { return integer(5); }, [] { return integer(5); }, true},
        Case{"UnequalIntegers", [] { return integer(5); }, [] { return integer(5 + (std::int64_t{1} << 40)); }, false},
        Case{"Decimals", [] { return decimal(12); }, [] { return decimal(12); }, true},
        Case{"UnequalDecimals", [] { return decimal(12); }, [] { return decimal(13); }, false},
        Case{"Strings", [] { return text("a"); }, [] { return text("a"); }, true},
        Case{"UnequalStrings", [] { return text("a"); }, [] { return text("b"); }, false},
        Case{"StringAndItsBeginning", [] { return text("ab"); }, [] { return text("a"); }, false},
        Case{"StringsByByteNotByLetter", [] { return text("\xC3\xA9"); }, [] { return text("e\xCC\x81"); }, false},
        Case{"BorrowedStrings", [] { return borrowed("a"); }, [] { return borrowed("a"); }, true},
        Case{"UnequalBorrowedStrings", [] { return borrowed("a"); }, [] { return borrowed("b"); }, false},
        Case{"Buffers",
             [] {
               return buffer({"\0\1", 2});
             },
             [] {
               return buffer({"\0\1", 2});
             },
             true},
        Case{"UnequalBuffers",
             [] {
               return buffer({"\0\1", 2});
             },
             [] {
               return buffer({"\0\2", 2});
             },
             false},
        Case{"BuffersOfUnequalLengths",
             [] {
               return buffer({"\0", 1});
             },
             [] {
               return buffer({"\0\0", 2});
             },
             false},
        Case{"BufferWithoutBlockAndEmptyOne", [] { return withoutBlockOf(QEL_BUFFER); }, [] { return buffer(""); },
             true},
        Case{"BufferWithoutBlockAndFullOne", [] { return withoutBlockOf(QEL_BUFFER); }, [] { return buffer("x"); },
             false},
        Case{"Customs", [] { return custom(1); }, [] { return custom(1); }, false},
        Case{"CustomsWithoutObject", [] { return withoutBlockOf(QEL_CUSTOM); },
             [] { return withoutBlockOf(QEL_CUSTOM); }, false}),
    NameOfCase());

INSTANTIATE_TEST_SUITE_P(
    Lists, EqualityTest,
    testing::Values(
        Case{"Equal", [] { return json(R"([1, "a", [true]])"); }, [] { return json(R"([1, "a", [true]])"); }, true},
        Case{"OtherElement", [] { return json("[1, 2]"); }, [] { return json("[1, 3]"); }, false},
        Case{"OtherOrder", [] { return json("[1, 2]"); }, [] { return json("[2, 1]"); }, false},
        Case{"OtherCount", [] { return json("[1, 2]"); }, [] { return json("[1]"); }, false},
        Case{"OtherTypeOfElement", [] { return json("[1]"); }, [] { return json("[1.0]"); }, false},
        Case{"WithoutBlockAndEmpty", [] { return withoutBlockOf(QEL_LIST); }, [] { return json("[]"); }, true},
        Case{"WithoutBlockAndFull", [] { return withoutBlockOf(QEL_LIST); }, [] { return json("[1]"); }, false},
        Case{"WithNan", [] { return listOf(nan()); }, [] { return listOf(nan()); }, false}),
    NameOfCase());

INSTANTIATE_TEST_SUITE_P(
    Maps, EqualityTest,
    testing::Values(
        Case{"Equal", [] { return json(R"({"a": 1, "b": [2]})"); }, [] { return json(R"({"b": [2], "a": 1})"); }, true},
        Case{"OtherValue", [] { return json(R"({"a": 1})"); }, [] { return json(R"({"a": 2})"); }, false},
        Case{"OtherKey", [] { return json(R"({"a": 1})"); }, [] { return json(R"({"b": 1})"); }, false},
        Case{"OtherCount", [] { return json(R"({"a": 1})"); }, [] { return json(R"({"a": 1, "b": 2})"); }, false},
        Case{"WithoutBlockAndEmpty", [] { return withoutBlockOf(QEL_MAP); }, [] { return json("{}"); }, true},
        Case{"OwnedAndBorrowedKey", [] { return json(R"({"a": 1})"); },
             [] { return json(R"({"$entries": [[{"$borrowed": "a"}, 1]]})"); }, false},
        Case{"EqualNames", [] { return json(R"({"$name": "n", "$map": {"a": 1}})"); },
             [] { return json(R"({"$name": "n", "$map": {"a": 1}})"); }, true},
        Case{"OtherNames", [] { return json(R"({"$name": "n", "$map": {}})"); },
             [] { return json(R"({"$name": "m", "$map": {}})"); }, false},
        Case{"NameAndNone", [] { return json(R"({"$name": "n", "$map": {"a": 1}})"); },
             [] { return json(R"({"a": 1})"); }, false},
        Case{"EmptyNameAndNone", [] { return json(R"({"$name": "", "$map": {}})"); }, [] { return json("{}"); }, false},
        Case{"NameAndNoBlock", [] { return json(R"({"$name": "n", "$map": {}})"); },
             [] { return withoutBlockOf(QEL_MAP); }, false}),
    NameOfCase());

TEST(EqualityTest, NeverHoldsAcrossTags) {
  std::vector<data_t> values;
  for (std::uint32_t tag = 0; tag <= 4; ++tag) values.push_back(withTag(tag, 0));
  values.push_back(text("a"));
  values.push_back(listOf());
  values.push_back(map_t());
  values.push_back(buffer("a"));
  values.push_back(custom());
  values.push_back(borrowed("a"));
  for (std::size_t one = 0; one < values.size(); ++one) {
    for (std::size_t other = 0; other < one; ++other) {
      EXPECT_FALSE(values[one] == values[other]) << one << " and " << other;
      EXPECT_FALSE(values[other] == values[one]) << other << " and " << one;
    }
  }
}

TEST(EqualityTest, TellsOwnedAndBorrowedTextApartThoughTheirHashesAgree) {
  EXPECT_FALSE(text("a") == borrowed("a"));
  EXPECT_EQ(hash(text("a"), product::tableSeed), hash(borrowed("a"), product::tableSeed));
}

TEST(EqualityTest, FailsForACustomValueAndWhatHoldsItBesideItself) {
  const data_t object = custom(), list = listOf(custom()), map = json(R"({"a": {"$custom": 1}})");
  EXPECT_FALSE(object == object);
  EXPECT_FALSE(list == list);
  EXPECT_FALSE(map == map);
}

TEST(EqualityTest, FailsForAMapWithANanKeyBesideItself) {
  map_t map;
  map[nan()] = true;
  EXPECT_FALSE(map == map);
}

TEST(EqualityTest, HoldsForMapsOfAnySlotOrderAndCapacity) {
  map_t one, other(64);
  for (std::int64_t number = 0; number < 20; ++number) one[integer(number)] = number;
  for (std::int64_t number = 19; number >= 0; --number) other[integer(number)] = number;
  other["gone"] = true;
  other.erase(data_t("gone"));
  EXPECT_TRUE(one == other);
  EXPECT_TRUE(other == one);
  const data_t left(std::move(one)), right(std::move(other));
  EXPECT_EQ(hash(left, product::tableSeed), hash(right, product::tableSeed));
}

TEST(EqualityTest, ComparesEntriesOfTextKeysInOtherSlots) {
  map_t one, other(64);
  for (std::int64_t number = 0; number < 20; ++number) one[data_t("key" + std::to_string(number))] = number;
  for (std::int64_t number = 19; number >= 0; --number) other[data_t("key" + std::to_string(number))] = number;
  EXPECT_TRUE(one == other);
  EXPECT_TRUE(other == one);
  other["key7"] = "changed";
  EXPECT_FALSE(one == other);
  EXPECT_FALSE(other == one);
}

TEST(EqualityTest, HoldsForMapsWithAnEmptyKey) {
  const data_t nothing;
  map_t one, other(64);
  one[nothing] = true;
  other[nothing] = true;
  EXPECT_TRUE(one == other);
  EXPECT_TRUE(other == one);
  other[nothing] = false;
  EXPECT_FALSE(one == other);
}

TEST(EqualityTest, FailsWithAnErrorForACustomKeyThatAHostStored) {
  const map_t one = adoptMap(MapBuilder(8).putHashed(5, customValue(1), integerValue(1)).build());
  EXPECT_EQ(failureOf([&] { return one == mapFromJson(R"({"a": 1})"); }), "Cannot use custom values as a key");
  EXPECT_EQ(failureOf([&] { return one == mapFromJson(R"({"a": 1, "b": 2})"); }), "(no failure)");
}

TEST(EqualityTest, HoldsForContainersByThemselvesToo) {
  EXPECT_TRUE(listFromJson("[1, [2]]") == listFromJson("[1, [2]]"));
  EXPECT_TRUE(listFromJson("[1]") != listFromJson("[2]"));
  EXPECT_TRUE(mapFromJson(R"({"a": 1})") == mapFromJson(R"({"a": 1})"));
  EXPECT_TRUE(mapFromJson(R"({"a": 1})") != map_t());
}

}  // namespace
}  // namespace tests
