#include "simulator/json_text.h"

#include <gtest/gtest.h>

#include <bit>
#include <boost/json/object.hpp>
#include <charconv>
#include <cstdint>
#include <random>

namespace simulator {
namespace {

std::string roundTrip(const std::string& text) {
  return toJson(parseJson(text));
}

std::string refusalOf(const std::string& text) {
  try {
    parseJson(text);
  } catch (const JsonError& error) {
    return error.what();
  }
  return "accepted";
}

struct NumberCase {
  const char* name;
  const char* in;
  const char* out;
};

class JsonNumberTest : public ::testing::TestWithParam<NumberCase> {};

TEST_P(JsonNumberTest, KeepsItsValueAndItsKind) {
  EXPECT_EQ(roundTrip(GetParam().in), GetParam().out);
}

INSTANTIATE_TEST_SUITE_P(
    Numbers, JsonNumberTest,
    ::testing::Values(NumberCase{"Integer", "42", "42"}, NumberCase{"NegativeInteger", "-42", "-42"},
                      NumberCase{"LargestSigned", "9223372036854775807", "9223372036854775807"},
                      NumberCase{"SmallestSigned", "-9223372036854775808", "-9223372036854775808"},
                      NumberCase{"LargestUnsigned", "18446744073709551615", "18446744073709551615"},
                      NumberCase{"BeyondIntegers", "18446744073709551616", "18446744073709551616.0"},
                      NumberCase{"WholeDouble", "1.0", "1.0"}, NumberCase{"WholeDoubleWithExponent", "1e2", "100.0"},
                      NumberCase{"NegativeZero", "-0.0", "-0.0"}, NumberCase{"NegativeZeroInteger", "-0", "-0.0"},
                      NumberCase{"Tenth", "0.1", "0.1"}, NumberCase{"LongTenth", "0.1000000000000000055", "0.1"},
                      NumberCase{"SmallestDouble", "5e-324", "5e-324"}, NumberCase{"BelowTheSmallest", "1e-400", "0.0"},
                      NumberCase{"LargestDouble", "1.7976931348623157e308", "1.7976931348623157e+308"},
                      NumberCase{"SeventeenDigits", "0.30000000000000004", "0.30000000000000004"},
                      NumberCase{"HalfWayCase", "9007199254740993.0", "9007199254740992.0"},
                      NumberCase{"ManyDigits", "3.14159265358979323846264338327950288", "3.141592653589793"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(JsonTextTest, EveryDoubleComesBackAsTheSameDouble) {
  std::mt19937_64 random(1);
  for (int round = 0; round < 20000; ++round) {
    const auto wanted = std::bit_cast<double>(random());
    if (!std::isfinite(wanted)) continue;
    char text[64];
    const auto end = std::to_chars(text, text + sizeof text, wanted, std::chars_format::scientific, 20).ptr;
    const std::string written = roundTrip(std::string(text, end));
    double back = 0;
    std::from_chars(written.data(), written.data() + written.size(), back);
    ASSERT_EQ(std::bit_cast<std::uint64_t>(back), std::bit_cast<std::uint64_t>(wanted)) << std::string(text, end);
  }
}

TEST(JsonTextTest, WritesStructureWithoutSpaces) {
  EXPECT_EQ(roundTrip(R"( { "a" : [ 1 , true , null , { } , [ ] ] , "b" : "x" } )"),
            R"({"a":[1,true,null,{},[]],"b":"x"})");
}

TEST(JsonTextTest, EscapesWhatMustBeEscaped) {
  EXPECT_EQ(roundTrip(R"("a\"b\\c\/\b\f\n\r\t\u0000\u001f\u00e9")"),
            "\"a\\\"b\\\\c/\\u0008\\u000c\\n\\r\\t\\u0000\\u001f\xC3\xA9\"");
}

TEST(JsonTextTest, ReplacesBytesThatAreNoUtf8) {
  std::string out;
  appendJsonString(out, "a\xFF\xC3(\xE2\x82\xED\xA0\x80\xF0\x9F\x98\x80z");
  EXPECT_EQ(out,
            "\"a\xEF\xBF\xBD\xEF\xBF\xBD(\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"
            "\xF0\x9F\x98\x80z\"");
}

TEST(JsonTextTest, LastOfFieldsWithTheSameNameStays) {
  EXPECT_EQ(roundTrip(R"({"a":1,"a":2})"), R"({"a":2})");
}

TEST(JsonTextTest, RefusalNamesLineColumnAndReason) {
  EXPECT_EQ(refusalOf("{\"a\":1,\n  \"b\":x}"), "line 2, column 7: syntax error");
  EXPECT_EQ(refusalOf(""), "line 1, column 1: incomplete JSON");
  EXPECT_EQ(refusalOf("{\"a\":"), "line 1, column 6: incomplete JSON");
  EXPECT_EQ(refusalOf("{} {}"), "line 1, column 4: extra data");
}

TEST(JsonTextTest, RefusesNumbersThatNoDoubleHolds) {
  EXPECT_EQ(refusalOf("[1e400]"), "line 1, column 7: the number is too large for a double");
}

TEST(JsonTextTest, RefusesTextThatIsNoUtf8) {
  EXPECT_NE(refusalOf("\"\xFF\""), "accepted");
}

TEST(JsonTextTest, ReadsHundredTwentyEightLevelsAndNoMore) {
  const std::string deep = std::string(128, '[') + std::string(128, ']');
  EXPECT_EQ(roundTrip(deep), deep);
  EXPECT_EQ(refusalOf("[" + deep + "]"), "line 1, column 129: too deep");
}

}  // namespace
}  // namespace simulator
