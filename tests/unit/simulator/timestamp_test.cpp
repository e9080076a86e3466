#include "simulator/timestamp.h"

#include <gtest/gtest.h>

namespace simulator {
namespace {

struct Case {
  const char* name;
  const char* text;
  std::int64_t milliseconds;
};

class TimestampTest : public ::testing::TestWithParam<Case> {};

TEST_P(TimestampTest, IsReadAsItsMoment) {
  const std::optional<Moment> moment = parseTimestamp(GetParam().text);
  ASSERT_TRUE(moment.has_value());
  EXPECT_EQ(moment->time_since_epoch().count(), GetParam().milliseconds);
}

INSTANTIATE_TEST_SUITE_P(Forms, TimestampTest,
                         ::testing::Values(Case{"Utc", "2020-09-13T12:26:40.250Z", 1600000000250},
                                           Case{"Offset", "2020-09-13T14:26:40.250+02:00", 1600000000250},
                                           Case{"NegativeOffset", "2020-09-13T06:56:40.250-05:30", 1600000000250},
                                           Case{"OffsetWithoutColon", "2020-09-13T14:26:40.250+0200", 1600000000250},
                                           Case{"OffsetOfHours", "2020-09-13T14:26:40.250+02", 1600000000250},
                                           Case{"WithoutDecimals", "2020-09-13T12:26:40Z", 1600000000000},
                                           Case{"OneDecimal", "2020-09-13T12:26:40.2Z", 1600000000200},
                                           Case{"NineDecimals", "2020-09-13T12:26:40.250999999Z", 1600000000250},
                                           Case{"LeapDay", "2024-02-29T00:00:00Z", 1709164800000},
                                           Case{"BeforeTheEpoch", "1969-12-31T23:59:59.999Z", -1}),
                         [](const auto& row) { return std::string(row.param.name); });

class NoTimestampTest : public ::testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(NoTimestampTest, IsRefused) {
  EXPECT_FALSE(parseTimestamp(GetParam().second));
}

INSTANTIATE_TEST_SUITE_P(
    Forms, NoTimestampTest,
    ::testing::Values(std::pair("Empty", ""), std::pair("Word", "yesterday"), std::pair("Number", "1600000000.25"),
                      std::pair("DateAlone", "2020-09-13"), std::pair("NoOffset", "2020-09-13T12:26:40"),
                      std::pair("NoSuchDay", "2023-02-29T00:00:00Z"), std::pair("MonthZero", "2020-00-13T12:26:40Z"),
                      std::pair("Hour24", "2020-09-13T24:00:00Z"), std::pair("Second60", "2020-09-13T12:26:60Z"),
                      std::pair("PointWithoutDigits", "2020-09-13T12:26:40.Z"),
                      std::pair("BlankInTheMiddle", "2020-09-13 12:26:40Z"),
                      std::pair("MoreBehind", "2020-09-13T12:26:40Zulu"),
                      std::pair("OffsetCutShort", "2020-09-13T12:26:40+0")),
    [](const auto& row) { return std::string(row.param.first); });

TEST(FormatTimestampTest, WritesMillisecondsAndZ) {
  EXPECT_EQ(formatTimestamp(Moment(std::chrono::milliseconds(1600000000250))), "2020-09-13T12:26:40.250Z");
  EXPECT_EQ(formatTimestamp(Moment(std::chrono::milliseconds(0))), "1970-01-01T00:00:00.000Z");
  EXPECT_EQ(formatTimestamp(Moment(std::chrono::milliseconds(-1))), "1969-12-31T23:59:59.999Z");
}

}  // namespace
}  // namespace simulator
