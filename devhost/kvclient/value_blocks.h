// The blocks of values seen from inside: where elements and slots lie, and which slots are occupied.
#pragma once

#include "connectivity/host_abi.h"
#include "devhost/kvclient/misuse.h"

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

/// A list block with no elements. [any thread]
list_header* newList(std::uint64_t capacity);

/// A map block with free slots only. [any thread]
map_header* newMap(std::uint64_t capacity);

/// A buffer block with uninitialised bytes. [any thread]
buffer_header* newBuffer(std::uint64_t length);

/// A custom block. [any thread]
CustomBlock* newCustom(const CustomBlock& content);

/// An owned copy of `text`. [any thread]
char* newString(const char* text);

}  // namespace devhost
