// Ways into the blocks of the host interface.
#pragma once

#include <cstdint>

#include "connectivity/host_abi.h"

namespace tests {

/// What a value's payload points to.
template <class Block>
Block* pointerIn(const qel_value& value) {
  return reinterpret_cast<Block*>(value.payload);
}

inline qel_value valueOf(const void* block, std::uint32_t tag) {
  return {reinterpret_cast<std::uint64_t>(block), tag, 0};
}

/// The slots behind a map's header.
inline map_slot* slotsOf(map_header* block) {
  return reinterpret_cast<map_slot*>(block + 1);
}
inline const map_slot* slotsOf(const map_header* block) {
  return reinterpret_cast<const map_slot*>(block + 1);
}

/// The elements behind a list's header.
inline qel_value* elementsOf(list_header* block) {
  return reinterpret_cast<qel_value*>(block + 1);
}
inline const qel_value* elementsOf(const list_header* block) {
  return reinterpret_cast<const qel_value*>(block + 1);
}

/// Whether the slot holds an entry. An empty key can be an entry like any other.
inline bool isOccupied(const map_slot& slot) {
  return slot.key.tag != QEL_EMPTY || slot.hash > 1;
}

}  // namespace tests
