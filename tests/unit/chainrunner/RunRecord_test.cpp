#include "chainrunner/RunRecord.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <string>
#include <thread>

namespace chainrunner {
namespace {

using Counts = std::map<std::string, std::uint64_t>;

TEST(RunRecordTest, BeginsWithNothing) {
  const RunCounts counts = RunRecord().counts();
  EXPECT_TRUE(counts.eventsIn.empty() && counts.eventsOut.empty() && counts.answers.empty());
  EXPECT_EQ(counts.refusedLines + counts.requests + counts.retries + counts.latencies.count(), 0U);
}

TEST(RunRecordTest, CountsEachThingByItself) {
  RunRecord record;
  for (const char* type : {"a", "b", "a"}) record.countEventIn(type);
  for (const char* type : {"b", "c"}) record.countEventOut(type);
  for (int n = 0; n < 2; ++n) record.countRefusedLine();
  for (int n = 0; n < 3; ++n) record.countRequest();
  for (int n = 0; n < 4; ++n) record.countRetry();
  record.countAnswer("200", 0.5);
  record.countAnswer("504 transport/timeout", 2);
  record.countAnswer("200", 1);

  const RunCounts counts = record.counts();
  EXPECT_EQ(counts.eventsIn, (Counts{{"a", 2}, {"b", 1}}));
  EXPECT_EQ(counts.eventsOut, (Counts{{"b", 1}, {"c", 1}}));
  EXPECT_EQ(counts.answers, (Counts{{"200", 2}, {"504 transport/timeout", 1}}));
  EXPECT_EQ(counts.refusedLines, 2U);
  EXPECT_EQ(counts.requests, 3U);
  EXPECT_EQ(counts.retries, 4U);
  EXPECT_EQ(counts.latencies.count(), 3U);
  EXPECT_EQ(counts.latencies.maximum(), 2);
  EXPECT_EQ(RunCounts::sum(counts.eventsIn), 3U);
}

/// Counts whole stories, each from its event to what came of it.
void countStories(RunRecord& record, int stories) {
  for (int n = 0; n < stories; ++n) {
    record.countEventIn("t");
    record.countRequest();
    record.countRetry();
    record.countAnswer("200", 0.1);
    record.countEventOut("t");
    record.countRefusedLine();
  }
}

TEST(RunRecordTest, LosesNothingWhenTwoThreadsCount) {
  constexpr int stories = 20'000;
  RunRecord record;
  std::thread other([&] { countStories(record, stories); });
  countStories(record, stories);
  other.join();
  const RunCounts counts = record.counts();
  EXPECT_EQ(counts.eventsIn, (Counts{{"t", 2 * stories}}));
  EXPECT_EQ(counts.eventsOut, (Counts{{"t", 2 * stories}}));
  EXPECT_EQ(counts.answers, (Counts{{"200", 2 * stories}}));
  EXPECT_EQ(counts.requests, 2U * stories);
  EXPECT_EQ(counts.retries, 2U * stories);
  EXPECT_EQ(counts.refusedLines, 2U * stories);
  EXPECT_EQ(counts.latencies.count(), 2U * stories);
}

TEST(RunRecordTest, HasCountedWhatLedToEachThingCounted) {
  RunRecord record;
  std::atomic<bool> isOver{false};
  std::thread counter([&] {
    while (!isOver) countStories(record, 100);
  });
  // Until the counter has run beside the reader for long enough.
  RunCounts counts;
  while (counts.requests < 50'000) {
    counts = record.counts();
    const std::uint64_t in = RunCounts::sum(counts.eventsIn), out = RunCounts::sum(counts.eventsOut);
    const std::uint64_t answers = RunCounts::sum(counts.answers);
    if (out > answers || answers > counts.requests || counts.requests > in || counts.latencies.count() != answers) {
      ADD_FAILURE() << in << " in, " << counts.requests << " requests, " << answers << " answers, " << out << " out";
      break;
    }
  }
  isOver = true;
  counter.join();
}

}  // namespace
}  // namespace chainrunner
