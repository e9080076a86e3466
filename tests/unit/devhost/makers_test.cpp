#include <stdexcept>

#include "tests/unit/devhost/BalanceTest.h"

using namespace values;

class MakersTest : public BalanceTest {};

TEST_F(MakersTest, BufferHoldsACopyOfTheBytes) {
  char bytes[] = {'\x00', '\x7F', '\xFF'};
  const qel_value buffer = devhost::makeBuffer(bytes, sizeof bytes);
  bytes[0] = 'x';
  EXPECT_EQ(buffer.tag, 8u);
  EXPECT_EQ(bytesOf(buffer), std::string("\x00\x7F\xFF", 3));
  release(buffer);
}

TEST_F(MakersTest, BufferMayBeEmpty) {
  const qel_value buffer = devhost::makeBuffer(nullptr, 0);
  EXPECT_EQ(bufferOf(buffer)->length, 0u);
  release(buffer);
}

TEST_F(MakersTest, CustomObjectIsFoundAgain) {
  const qel_value value = custom(7);
  EXPECT_EQ(value.tag, 9u);
  EXPECT_EQ(numberOf(value), 7);
  release(value);
}

TEST_F(MakersTest, OtherValuesHaveNoCustomObject) {
  EXPECT_EQ(devhost::customObject(integer(7)), nullptr);
  EXPECT_EQ(devhost::customObject({0, QEL_CUSTOM, 0}), nullptr);
}

TEST_F(MakersTest, DecimalRefusesASeventeenthDigit) {
  try {
    devhost::makeDecimal(-10'000'000'000'000'000, 0);
    FAIL() << "made";
  } catch (const std::out_of_range& error) {
    EXPECT_STREQ(error.what(), "A decimal has at most 16 digits, not -10000000000000000");
  }
}

TEST_F(MakersTest, DecimalRefusesAnExponentOutOfItsRange) {
  for (int exponent : {-399, 370}) {
    try {
      devhost::makeDecimal(1, exponent);
      FAIL() << "made";
    } catch (const std::out_of_range& error) {
      EXPECT_EQ(error.what(), "A decimal's exponent lies within -398 and 369, not " + std::to_string(exponent));
    }
  }
}
