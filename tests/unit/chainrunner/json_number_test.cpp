#include "chainrunner/json_number.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>

namespace chainrunner {
namespace {

RC_GTEST_PROP(JsonNumberProperty, DecimalsAreTheNearestDoubles, ()) {
  std::string text = *rc::gen::elementOf(std::string("-+")) == '-' ? "-" : "";
  text += std::to_string(*rc::gen::inRange<std::int64_t>(0, 1'000'000'000)) + '.';
  for (int decimals = *rc::gen::inRange(1, 12); decimals > 0; --decimals)
    text += static_cast<char>('0' + *rc::gen::inRange(0, 10));
  RC_ASSERT(doubleOf(text).value() == std::strtod(text.c_str(), nullptr));
}

TEST(JsonNumberTest, ReadsDecimalsOnBothSidesOfTheShortWay) {
  EXPECT_EQ(doubleOf("1775001600.0001").value(), 1775001600.0001);
  EXPECT_EQ(doubleOf("99999999999999.9").value(), 99999999999999.9);
  EXPECT_EQ(doubleOf("0.0000000000001").value(), 1e-13);
  EXPECT_EQ(doubleOf("0.00000000000001").value(), 1e-14);
  EXPECT_EQ(doubleOf("123456789012345678901234567890").value(), 123456789012345678901234567890.0);
}

TEST(JsonNumberTest, ReadsExponentsOfShortNumbers) {
  EXPECT_EQ(doubleOf("1.5e3").value(), 1500);
  EXPECT_EQ(doubleOf("-25E-1").value(), -2.5);
}

TEST(JsonNumberTest, KeepsTheSignOfZero) {
  EXPECT_TRUE(std::signbit(doubleOf("-0.0").value()));
  EXPECT_FALSE(std::signbit(doubleOf("0.0").value()));
}

TEST(JsonNumberTest, TellsTooLargeFromTooSmall) {
  EXPECT_FALSE(doubleOf("1e9223372036854775807").has_value());
  EXPECT_EQ(doubleOf("0.001e-9223372036854775807").value(), 0.0);
}

}  // namespace
}  // namespace chainrunner
