// Lenient access: a value of the type, or a string that parses as it.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <ostream>
#include <string>

#include "connectivity/data_t.h"
#include "tests/unit/connectivity/cases.h"
#include "tests/unit/connectivity/failure.h"
#include "tests/unit/connectivity/made_values.h"

namespace tests {
namespace {

using product::data_t;

constexpr const char* ofEmpty = "Trying to parse from empty";
constexpr const char* ofBoolean = "Trying to parse from incorrect type (actually boolean)";
constexpr const char* ofDouble = "Trying to parse from incorrect type (actually double)";
constexpr const char* ofInteger = "Trying to parse from incorrect type (actually integer)";
constexpr const char* ofDecimal = "Trying to parse from incorrect type (actually decimal)";
constexpr const char* ofList = "Trying to parse from incorrect type (actually list)";
constexpr const char* ofMap = "Trying to parse from incorrect type (actually map)";
constexpr const char* ofBuffer = "Trying to parse from incorrect type (actually buffer)";
constexpr const char* ofCustom = "Trying to parse from incorrect type (actually custom)";

std::string shown(bool value) {
  return value ? "yes" : "no";
}
std::string shown(std::int64_t value) {
  return std::to_string(value);
}
std::string shown(double value) {
  return std::to_string(value);
}
std::string shown(const std::string& value) {
  return value;
}

/// The result as text, or the failure's text. Nothing may come on standard error.
template <class T>
std::string outcomeOf(const data_t& value) {
  testing::internal::CaptureStderr();
  std::string result;
  const std::string failure = failureOf([&] { result = shown(value.convert_to<T>()); });
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  return failure == "(no failure)" ? result : failure;
}

struct Row {
  const char* name;
  std::function<data_t()> make;
  const char *toBoolean, *toInteger, *toDouble, *toString;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

class ConvertToTest : public testing::TestWithParam<Row> {};

TEST_P(ConvertToTest, GivesTheTypeOrTellsWhatIsWrong) {
  const data_t value = GetParam().make();
  EXPECT_EQ(outcomeOf<bool>(value), GetParam().toBoolean);
  EXPECT_EQ(outcomeOf<std::int64_t>(value), GetParam().toInteger);
  EXPECT_EQ(outcomeOf<double>(value), GetParam().toDouble);
  EXPECT_EQ(outcomeOf<std::string>(value), GetParam().toString);
}

INSTANTIATE_TEST_SUITE_P(
    Tags, ConvertToTest,
    testing::Values(Row{"Empty", [] { return data_t(); }, ofEmpty, ofEmpty, ofEmpty, ofEmpty},
                    Row{"True", [] { return data_t(true); }, "yes", ofBoolean, ofBoolean, "true"},
                    Row{"False", [] { return data_t(false); }, "no", ofBoolean, ofBoolean, "false"},
                    Row{"Double", [] { return data_t(0.5); }, ofDouble, ofDouble, "0.500000", "0.5"},
                    Row{"Integer", [] { return integer(42); }, ofInteger, "42", ofInteger, "42"},
                    Row{"Decimal", [] { return decimal(12); }, ofDecimal, ofDecimal, ofDecimal, ofDecimal},
                    Row{"TextOfTrue", [] { return text("true"); }, "yes", "0", "0.000000", "true"},
                    Row{"TextOfFalse", [] { return text("False"); }, "no", "0", "0.000000", "False"},
                    Row{"TextOfInteger", [] { return text("12"); }, "Invalid boolean: 12", "12", "12.000000", "12"},
                    Row{"TextOfDouble", [] { return text("-2.5e1"); }, "Invalid boolean: -2.5e1", "-2", "-25.000000",
                        "-2.5e1"},
                    Row{"NoText", [] { return text(""); }, "Invalid boolean: ", "0", "0.000000", ""},
                    Row{"List", [] { return dataFromJson("[1]"); }, ofList, ofList, ofList, ofList},
                    Row{"Map", [] { return dataFromJson("{}"); }, ofMap, ofMap, ofMap, ofMap},
                    Row{"Buffer", [] { return buffer("1"); }, ofBuffer, ofBuffer, ofBuffer, ofBuffer},
                    Row{"Custom", [] { return custom(); }, ofCustom, ofCustom, ofCustom, ofCustom},
                    Row{"BorrowedTrue", [] { return borrowed("TRUE"); }, "yes", "0", "0.000000", "TRUE"},
                    Row{"BorrowedNumber", [] { return borrowed("7"); }, "Invalid boolean: 7", "7", "7.000000", "7"},
                    Row{"Tag11", [] { return withTag(11, 1); }, ofEmpty, ofEmpty, ofEmpty, ofEmpty},
                    Row{"HighestTag", [] { return withTag(0xFFFFFFFF, 1); }, ofEmpty, ofEmpty, ofEmpty, ofEmpty}),
    NameOfCase());

TEST(ConvertToBooleanTest, ReadsTextInAnyCase) {
  for (const char* words : {"true", "TRUE", "True", "tRuE"}) EXPECT_TRUE(text(words).convert_to<bool>()) << words;
  for (const char* words : {"false", "FALSE", "False"}) EXPECT_FALSE(text(words).convert_to<bool>()) << words;
}

TEST(ConvertToBooleanTest, ShowsOtherTextInLowerCase) {
  EXPECT_EQ(failureOf([] { text("yes").convert_to<bool>(); }), "Invalid boolean: yes");
  EXPECT_EQ(failureOf([] { text("YES").convert_to<bool>(); }), "Invalid boolean: yes");
  EXPECT_EQ(failureOf([] { text(" true").convert_to<bool>(); }), "Invalid boolean:  true");
  EXPECT_EQ(failureOf([] {
              text(
                  "\xC3\x84"
                  "B")
                  .convert_to<bool>();
            }),
            "Invalid boolean: \xC3\x84"
            "b");
}

TEST(ConvertToBooleanTest, TakesAnyByteButZeroForTrue) {
  EXPECT_TRUE(withTag(1, 0x80).convert_to<bool>());
  EXPECT_EQ(withTag(1, 0x80).convert_to<std::string>(), "true");
}

TEST(ConvertToIntegerTest, ParsesAsFarAsItCan) {
  EXPECT_EQ(text("12abc").convert_to<std::int64_t>(), 12);
  EXPECT_EQ(text("abc").convert_to<std::int64_t>(), 0);
  EXPECT_EQ(text(" \t\n-12").convert_to<std::int64_t>(), -12);
  EXPECT_EQ(text("+12").convert_to<std::int64_t>(), 12);
  EXPECT_EQ(text("1 2").convert_to<std::int64_t>(), 1);
  EXPECT_EQ(text("0x10").convert_to<std::int64_t>(), 0);
  EXPECT_EQ(text("-9223372036854775808").convert_to<std::int64_t>(), INT64_MIN);
  EXPECT_EQ(text("9223372036854775807").convert_to<std::int64_t>(), INT64_MAX);
}

TEST(ConvertToDoubleTest, ParsesAsFarAsItCan) {
  EXPECT_EQ(text("12.5abc").convert_to<double>(), 12.5);
  EXPECT_EQ(text("abc").convert_to<double>(), 0.0);
  EXPECT_EQ(text(" \t\n-.5").convert_to<double>(), -0.5);
  EXPECT_EQ(text("1e3x").convert_to<double>(), 1000.0);
  EXPECT_EQ(text("0x10").convert_to<double>(), 16.0);
  EXPECT_TRUE(std::isinf(text("inf").convert_to<double>()));
}

TEST(ConvertToStringTest, WritesDoublesInSixDigits) {
  EXPECT_EQ(data_t(1.0).convert_to<std::string>(), "1");
  EXPECT_EQ(data_t(1234567.0).convert_to<std::string>(), "1.23457e+06");
  EXPECT_EQ(data_t(0.1).convert_to<std::string>(), "0.1");
  EXPECT_EQ(data_t(-0.0).convert_to<std::string>(), "-0");
  EXPECT_EQ(data_t(-2.2250738585072014e-308).convert_to<std::string>(), "-2.22507e-308");
  EXPECT_EQ(data_t(std::numeric_limits<double>::infinity()).convert_to<std::string>(), "inf");
  EXPECT_EQ(data_t(std::numeric_limits<double>::quiet_NaN()).convert_to<std::string>(), "nan");
}

TEST(ConvertToStringTest, WritesIntegersInFull) {
  EXPECT_EQ(integer(0).convert_to<std::string>(), "0");
  EXPECT_EQ(integer(-1).convert_to<std::string>(), "-1");
  EXPECT_EQ(integer(INT64_MIN).convert_to<std::string>(), "-9223372036854775808");
  EXPECT_EQ(integer(INT64_MAX).convert_to<std::string>(), "9223372036854775807");
}

TEST(ConvertToFailureTest, ChangesNothing) {
  const data_t value = dataFromJson(R"(["a"])");
  failureOf([&] { value.convert_to<std::string>(); });
  EXPECT_EQ(toJson(value), R"(["a"])");
}

}  // namespace
}  // namespace tests
