// The blocks of values seen from inside: how large they are, where elements and slots lie, and which are occupied.
#pragma once

#include "connectivity/host_abi.h"
#include "devhost/kvclient/blocks.h"

namespace devhost {

/// The block behind a custom value.
struct CustomBlock {
  void* object;
  void* (*clone)(const void* object);
  void (*release)(void* object);
};

/// A value's payload word as the pointer that its tag says it is.
template <class Block>
Block* blockOf(const qel_value& value) {
  return reinterpret_cast<Block*>(value.payload);
}

/// An owning (or borrowing, for tag 10) value around a pointer.
inline qel_value valueOf(const void* block, qel_tag tag) {
  return {reinterpret_cast<std::uint64_t>(block), tag, 0};
}

inline qel_value* elementsOf(list_header* list) {
  return reinterpret_cast<qel_value*>(list + 1);
}
inline map_slot* slotsOf(map_header* map) {
  return reinterpret_cast<map_slot*>(map + 1);
}
inline unsigned char* bytesOf(buffer_header* buffer) {
  return reinterpret_cast<unsigned char*>(buffer + 1);
}

/// An empty key alone doesn't make a slot free or a tombstone: it may be a key, and then it has a hash.
inline bool isOccupied(const map_slot& slot) {
  return slot.key.tag != QEL_EMPTY || slot.hash > 1;
}

/// Calls `visit` with each occupied slot, and looks no further than the last of them. [any thread]
template <class Visit>
[[gnu::always_inline]] inline void forEachEntry(map_header* map, Visit visit) {
  map_slot* const end = slotsOf(map) + map->capacity;
  std::uint64_t left = map->count;
  for (map_slot* slot = slotsOf(map); left != 0 && slot != end; ++slot) {
    if (!isOccupied(*slot)) continue;
    --left;
    visit(*slot);
  }
}

// Bytes of a block.
inline std::size_t listSize(std::uint64_t capacity) {
  return blockSize(sizeof(list_header), capacity, sizeof(qel_value));
}
inline std::size_t mapSize(std::uint64_t capacity) {
  return blockSize(sizeof(map_header), capacity, sizeof(map_slot));
}
inline std::size_t bufferSize(std::uint64_t length) {
  return blockSize(sizeof(buffer_header), length, 1);
}

}  // namespace devhost
