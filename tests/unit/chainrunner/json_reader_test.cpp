#include "chainrunner/json_reader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "chainrunner/json_writer.h"

namespace chainrunner {
namespace {

TEST(JsonReaderTest, GivesEachKindItsTag) {
  const data_t value = readJson(R"({"a":null,"b":true,"c":1,"d":1.0,"e":"text","f":[],"g":{}})");
  const map_t& map = value.get<map_t>();
  EXPECT_EQ(map.at(data_t("a")).type(), Tag::empty);
  EXPECT_EQ(map.at(data_t("b")).type(), Tag::boolean);
  EXPECT_EQ(map.at(data_t("c")).type(), Tag::integer);
  EXPECT_EQ(map.at(data_t("d")).type(), Tag::number);
  EXPECT_EQ(map.at(data_t("e")).type(), Tag::string);
  EXPECT_EQ(map.at(data_t("f")).type(), Tag::list);
  EXPECT_EQ(map.at(data_t("g")).type(), Tag::map);
}

TEST(JsonReaderTest, KeepsIntegersOfSixtyFourBits) {
  EXPECT_EQ(readJson("9223372036854775807").get<std::int64_t>(), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(readJson("-9223372036854775808").get<std::int64_t>(), std::numeric_limits<std::int64_t>::min());
}

TEST(JsonReaderTest, MakesGreaterIntegersDoubles) {
  EXPECT_EQ(readJson("9223372036854775808").get<double>(), 9223372036854775808.0);
  EXPECT_EQ(readJson("18446744073709551616").get<double>(), 18446744073709551616.0);
  EXPECT_EQ(readJson("-9223372036854775809").get<double>(), -9223372036854775808.0);
}

TEST(JsonReaderTest, TakesAnExponentForADouble) {
  EXPECT_EQ(readJson("1e3").get<double>(), 1000.0);
}

TEST(JsonReaderTest, ReadsTheNearestDouble) {
  // Halfway cases and long texts, where a multiplication by powers of ten is off by one.
  EXPECT_EQ(readJson("9007199254740993.0").get<double>(), 9007199254740992.0);
  EXPECT_EQ(readJson("0.1234567890123456789").get<double>(), 0.1234567890123456789);
  EXPECT_EQ(readJson("8.3e-319").get<double>(), 8.3e-319);
  EXPECT_EQ(readJson("1795225464.3610001").get<double>(), 1795225464.3610001);
}

TEST(JsonReaderTest, KeepsTheSignOfZero) {
  EXPECT_TRUE(std::signbit(readJson("-0.0").get<double>()));
  EXPECT_TRUE(std::signbit(readJson("-1e-999").get<double>()));
}

TEST(JsonReaderTest, RoundsWhatIsTooSmallToZero) {
  EXPECT_EQ(readJson("1e-999").get<double>(), 0.0);
}

TEST(JsonReaderTest, LetsTheLastOfDuplicateKeysWin) {
  EXPECT_EQ(toJson(readJson(R"({"a":1,"b":2,"a":{"c":3}})")), R"({"a":{"c":3},"b":2})");
}

TEST(JsonReaderTest, AcceptsAnEmptyKey) {
  EXPECT_EQ(toJson(readJson(R"({"":1})")), R"({"":1})");
}

TEST(JsonReaderTest, ReadsEscapesAndSurrogatePairs) {
  EXPECT_EQ(readJson(R"("a\u00e9\ud83d\ude00\n\/")").get<std::string>(), "a\xC3\xA9\xF0\x9F\x98\x80\n/");
}

TEST(JsonReaderTest, AllowsBlanksAroundTheDocument) {
  EXPECT_EQ(readJson("  7 \r\n").get<std::int64_t>(), 7);
}

TEST(JsonReaderTest, AcceptsNestingUpToTheLimit) {
  JsonLimits limits;
  limits.depth = 3;
  EXPECT_EQ(toJson(readJson("[[[1]]]", limits)), "[[[1]]]");
}

struct BadText {
  const char* name;
  std::string text;
  const char* reason;
  std::size_t offset;
};

void PrintTo(const BadText& bad, std::ostream* out) {
  *out << bad.name;
}

class JsonReaderBadTextTest : public testing::TestWithParam<BadText> {};

TEST_P(JsonReaderBadTextTest, IsRefusedWithReasonAndPlace) {
  JsonLimits limits;
  limits.depth = 3;
  limits.keyBytes = 5;
  try {
    readJson(GetParam().text, limits);
    FAIL() << "nothing was thrown";
  } catch (const JsonError& error) {
    EXPECT_STREQ(error.what(), GetParam().reason);
    EXPECT_EQ(error.offset, GetParam().offset);
  }
}

INSTANTIATE_TEST_SUITE_P(All, JsonReaderBadTextTest,
                         testing::Values(BadText{"Nothing", "", "the text ends too early", 0},
                                         BadText{"HalfAnObject", R"({"a":)", "the text ends too early", 5},
                                         BadText{"MissingValue", R"({"a":})", "syntax error", 5},
                                         BadText{"TextBehind", "1 2", "more text behind the document", 2},
                                         BadText{"TooDeep", "[[[[1]]]]", "nested deeper than 3", 3},
                                         BadText{"LongKey", R"({"abcdef":1})", "a key is longer than 5 bytes", 8},
                                         BadText{"NulInText", R"("a\u0000b")", "a text holds the character NUL", 9},
                                         BadText{"TooGreat", "1e999", "a number is beyond the range of a double", 5},
                                         BadText{"NotANumber", "NaN", "syntax error", 0},
                                         BadText{"LoneSurrogate", R"("\ud800")", "syntax error", 7},
                                         BadText{"NotUtf8", "\"\xff\"", "syntax error", 1}),
                         [](const auto& each) { return each.param.name; });

}  // namespace
}  // namespace chainrunner
