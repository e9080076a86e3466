// What goes with a value when it is freed. The fixture's balance is the proof.
#include <cstdint>
#include <string>
#include <thread>

#include "tests/unit/devhost/BalanceTest.h"

using namespace values;

class FreeTest : public BalanceTest {};

TEST_F(FreeTest, NullDoesNothing) {
  qel_free_map(nullptr);
  qel_free_vector(nullptr);
  qel_free_string(nullptr);
  qel_free_buffer(nullptr);
  qel_free_custom(nullptr);
}

TEST_F(FreeTest, MapTakesNameKeysAndValuesWithIt) {
  const qel_value value = map(8, "name");
  occupy(value, 0, 0, string("hash zero"), string("a"));
  occupy(value, 1, 1, string("hash one"), devhost::makeBuffer("b", 1));
  occupy(value, 2, 0x243FCAF1, empty(), string("of the empty key"));
  occupy(value, 3, 3, list({string("in a key")}), custom(3));
  entomb(value, 4);
  qel_free_map(mapOf(value));
}

TEST_F(FreeTest, ListTakesItsLiveElementsWithIt) {
  const qel_value value = list({string("a"), list({custom(1)}), map(8), devhost::makeBuffer("", 0)});
  elementOf(value, 4) = {0x1234, QEL_STRING, 0};
  qel_free_vector(listOf(value));
}

TEST_F(FreeTest, BorrowedStringsAreLeftAlone) {
  std::string lender = "lent";
  qel_free_vector(listOf(list({borrowed(lender.c_str())})));
  EXPECT_EQ(lender, "lent");
}

TEST_F(FreeTest, ContainersWithoutBlockInsideAreNothing) {
  qel_free_vector(listOf(list({{0, QEL_LIST, 0}, {0, QEL_MAP, 0}, {0, QEL_BUFFER, 0}, {0, QEL_CUSTOM, 0}})));
}

TEST_F(FreeTest, UnknownTagsOwnNothing) {
  qel_free_vector(listOf(list({{0x1234, 11, 0}})));
}

TEST_F(FreeTest, DepthOfNestingDoesNotMatter) {
  release(nested(100'000, custom(1)));
}

TEST_F(FreeTest, AnotherThreadMayFreeTheBlock) {
  const qel_value value = list({string("made here"), map(8, "name")});
  std::thread([&value] { release(value); }).join();
}

TEST_F(FreeTest, AnotherThreadMayFreeWhateverIsInside) {
  const std::string longText(5000, 'x');
  const qel_value inner = map(8, "inner");
  for (std::uint64_t slot = 0; slot < 8; ++slot) occupy(inner, slot, slot + 2, string("key"), string("value"));
  const qel_value value = map(16, "outer");
  occupy(value, 0, 0, string("hash zero"), inner);
  occupy(value, 5, 5, devhost::makeBuffer("b", 1), string(longText.c_str()));
  occupy(value, 6, 6, list({string("in a key"), empty(), list({})}), custom(3));
  occupy(value, 15, 7, borrowed("lent"), list({string("a"), string("b"), string(longText.c_str()), string("d")}));
  entomb(value, 9);
  std::thread([&value] { release(value); }).join();
  EXPECT_EQ(liveCustomObjects(), 0);
}
