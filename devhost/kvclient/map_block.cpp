#include <algorithm>
#include <cstring>

#include "devhost/kvclient/blocks.h"
#include "devhost/kvclient/value_blocks.h"

namespace devhost {
namespace {

/// Hash modulo capacity, without a division for powers of two.
std::uint64_t startOf(std::uint64_t hash, std::uint64_t capacity) {
  const std::uint64_t mask = capacity - 1;
  return (capacity & mask) == 0 ? hash & mask : hash % capacity;
}

/// Puts an entry into the first free slot from its hash on. The table has one.
void place(map_header* map, const map_slot& entry) {
  map_slot* const begin = slotsOf(map);
  map_slot* const end = begin + map->capacity;
  map_slot* slot = begin + startOf(entry.hash, map->capacity);
  while (isOccupied(*slot)) {
    if (++slot == end) slot = begin;
  }
  *slot = entry;
}

template <class Blocks>
map_header* newMap(const Blocks& blocks, std::uint64_t capacity) {
  const std::size_t size = mapSize(capacity);
  auto* map = static_cast<map_header*>(std::memset(blocks.allocate(BlockKind::map, size), 0, size));
  map->capacity = capacity;
  return map;
}

}  // namespace
}  // namespace devhost

using namespace devhost;

map_header* qel_allocate_map(uint64_t capacity) {
  return withBlocks(__func__, __builtin_return_address(0),
                    [=](const auto& blocks) { return newMap(blocks, capacity); });
}

map_header* qel_reallocate_map(map_header* block, uint64_t capacity) {
  return withBlocks(__func__, __builtin_return_address(0), [=](const auto& blocks) {
    blocks.checkFreeable(BlockKind::map, block);
    // A wish below the count is a wish to shrink, not to lose entries.
    map_header* rebuilt = newMap(blocks, std::max(capacity, block->count));
    rebuilt->name = block->name;
    rebuilt->count = block->count;
    forEachEntry(block, [rebuilt](const map_slot& slot) { place(rebuilt, slot); });
    blocks.release(BlockKind::map, block);
    return rebuilt;
  });
}
