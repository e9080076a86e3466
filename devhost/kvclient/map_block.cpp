#include <algorithm>
#include <cstring>

#include "devhost/kvclient/blocks.h"
#include "devhost/kvclient/value_blocks.h"

namespace devhost {
namespace {

/// Puts an entry into the first free slot from its hash on. The table has one.
void place(map_header* map, const map_slot& entry) {
  map_slot* slots = slotsOf(map);
  std::uint64_t index = entry.hash % map->capacity;
  while (isOccupied(slots[index])) index = (index + 1) % map->capacity;
  slots[index] = entry;
}

}  // namespace

map_header* newMap(std::uint64_t capacity) {
  const std::size_t size = blockSize(sizeof(map_header), capacity, sizeof(map_slot));
  void* block = allocateBlock(BlockKind::map, size);
  std::memset(block, 0, size);
  auto* map = static_cast<map_header*>(block);
  map->capacity = capacity;
  return map;
}

}  // namespace devhost

using namespace devhost;

map_header* qel_allocate_map(uint64_t capacity) {
  return newMap(capacity);
}

map_header* qel_reallocate_map(map_header* block, uint64_t capacity) {
  const CallSite site{__func__, __builtin_return_address(0)};
  checkFreeable(BlockKind::map, block, site);
  // A wish below the count is a wish to shrink, not to lose entries.
  map_header* rebuilt = newMap(std::max(capacity, block->count));
  rebuilt->name = block->name;
  rebuilt->count = block->count;
  const map_slot* slots = slotsOf(block);
  for (std::uint64_t i = 0; i < block->capacity; ++i) {
    if (isOccupied(slots[i])) place(rebuilt, slots[i]);
  }
  freeBlock(BlockKind::map, block, site);
  return rebuilt;
}
