#include "chainrunner/json_writer.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "chainrunner/json_reader.h"
#include "devhost/devhost.h"

namespace chainrunner {
namespace {

struct Written {
  const char* name;
  double number;
  const char* text;
};

void PrintTo(const Written& row, std::ostream* out) {
  *out << row.text;
}

class JsonWriterDoubleTest : public testing::TestWithParam<Written> {};

TEST_P(JsonWriterDoubleTest, IsShortestAndStaysADouble) {
  EXPECT_EQ(toJson(data_t(GetParam().number)), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    All, JsonWriterDoubleTest,
    testing::Values(Written{"Whole", 100.0, "100.0"}, Written{"Tenth", 0.1, "0.1"},
                    Written{"Seconds", 1600000000.25, "1600000000.25"}, Written{"WholeSeconds", 1.6e9, "1600000000.0"},
                    Written{"NegativeZero", -0.0, "-0.0"}, Written{"Great", 1e300, "1e+300"},
                    Written{"Small", 1.5e-7, "1.5e-07"}, Written{"ThreeDecimals", -21.125, "-21.125"},
                    Written{"ZerosBehindThePoint", 0.005, "0.005"}, Written{"FourDecimals", 0.0625, "0.0625"},
                    Written{"NearlyShort", 0.1 + 0.2, "0.30000000000000004"}),
    [](const auto& each) { return each.param.name; });

TEST(JsonWriterTest, WritesKeysInByteOrder) {
  EXPECT_EQ(toJson(readJson(R"({"b":1,"a":[true,null,"x"],"B":{}})")), R"({"B":{},"a":[true,null,"x"],"b":1})");
}

TEST(JsonWriterTest, EscapesWhatJsonReserves) {
  EXPECT_EQ(toJson(data_t("\"\\\b\x1f\n\r\t/\x7f")), "\"\\\"\\\\\\u0008\\u001f\\n\\r\\t/\x7f\"");
}

TEST(JsonWriterTest, KeepsIntegersWhole) {
  EXPECT_EQ(toJson(data_t(std::numeric_limits<std::int64_t>::min())), "-9223372036854775808");
}

TEST(JsonWriterTest, WritesBorrowedStrings) {
  const char* text = "borrowed";
  const data_t value = data_t::adopt({reinterpret_cast<std::uint64_t>(text), QEL_BORROWED_STRING, 0});
  EXPECT_EQ(toJson(value), "\"borrowed\"");
}

TEST(JsonWriterTest, AppendsNothingWhenItFails) {
  std::string out = "before";
  EXPECT_THROW(appendJson(out, readJson("[1,[2]]"), 1), std::runtime_error);
  EXPECT_EQ(out, "before");
}

std::string failureOf(const data_t& value, std::size_t depth = 200) {
  try {
    return "no failure: " + toJson(value, depth);
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

TEST(JsonWriterTest, RefusesWhatJsonCannotSay) {
  EXPECT_EQ(failureOf(data_t(std::nan(""))), "A number that is not finite has no JSON form");
  EXPECT_EQ(failureOf(data_t(HUGE_VAL)), "A number that is not finite has no JSON form");
  EXPECT_EQ(failureOf(data_t::adopt(devhost::makeBuffer("ab", 2))), "A buffer value has no JSON form");
  EXPECT_EQ(failureOf(data_t::adopt(devhost::makeDecimal(1, 0))), "A decimal value has no JSON form");
  EXPECT_EQ(failureOf(data_t("\xff")), "A text that is not UTF-8 has no JSON form");
  EXPECT_EQ(failureOf(data_t("\xed\xa0\x80")), "A text that is not UTF-8 has no JSON form");
  EXPECT_EQ(failureOf(readJson("[[[]]]"), 2), "Values nested deeper than 2 have no JSON form");
}

TEST(JsonWriterTest, RefusesKeysThatAreNoStrings) {
  map_t map;
  map[data_t(std::int64_t{1})] = true;
  EXPECT_EQ(failureOf(data_t(std::move(map))), "A key that is not a string has no JSON form (it is integer)");
}

/// Any finite double, by its bits.
rc::Gen<double> finiteDoubles() {
  return rc::gen::suchThat(rc::gen::map(rc::gen::arbitrary<std::uint64_t>(),
                                        [](std::uint64_t bits) {
                                          double number = 0;
                                          std::memcpy(&number, &bits, sizeof number);
                                          return number;
                                        }),
                           [](double number) { return std::isfinite(number); });
}

RC_GTEST_PROP(JsonWriterProperty, DoublesReadBackToTheBit, ()) {
  const double number = *finiteDoubles();
  const double back = readJson(toJson(data_t(number))).get<double>();
  RC_ASSERT(std::memcmp(&number, &back, sizeof number) == 0);
}

RC_GTEST_PROP(JsonWriterProperty, IntegersReadBack, (std::int64_t number)) {
  RC_ASSERT(readJson(toJson(data_t(number))).get<std::int64_t>() == number);
}

/// Valid UTF-8 without NUL, from characters of every length.
std::string anyText() {
  static const std::vector<std::string> characters = {"a",    "\"", "\\",       "\n",           "\x01",
                                                      "\x7f", " ",  "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"};
  std::string text;
  for (const auto& character : *rc::gen::container<std::vector<std::string>>(rc::gen::elementOf(characters)))
    text += character;
  return text;
}

data_t anyValue(int depth) {
  switch (*rc::gen::inRange(0, depth > 0 ? 7 : 5)) {
    case 0:
      return data_t();
    case 1:
      return data_t(*rc::gen::arbitrary<bool>());
    case 2:
      return data_t(*rc::gen::arbitrary<std::int64_t>());
    case 3:
      return data_t(*finiteDoubles());
    case 4:
      return data_t(anyText());
    case 5: {
      list_t list;
      for (int i = *rc::gen::inRange(0, 5); i > 0; --i) list.push_back(anyValue(depth - 1));
      return data_t(std::move(list));
    }
    default: {
      map_t map;
      for (int i = *rc::gen::inRange(0, 9); i > 0; --i) map[data_t(anyText())] = anyValue(depth - 1);
      return data_t(std::move(map));
    }
  }
}

RC_GTEST_PROP(JsonWriterProperty, ValuesReadBackEqual, ()) {
  const data_t value = anyValue(4);
  RC_ASSERT(readJson(toJson(value)) == value);
}

/// What the writer gives of a JSON text's value after it wrote it before.
std::string writtenAgain(const std::string& json) {
  const data_t value = readJson(json);
  toJson(value);
  return toJson(value);
}

TEST(JsonWriterShapeTest, WritesMapsOfOneShapeWithTheirOwnValues) {
  const std::string text = R"([{"a":1,"b":"x"},{"a":2.5,"b":null},{"a":{"a":true,"b":[]},"b":{}}])";
  EXPECT_EQ(writtenAgain(text), text);
}

TEST(JsonWriterShapeTest, TellsApartShapesAtOnePlace) {
  const std::string text = R"([{"a":1},{"b":1},{"a":1,"b":2},{"a":1,"c":2},{"a":1},{"ab":1},{},{"b":1}])";
  EXPECT_EQ(writtenAgain(text), text);
}

TEST(JsonWriterShapeTest, WritesOneTextOfEqualMapsInDifferentSlots) {
  map_t small, large(64);
  for (const char* key : {"one", "two", "three", "four"}) {
    small[data_t(key)] = std::int64_t{1};
    large[data_t(key)] = std::int64_t{1};
  }
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(toJson(data_t(small.copy())), R"({"four":1,"one":1,"three":1,"two":1})");
    map_t copy(64);
    for (const auto& entry : large) copy[entry.first] = entry.second.copy();
    EXPECT_EQ(toJson(data_t(std::move(copy))), R"({"four":1,"one":1,"three":1,"two":1})");
  }
}

TEST(JsonWriterShapeTest, WritesABorrowedKeyLikeAnOwnedOne) {
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(writtenAgain(R"({"key":1})"), R"({"key":1})");
    map_t map;
    map[data_t::adopt({reinterpret_cast<std::uint64_t>("key"), QEL_BORROWED_STRING, 0})] = std::int64_t{2};
    EXPECT_EQ(toJson(data_t(std::move(map))), R"({"key":2})");
  }
}

TEST(JsonWriterShapeTest, WritesMapsWithinMapsOfTheirShape) {
  const std::string text = R"({"a":{"a":{"a":{"a":1,"b":2},"b":3},"b":4},"b":{"a":5,"b":6}})";
  EXPECT_EQ(writtenAgain(text), text);
}

TEST(JsonWriterShapeTest, GoesOnWithAMapWhoseValuesHaveMoreShapesThanAreRemembered) {
  std::string text = R"({"a":[)";
  for (int n = 0; n < 500; ++n) text += "{\"key" + std::to_string(n) + "\":" + std::to_string(n) + "},";
  text += R"(0],"b":1,"c":{"d":2}})";
  EXPECT_EQ(writtenAgain(text), text);
}

TEST(JsonWriterShapeTest, WritesKeysThatAreNotRemembered) {
  std::string wide;
  for (char letter = 'a'; letter <= 'z'; ++letter) wide += std::string(wide.empty() ? "{\"" : ",\"") + letter + "\":1";
  wide += '}';
  const std::string longKey = "{\"" + std::string(31, 'x') + "\":1,\"" + std::string(32, 'x') + "\":2}";
  for (const std::string& text :
       {wide, longKey, std::string(R"({"\"":1,"\n":2,"é":3})"), std::string(R"({"":1,"a":2})")}) {
    const data_t value = readJson(text);
    const std::string first = toJson(value);
    EXPECT_EQ(writtenAgain(text), first);
    EXPECT_TRUE(readJson(first) == value) << first;
  }
}

TEST(JsonWriterShapeTest, WritesAMapAfterOneOfItsShapeFailed) {
  const std::string text = R"({"a":1,"b":{"c":2}})";
  EXPECT_EQ(writtenAgain(text), text);
  data_t bad = readJson(text);
  bad.get<map_t>().at(data_t("b")).get<map_t>().at(data_t("c")) = std::nan("");
  EXPECT_THROW(toJson(bad), std::runtime_error);
  EXPECT_EQ(writtenAgain(text), text);
}

RC_GTEST_PROP(JsonWriterProperty, WhatWasWrittenBeforeChangesNothing, ()) {
  static const std::vector<std::string> names = {"a", "b", "c", "value", "unit", "a long name of a fragment"};
  for (int n = *rc::gen::inRange(1, 20); n > 0; --n) {
    map_t map;
    for (const auto& name : *rc::gen::container<std::vector<std::string>>(rc::gen::elementOf(names)))
      map[data_t(name)] = *rc::gen::arbitrary<std::int64_t>();
    std::map<std::string, std::int64_t> ordered;
    for (const auto& entry : map) ordered[entry.first.get<std::string>()] = entry.second.get<std::int64_t>();
    std::string expected;
    for (const auto& [key, number] : ordered)
      expected += (expected.empty() ? "{\"" : ",\"") + key + "\":" + std::to_string(number);
    RC_ASSERT(toJson(data_t(std::move(map))) == (expected.empty() ? "{" : expected) + "}");
  }
}

}  // namespace
}  // namespace chainrunner
