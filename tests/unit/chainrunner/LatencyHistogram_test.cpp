#include "chainrunner/LatencyHistogram.h"

#include <gtest/gtest.h>

namespace chainrunner {
namespace {

TEST(LatencyHistogramTest, IsZeroWithoutDurations) {
  const LatencyHistogram histogram;
  EXPECT_EQ(histogram.quantile(0.5), 0);
  EXPECT_EQ(histogram.maximum(), 0);
}

TEST(LatencyHistogramTest, TellsQuantilesWithinTwoPercent) {
  LatencyHistogram histogram;
  for (int i = 1; i <= 1000; ++i) histogram.add(i * 0.001);
  EXPECT_EQ(histogram.count(), 1000U);
  EXPECT_NEAR(histogram.quantile(0.5), 0.5, 0.5 * 0.021);
  EXPECT_NEAR(histogram.quantile(0.9), 0.9, 0.9 * 0.021);
  EXPECT_NEAR(histogram.quantile(0.99), 0.99, 0.99 * 0.021);
  EXPECT_EQ(histogram.quantile(1), 1.0);
  EXPECT_EQ(histogram.maximum(), 1.0);
}

TEST(LatencyHistogramTest, HoldsTheSmallestAndTheGreatest) {
  LatencyHistogram histogram;
  histogram.add(0);
  histogram.add(1e9);
  EXPECT_LE(histogram.quantile(0.5), 1e-6);
  EXPECT_EQ(histogram.maximum(), 1e9);
}

}  // namespace
}  // namespace chainrunner
