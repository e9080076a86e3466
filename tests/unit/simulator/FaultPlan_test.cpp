#include "simulator/FaultPlan.h"

#include <gtest/gtest.h>

namespace simulator {
namespace {

/// One digit for each call: the first digit of the status of the rule that hit it, or '-'.
std::string hits(FaultPlan& plan, int calls, const std::string& method = "GET",
                 const std::string& path = "/alarm/alarms") {
  std::string pattern;
  for (int call = 0; call < calls; ++call) {
    const std::optional<Fault> fault = plan.next(method, path);
    pattern += fault ? static_cast<char>('0' + fault->status / 100) : '-';
  }
  return pattern;
}

TEST(FaultPlanTest, EmptyPlanHitsNothing) {
  FaultPlan plan;
  EXPECT_EQ(hits(plan, 3), "---");
}

TEST(FaultPlanTest, HitsOnceByDefault) {
  FaultPlan plan;
  plan.add({.status = 503});
  EXPECT_EQ(hits(plan, 3), "5--");
}

TEST(FaultPlanTest, LetsCallsPassAndHitsSoManyTimes) {
  FaultPlan plan;
  plan.add({.skip = 2, .times = 3, .status = 503});
  EXPECT_EQ(hits(plan, 7), "--555--");
}

TEST(FaultPlanTest, ZeroTimesIsNoLimit) {
  FaultPlan plan;
  plan.add({.times = 0, .status = 503});
  EXPECT_EQ(hits(plan, 5), "55555");
}

TEST(FaultPlanTest, MatchesMethodAndHeadOfPath) {
  FaultPlan plan;
  plan.add({.method = "PUT", .path = "/alarm", .times = 0, .status = 503});
  EXPECT_EQ(hits(plan, 1, "PUT", "/alarm/alarms/7"), "5");
  EXPECT_EQ(hits(plan, 1, "GET", "/alarm/alarms/7"), "-");
  EXPECT_EQ(hits(plan, 1, "PUT", "/event/events"), "-");
}

TEST(FaultPlanTest, OtherCallsAreNotCounted) {
  FaultPlan plan;
  plan.add({.method = "POST", .skip = 1, .status = 503});
  EXPECT_EQ(hits(plan, 3, "GET"), "---");
  EXPECT_EQ(hits(plan, 3, "POST"), "-5-");
}

TEST(FaultPlanTest, RulesTakeTurnsInTheirOrder) {
  FaultPlan plan;
  plan.add({.times = 2, .status = 503});
  plan.add({.times = 1, .status = 404});
  EXPECT_EQ(hits(plan, 4), "554-");
}

TEST(FaultPlanTest, SkipCountsCallsThatAnotherRuleHit) {
  FaultPlan plan;
  plan.add({.times = 2, .status = 503});
  plan.add({.skip = 3, .times = 1, .status = 404});
  EXPECT_EQ(hits(plan, 5), "55-4-");
}

TEST(FaultPlanTest, SameSeedHitsTheSameCalls) {
  FaultPlan first;
  first.add({.times = 0, .probability = 0.5, .seed = 7, .status = 503});
  FaultPlan second;
  second.add({.times = 0, .probability = 0.5, .seed = 7, .status = 503});
  const std::string pattern = hits(first, 100);
  EXPECT_EQ(hits(second, 100), pattern);
  EXPECT_NE(pattern.find('5'), std::string::npos);
  EXPECT_NE(pattern.find('-'), std::string::npos);
}

TEST(FaultPlanTest, DrawsDoNotDependOnRulesAhead) {
  FaultPlan alone;
  alone.add({.times = 0, .probability = 0.5, .seed = 7, .status = 503});
  FaultPlan second;
  second.add({.times = 10, .status = 404});
  second.add({.times = 0, .probability = 0.5, .seed = 7, .status = 503});
  EXPECT_EQ(hits(second, 100).substr(10), hits(alone, 100).substr(10));
}

TEST(FaultPlanTest, ProbabilityZeroNeverHits) {
  FaultPlan plan;
  plan.add({.times = 0, .probability = 0, .status = 503});
  EXPECT_EQ(hits(plan, 50), std::string(50, '-'));
}

TEST(FaultPlanTest, TellsWhatItSawAndHit) {
  FaultPlan plan;
  plan.add({.skip = 1, .times = 1, .status = 503});
  hits(plan, 4);
  ASSERT_EQ(plan.states().size(), 1u);
  EXPECT_EQ(plan.states()[0].seen, 4u);
  EXPECT_EQ(plan.states()[0].hits, 1u);
}

}  // namespace
}  // namespace simulator
