// What is remembered of conversions between instants and timestamps.
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "parsers/InstantMemo.h"
#include "parsers/TimestampMemo.h"

namespace tests {
namespace {

using com::tallowmere::connectivity::plugins::InstantMemo;
using com::tallowmere::connectivity::plugins::TimestampMemo;

std::string textOf(const InstantMemo& memo, double millis) {
  const char* const text = memo.find(millis);
  return text ? text : "unknown";
}

TEST(InstantMemoTest, KnowsNothingAtFirst) {
  const InstantMemo memo;
  for (const double millis : {0.0, -0.0, 1.0, 1.6e12, std::numeric_limits<double>::quiet_NaN()})
    EXPECT_EQ(textOf(memo, millis), "unknown") << millis;
}

TEST(InstantMemoTest, GivesBackTheTextOfAnInstant) {
  InstantMemo memo;
  memo.keep(1600000000250.0, "2020-09-13T12:26:40.250Z");
  memo.keep(0.0, "1970-01-01T00:00:00.000Z");
  EXPECT_EQ(textOf(memo, 1600000000250.0), "2020-09-13T12:26:40.250Z");
  EXPECT_EQ(textOf(memo, 0.0), "1970-01-01T00:00:00.000Z");
}

TEST(InstantMemoTest, ConfusesNoTwoInstants) {
  InstantMemo memo;
  for (int second = 0; second < 10'000; ++second) {
    memo.keep(second * 1000.0, std::to_string(second));
    EXPECT_EQ(textOf(memo, second * 1000.0), std::to_string(second));
    EXPECT_EQ(textOf(memo, second * 1000.0 + 0.5), "unknown");
  }
  for (int second = 0; second < 10'000; ++second) {
    const std::string text = textOf(memo, second * 1000.0);
    EXPECT_TRUE(text == "unknown" || text == std::to_string(second));
  }
}

TEST(InstantMemoTest, PassesLongTextsOver) {
  InstantMemo memo;
  memo.keep(1.0, std::string(39, '9'));
  memo.keep(2.0, std::string(40, '9'));
  EXPECT_EQ(textOf(memo, 1.0), std::string(39, '9'));
  EXPECT_EQ(textOf(memo, 2.0), "unknown");
}

class TimestampMemoTest : public testing::Test {
 protected:
  void keep(const std::string& text, double seconds) { memo.keep(TimestampMemo::Key(text.c_str()), seconds); }

  /// The seconds, or -1 without.
  double secondsOf(const std::string& text) {
    const double* const seconds = memo.find(TimestampMemo::Key(text.c_str()));
    return seconds ? *seconds : -1;
  }

 private:
  TimestampMemo memo;
};

TEST_F(TimestampMemoTest, KnowsNothingAtFirst) {
  EXPECT_EQ(secondsOf(""), -1);
  EXPECT_EQ(secondsOf("2020-09-13T12:26:40.250Z"), -1);
}

TEST_F(TimestampMemoTest, GivesBackTheSecondsOfAText) {
  keep("2020-09-13T12:26:40.250Z", 1600000000.25);
  keep("2020-09-13T14:26:40.250+02:00", 7);
  EXPECT_EQ(secondsOf("2020-09-13T12:26:40.250Z"), 1600000000.25);
  EXPECT_EQ(secondsOf("2020-09-13T14:26:40.250+02:00"), 7);
}

TEST_F(TimestampMemoTest, ConfusesNoTwoTexts) {
  keep("2020-09-13T12:26:40.250Z", 1);
  EXPECT_EQ(secondsOf("2020-09-13T12:26:40.250"), -1);
  EXPECT_EQ(secondsOf("2020-09-13T12:26:40.250Z "), -1);
  EXPECT_EQ(secondsOf("2020-09-13T12:26:40.251Z"), -1);
  for (int number = 0; number < 10'000; ++number) keep(std::to_string(number), number);
  for (int number = 0; number < 10'000; ++number) {
    const double seconds = secondsOf(std::to_string(number));
    EXPECT_TRUE(seconds == -1 || seconds == number) << number;
  }
}

TEST_F(TimestampMemoTest, PassesLongTextsOver) {
  keep(std::string(31, '9'), 1);
  keep(std::string(32, '9'), 2);
  EXPECT_EQ(secondsOf(std::string(31, '9')), 1);
  EXPECT_EQ(secondsOf(std::string(32, '9')), -1);
}

}  // namespace
}  // namespace tests
