#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

#include "connectivity/host_platform.h"

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

std::string textOf(double number) {
  char buffer[33];
  std::memset(buffer, '#', sizeof buffer);
  Platform::float64ToChar8(buffer, number);
  EXPECT_EQ(buffer[32], '#') << "only 32 bytes belong to the callee";
  return buffer;
}

struct Parsed {
  double number;
  std::string rest;
};

Parsed parse(const char* text) {
  const char* end = nullptr;
  const double number = Platform::char8ToFloat64(text, &end);
  return {number, end};
}

TEST(Float64ToChar8Test, WritesTheShortestTextThatReadsBack) {
  EXPECT_EQ(textOf(0.1), "0.1");
  EXPECT_EQ(textOf(1.0), "1");
  EXPECT_EQ(textOf(-0.0), "-0");
  EXPECT_EQ(textOf(1700000000.123), "1700000000.123");
  EXPECT_EQ(textOf(1.0 / 3), "0.3333333333333333");
  EXPECT_EQ(textOf(1e300), "1e+300");
  EXPECT_EQ(textOf(-2.2250738585072014e-308), "-2.2250738585072014e-308");
  EXPECT_EQ(textOf(infinity), "inf");
  EXPECT_EQ(textOf(std::numeric_limits<double>::quiet_NaN()), "nan");
}

TEST(Float64ToChar8Test, EveryNumberReadsBackTheSame) {
  std::uint64_t bits = 1;
  for (int i = 0; i < 10'000; ++i) {
    bits = bits * 6364136223846793005u + 1442695040888963407u;
    const double number = std::bit_cast<double>(bits);
    if (std::isnan(number)) continue;
    const Parsed parsed = parse(textOf(number).c_str());
    EXPECT_EQ(parsed.number, number);
    EXPECT_EQ(parsed.rest, "");
  }
}

TEST(Char8ToFloat64Test, TellsWhereTheNumberEnds) {
  EXPECT_EQ(parse("12.5abc").number, 12.5);
  EXPECT_EQ(parse("12.5abc").rest, "abc");
  EXPECT_EQ(parse("-1e3").number, -1000.0);
  EXPECT_EQ(parse("-1e3").rest, "");
  EXPECT_EQ(parse("1e").rest, "e");
  EXPECT_EQ(parse("1,5").rest, ",5");
}

TEST(Char8ToFloat64Test, TakesAPlusSign) {
  EXPECT_EQ(parse("+2.5").number, 2.5);
  EXPECT_EQ(parse("+2.5").rest, "");
}

TEST(Char8ToFloat64Test, ConsumesNothingWhereNoNumberStands) {
  for (const char* text : {"", "abc", " 1", "+", "-", "+-1", "++1", "."}) {
    EXPECT_EQ(parse(text).number, 0) << text;
    EXPECT_EQ(parse(text).rest, text);
  }
}

TEST(Char8ToFloat64Test, NumbersOutOfRangeRoundToInfinityOrZero) {
  EXPECT_EQ(parse("1e999").number, infinity);
  EXPECT_EQ(parse("-1e999x").number, -infinity);
  EXPECT_EQ(parse("-1e999x").rest, "x");
  EXPECT_EQ(parse("1e-999").number, 0);
}

TEST(RelativeHighResTimeTest, NeverRunsBackwards) {
  double last = Platform::relativeHighResTimeFloat();
  for (int i = 0; i < 10'000; ++i) {
    const double now = Platform::relativeHighResTimeFloat();
    ASSERT_GE(now, last);
    last = now;
  }
}

TEST(RelativeHighResTimeTest, ResolvesMicroseconds) {
  const double start = Platform::relativeHighResTimeFloat();
  double later = start;
  while (later == start) later = Platform::relativeHighResTimeFloat();
  // The clock's own step, whatever else the machine does between two readings of many.
  double least = later - start;
  for (int i = 0; i < 10'000; ++i) {
    const double from = Platform::relativeHighResTimeFloat();
    const double to = Platform::relativeHighResTimeFloat();
    if (to > from) least = std::min(least, to - from);
  }
  EXPECT_LT(least, 1e-4);
}

TEST(KvFreeTest, FreesWhatTheHostAllocated) {
  Platform::kv_free(kv_malloc(100));
  Platform::kv_free(nullptr);
}

}  // namespace
