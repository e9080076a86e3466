#include "connectivity/barrier.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/TestHost.h"

namespace tests {
namespace {

using namespace com::tallowmere::connectivity10_15_4;

/// Level and text of each line that was logged.
std::vector<std::string> logged() {
  std::vector<std::string> lines;
  for (const LogLine& line : TestHost::drain()) lines.push_back(std::to_string(line.level) + " " + line.text);
  return lines;
}

using Lines = std::vector<std::string>;

class BarrierTest : public testing::Test {
 protected:
  Logger logger{"category"};
};

TEST_F(BarrierTest, AnswersZeroAndSaysNothingWhenAllIsWell) {
  bool ran = false;
  EXPECT_EQ(guarded(logger, Level::warn, "label", [&] { ran = true; }), 0);
  EXPECT_TRUE(ran);
  EXPECT_EQ(logged(), Lines{});
}

TEST_F(BarrierTest, ReportsAnExceptionWithItsText) {
  EXPECT_EQ(guarded(logger, Level::warn, "label", [] { throw std::runtime_error("the text"); }), 1);
  EXPECT_EQ(logged(), (Lines{"3 <category> Exception from label: the text"}));
}

TEST_F(BarrierTest, ReportsEveryKindOfStandardException) {
  EXPECT_EQ(guarded(logger, Level::error, "label", [] { throw std::bad_alloc(); }), 1);
  EXPECT_EQ(guarded(logger, Level::error, "label", [] { throw std::logic_error("wrong"); }), 1);
  EXPECT_EQ(logged(),
            (Lines{"2 <category> Exception from label: std::bad_alloc", "2 <category> Exception from label: wrong"}));
}

TEST_F(BarrierTest, ReportsWhatIsNoStandardException) {
  EXPECT_EQ(guarded(logger, Level::error, "label", [] { throw 5; }), 1);
  EXPECT_EQ(guarded(logger, Level::warn, "label", [] { throw "words"; }), 1);
  EXPECT_EQ(logged(),
            (Lines{"2 <category> Unknown exception from label", "3 <category> Unknown exception from label"}));
}

TEST_F(BarrierTest, LogsByTheseFormats) {
  guarded(logger, Level::warn, "label", [] { throw std::runtime_error("100% %s"); });
  guarded(logger, Level::warn, "label", [] { throw 5; });
  const std::vector<LogLine> lines = TestHost::drain();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].format, "<%s> Exception from %s: %s");
  EXPECT_EQ(lines[0].text, "<category> Exception from label: 100% %s");
  EXPECT_EQ(lines[1].format, "<%s> Unknown exception from %s");
}

TEST_F(BarrierTest, AnswersOneThoughTheLineIsNotWritten) {
  TestHost::setLogLevel(2);
  const Logger quiet("category");
  EXPECT_EQ(guarded(quiet, Level::warn, "label", [] { throw std::runtime_error("x"); }), 1);
  EXPECT_EQ(logged(), Lines{});
}

TEST_F(BarrierTest, LetsNoFailureOfTheLogOut) {
  TestHost::throwFrom(HostCall::qel_log_at, [] { throw std::runtime_error("disk full"); });
  EXPECT_EQ(guarded(logger, Level::warn, "label", [] { throw std::runtime_error("x"); }), 1);
  TestHost::throwFrom(HostCall::qel_log_at, [] { throw 5; });
  EXPECT_EQ(guarded(logger, Level::warn, "label", [] { throw 6; }), 1);
}

TEST_F(BarrierTest, SwallowsWhateverIsThrown) {
  bool ran = false;
  swallow([&] { ran = true; });
  swallow([] { throw std::runtime_error("x"); });
  swallow([] { throw 5; });
  EXPECT_TRUE(ran);
  EXPECT_EQ(logged(), Lines{});
}

}  // namespace
}  // namespace tests
