#include "codec/EWMA.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/unit/codec/CodecParts.h"

namespace tests {
namespace {

double after(EWMA average, std::initializer_list<double> samples) {
  for (const double sample : samples) average.update(sample);
  return average.getValue();
}

TEST(EWMATest, StartsAtZeroOrAtTheGivenValue) {
  EXPECT_EQ(EWMA(0.5).getValue(), 0.0);
  EXPECT_EQ(EWMA(0.5).getInitialValue(), 0.0);
  EXPECT_EQ(EWMA(0.5, 7.0).getValue(), 7.0);
  EXPECT_EQ(EWMA(0.5, 7.0).getInitialValue(), 7.0);
}

TEST(EWMATest, TakesTheFirstSampleWhole) {
  EXPECT_EQ(after(EWMA(0.1), {100.0}), 100.0);
}

TEST(EWMATest, WeighsLaterSamplesByTheCoefficient) {
  EXPECT_DOUBLE_EQ(after(EWMA(0.5), {100.0, 200.0}), 150.0);
  EXPECT_DOUBLE_EQ(after(EWMA(0.1), {100.0, 200.0}), 110.0);
  EXPECT_DOUBLE_EQ(after(EWMA(0.25, 8.0), {16.0, 2.0}), 8.0);
}

TEST(EWMATest, StaysAtZeroWithASampleOfZeroAndTakesTheNextOneWhole) {
  EXPECT_EQ(after(EWMA(0.5), {0.0}), 0.0);
  EXPECT_EQ(after(EWMA(0.5), {0.0, 80.0}), 80.0);
}

TEST(EWMATest, TakesTheNextSampleWholeWhenTheAverageCameBackToZero) {
  EXPECT_EQ(after(EWMA(0.5), {4.0, -4.0, 10.0}), 10.0);
}

TEST(EWMATest, RefusesACoefficientOutsideZeroToOne) {
  for (const double coefficient : {0.0, 1.0, -0.5, 1.5, std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_EQ(thrownBy([&] { EWMA average(coefficient); }), "EWMA coefficient must be between 0 and 1 (exclusive)")
        << coefficient;
  }
}

TEST(EWMATest, AcceptsTheCoefficientsNextToTheBounds) {
  EXPECT_EQ(after(EWMA(std::nextafter(0.0, 1.0)), {3.0}), 3.0);
  EXPECT_EQ(after(EWMA(std::nextafter(1.0, 0.0)), {3.0}), 3.0);
}

}  // namespace
}  // namespace tests
