#include "tests/unit/devhost/BalanceTest.h"

using namespace values;

class ListBlockTest : public BalanceTest {};

TEST_F(ListBlockTest, NewListIsEmptyAndHasTheRoomAskedFor) {
  list_header* block = qel_allocate_vector(5);
  EXPECT_EQ(block->count, 0u);
  EXPECT_EQ(block->capacity, 5u);
  qel_free_vector(block);
}

TEST_F(ListBlockTest, GrowthKeepsTheLiveElements) {
  list_header* block = listOf(list({string("a"), string("b")}));
  block = qel_reallocate_vector(block, 1000);
  const qel_value value{reinterpret_cast<std::uint64_t>(block), QEL_LIST, 0};
  EXPECT_EQ(block->count, 2u);
  EXPECT_EQ(block->capacity, 1000u);
  EXPECT_EQ(textOf(elementOf(value, 0)), "a");
  EXPECT_EQ(textOf(elementOf(value, 1)), "b");
  elementOf(value, 999) = empty();
  release(value);
}

TEST_F(ListBlockTest, ShrinkingKeepsTheLiveElements) {
  list_header* block = qel_reallocate_vector(listOf(list({string("a"), string("b"), string("c")})), 2);
  const qel_value value{reinterpret_cast<std::uint64_t>(block), QEL_LIST, 0};
  EXPECT_EQ(block->count, 3u);
  EXPECT_EQ(block->capacity, 3u);
  EXPECT_EQ(textOf(elementOf(value, 2)), "c");
  release(value);
}
