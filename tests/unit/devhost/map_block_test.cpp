#include "tests/unit/devhost/BalanceTest.h"

using namespace values;

class MapBlockTest : public BalanceTest {};

TEST_F(MapBlockTest, NewTableHasFreeSlotsOnly) {
  for (std::uint64_t capacity : {8u, 9u, 1000u}) {
    map_header* block = qel_allocate_map(capacity);
    EXPECT_EQ(block->name, nullptr);
    EXPECT_EQ(block->count, 0u);
    EXPECT_EQ(block->capacity, capacity);
    EXPECT_EQ(block->tombstones, 0u);
    const std::string slots(reinterpret_cast<const char*>(block + 1), capacity * sizeof(map_slot));
    EXPECT_EQ(slots, std::string(capacity * sizeof(map_slot), '\0'));
    qel_free_map(block);
  }
}

namespace {

qel_value rebuilt(const qel_value& map, std::uint64_t capacity) {
  return {reinterpret_cast<std::uint64_t>(qel_reallocate_map(mapOf(map), capacity)), QEL_MAP, 0};
}

}  // namespace

TEST_F(MapBlockTest, RebuildAtTheSameSizePurgesTombstones) {
  qel_value value = map(8, "kept");
  entomb(value, 4);
  occupy(value, 5, 4, string("key"), string("value"));
  value = rebuilt(value, 8);
  EXPECT_STREQ(mapOf(value)->name, "kept");
  EXPECT_EQ(mapOf(value)->count, 1u);
  EXPECT_EQ(mapOf(value)->capacity, 8u);
  EXPECT_EQ(mapOf(value)->tombstones, 0u);
  EXPECT_EQ(slotOf(value, 4).hash, 4u);
  EXPECT_EQ(textOf(slotOf(value, 4).key), "key");
  EXPECT_EQ(textOf(slotOf(value, 4).value), "value");
  EXPECT_EQ(slotOf(value, 5).key.tag, 0u);
  EXPECT_EQ(slotOf(value, 5).hash, 0u);
  release(value);
}

TEST_F(MapBlockTest, EntriesGoToTheFirstFreeSlotFromTheirHashOn) {
  qel_value value = map(8);
  occupy(value, 1, 31, integer(1), integer(10));
  occupy(value, 2, 15, integer(2), integer(20));
  occupy(value, 3, 47, integer(3), integer(30));
  value = rebuilt(value, 16);
  // All three want slot 15: the first has it, the others wrap around.
  EXPECT_EQ(slotOf(value, 15).key.payload, 1u);
  EXPECT_EQ(slotOf(value, 0).key.payload, 2u);
  EXPECT_EQ(slotOf(value, 1).key.payload, 3u);
  EXPECT_EQ(slotOf(value, 1).hash, 47u);
  EXPECT_EQ(slotOf(value, 1).value.payload, 30u);
  release(value);
}

TEST_F(MapBlockTest, RebuildMaySmallenTheTable) {
  qel_value value = map(1000);
  occupy(value, 803, 803, string("key"), integer(1));
  value = rebuilt(value, 8);
  EXPECT_EQ(mapOf(value)->capacity, 8u);
  EXPECT_EQ(slotOf(value, 803 % 8).hash, 803u);
  release(value);
}

TEST_F(MapBlockTest, RebuildNeverLosesAnEntry) {
  qel_value value = map(32);
  for (std::uint64_t i = 0; i < 20; ++i) occupy(value, i, i, integer(static_cast<std::int64_t>(i)), empty());
  value = rebuilt(value, 8);
  EXPECT_EQ(mapOf(value)->count, 20u);
  EXPECT_EQ(mapOf(value)->capacity, 20u);
  for (std::uint64_t i = 0; i < 20; ++i) EXPECT_EQ(slotOf(value, i).key.payload, i);
  release(value);
}

TEST_F(MapBlockTest, SlotsWithHashZeroOrOneMoveToo) {
  qel_value value = map(8);
  occupy(value, 3, 0, string("zero"), integer(0));
  occupy(value, 4, 1, string("one"), integer(1));
  value = rebuilt(value, 16);
  EXPECT_EQ(textOf(slotOf(value, 0).key), "zero");
  EXPECT_EQ(textOf(slotOf(value, 1).key), "one");
  release(value);
}
