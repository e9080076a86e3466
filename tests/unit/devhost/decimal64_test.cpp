#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <ostream>

#include "connectivity/host_platform.h"
#include "devhost/devhost.h"

namespace {

std::string textOf(std::uint64_t bits) {
  char buffer[25];
  std::memset(buffer, '#', sizeof buffer);
  std::bit_cast<decimal64>(bits).toString(buffer);
  EXPECT_EQ(buffer[24], '#') << "only 24 bytes belong to the callee";
  return buffer;
}

struct Case {
  std::int64_t coefficient;
  int exponent;
  const char* text;
};

void PrintTo(const Case& each, std::ostream* out) {
  *out << each.coefficient << " * 10^" << each.exponent;
}

class Decimal64Test : public testing::TestWithParam<Case> {};

TEST_P(Decimal64Test, ReadsAsItsNumber) {
  const qel_value value = devhost::makeDecimal(GetParam().coefficient, GetParam().exponent);
  EXPECT_EQ(value.tag, 4u);
  EXPECT_EQ(textOf(value.payload), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Numbers, Decimal64Test,
                         testing::Values(Case{0, 0, "0"}, Case{0, -2, "0.00"}, Case{123, 0, "123"},
                                         Case{-123, -2, "-1.23"}, Case{5, -1, "0.5"}, Case{5, -5, "0.00005"},
                                         Case{5, -6, "5E-6"}, Case{123, 3, "1.23E+5"}, Case{7, 369, "7E+369"},
                                         Case{9'007'199'254'740'991, 0, "9007199254740991"},
                                         Case{9'007'199'254'740'992, 0, "9007199254740992"},
                                         Case{-9'999'999'999'999'999, -20, "-0.00009999999999999999"},
                                         Case{-9'999'999'999'999'999, -398, "-9.999999999999999E-383"},
                                         Case{9'999'999'999'999'999, 369, "9.999999999999999E+384"}));

struct BitsCase {
  std::uint64_t bits;
  const char* text;
};

void PrintTo(const BitsCase& each, std::ostream* out) {
  *out << each.text;
}

class Decimal64BitsTest : public testing::TestWithParam<BitsCase> {};

TEST_P(Decimal64BitsTest, ReadsTheBinaryIntegerEncoding) {
  EXPECT_EQ(textOf(GetParam().bits), GetParam().text);
}

// One, minus one tenth, the least coefficient of the long form, one digit too many for a coefficient, and what is no
// number.
INSTANTIATE_TEST_SUITE_P(Bits, Decimal64BitsTest,
                         testing::Values(BitsCase{0x31C0000000000001, "1"}, BitsCase{0xB1A0000000000001, "-0.1"},
                                         BitsCase{0x6C70000000000000, "9007199254740992"},
                                         BitsCase{0x6C77FFFFFFFFFFFF, "0"}, BitsCase{0x7800000000000000, "Infinity"},
                                         BitsCase{0xF800000000000000, "-Infinity"}, BitsCase{0x7C00000000000000, "NaN"},
                                         BitsCase{0xFE00000000000000, "NaN"}));

}  // namespace
