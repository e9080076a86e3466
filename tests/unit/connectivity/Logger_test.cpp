#include "connectivity/Logger.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/TestHost.h"

namespace tests {
namespace {

using com::tallowmere::connectivity10_15_4::Level;
using com::tallowmere::connectivity10_15_4::Logger;
using Lines = std::vector<std::string>;

constexpr const char* category = "connectivity.MarlovanceCodec.c1";

static_assert(sizeof(Logger) == 2 * sizeof(std::string) + 8);  // category, prefix, level

/// What was logged: level, category, format and text of each line.
Lines logged() {
  Lines lines;
  for (const LogLine& line : TestHost::drain()) {
    lines.push_back(std::to_string(line.level) + " " + line.category + " | " + line.format + " | " + line.text);
  }
  return lines;
}

Logger loggerAt(std::int32_t level) {
  TestHost::setLogLevel(level);
  return Logger(category);
}

TEST(LoggerTest, AsksForItsLevelOnce) {
  const Logger logger = loggerAt(3);
  logger.warn("one");
  logger.isDebugEnabled();
  EXPECT_EQ(TestHost::categoriesAsked(), (Lines{category}));
}

TEST(LoggerTest, KeepsTheLevelThatItBeganWith) {
  const Logger quiet = loggerAt(3);
  TestHost::setLogLevel(5);
  quiet.debug("unheard");
  EXPECT_FALSE(quiet.isDebugEnabled());
  const Logger verbose = loggerAt(5);
  TestHost::setLogLevel(2);
  verbose.debug("heard");
  EXPECT_EQ(logged(),
            (Lines{"5 connectivity.MarlovanceCodec.c1 | <%s> heard | <connectivity.MarlovanceCodec.c1> heard"}));
}

TEST(LoggerTest, WritesEachLevelUnderItsNumber) {
  const Logger logger = loggerAt(5);
  logger.error("a");
  logger.warn("b");
  logger.info("c");
  logger.debug("d");
  logger.log(Level::info, "e");
  std::vector<std::int32_t> levels;
  for (const LogLine& line : TestHost::drain()) levels.push_back(line.level);
  EXPECT_EQ(levels, (std::vector<std::int32_t>{2, 3, 4, 5, 4}));
}

class LoggerLevelTest : public testing::TestWithParam<std::int32_t> {};

TEST_P(LoggerLevelTest, WritesWhatItReaches) {
  const Logger logger = loggerAt(GetParam());
  logger.error("error");
  logger.warn("warn");
  logger.info("info");
  logger.debug("debug");
  Lines expected{"error", "warn", "info", "debug"};
  expected.resize(static_cast<std::size_t>(std::min(std::max(GetParam() - 1, 0), 4)));
  Lines written;
  for (const LogLine& line : TestHost::drain()) written.push_back(line.format.substr(5));
  EXPECT_EQ(written, expected);
  EXPECT_EQ(logger.isDebugEnabled(), GetParam() >= 5);
}

INSTANTIATE_TEST_SUITE_P(Levels, LoggerLevelTest, testing::Values(0, 1, 2, 3, 4, 5, 6));

TEST(LoggerTest, PutsItsCategoryAtTheHeadOfALineWithoutArguments) {
  loggerAt(3).warn("no arguments");
  EXPECT_EQ(logged(), (Lines{"3 connectivity.MarlovanceCodec.c1 | <%s> no arguments | "
                             "<connectivity.MarlovanceCodec.c1> no arguments"}));
}

TEST(LoggerTest, PassesArgumentsOnBehindTheCategory) {
  loggerAt(3).warn("%s %d %f %li %lu %I64d %I64u", "text", 1, 0.5, -2L, 3UL, std::int64_t{-4}, std::uint64_t{5});
  EXPECT_EQ(logged(), (Lines{"3 connectivity.MarlovanceCodec.c1 | <%s> %s %d %f %li %lu %I64d %I64u | "
                             "<connectivity.MarlovanceCodec.c1> text 1 0.500000 -2 3 -4 5"}));
}

TEST(LoggerTest, TakesAPercentSignInAnArgumentAsItIs) {
  loggerAt(3).warn("text: %s", "100% %s %n");
  EXPECT_EQ(logged(), (Lines{"3 connectivity.MarlovanceCodec.c1 | <%s> text: %s | "
                             "<connectivity.MarlovanceCodec.c1> text: 100% %s %n"}));
}

TEST(LoggerTest, TakesAPercentSignInItsCategoryAsItIs) {
  TestHost::setLogLevel(3);
  Logger("odd.%s.%n").warn("line");
  EXPECT_EQ(logged(), (Lines{"3 odd.%s.%n | <%s> line | <odd.%s.%n> line"}));
}

TEST(LoggerTest, CallsNobodyForALineThatIsNotWritten) {
  const Logger logger = loggerAt(3);
  TestHost::forgetCalls();
  logger.info("unheard %s", "text");
  for (std::size_t call = 0; call < hostCallCount; ++call) {
    EXPECT_EQ(TestHost::calls(static_cast<HostCall>(call)), 0u) << "host call number " << call;
  }
}

TEST(LoggerTest, TouchesNeitherFormatNorArgumentsOfALineThatIsNotWritten) {
  const char* nothing = nullptr;
  loggerAt(3).info(nothing, nothing);
  EXPECT_TRUE(TestHost::logs().empty());
}

TEST(LoggerTest, ServesSeveralThreads) {
  const Logger logger = loggerAt(3);
  const auto write = [&] {
    for (int line = 0; line < 200; ++line) logger.warn("%d", line);
  };
  std::thread one(write), other(write);
  one.join();
  other.join();
  EXPECT_EQ(TestHost::logs().size(), 400u);
}

}  // namespace
}  // namespace tests
