#pragma once

#include <cstdint>
#include <cstring>
#include <utility>

#include "chainrunner/values.h"

namespace chainrunner {

/// Fills a map's block slot by slot, with hashes that are known already. Slots and capacities are those to which
/// insertion one by one comes. Owns the block until it is taken.
class MapBuilder {
 public:
  MapBuilder() = default;
  MapBuilder(const MapBuilder&) = delete;
  MapBuilder& operator=(const MapBuilder&) = delete;
  ~MapBuilder() {
    if (block) qel_free_map(block);
  }

  /// The place of the key's value, which is empty: the entry is new, or loses the value that it had. It stays where it
  /// is until the next call. `text` is copied.
  qel_value& add(const char* text, std::uint64_t hash) {
    if (!block) block = qel_allocate_map(smallestCapacity);
    map_slot* slot = find(text, hash);
    if (slot->key.tag != QEL_EMPTY) {
      static_cast<void>(data_t::adopt(std::exchange(slot->value, {})));
      return slot->value;
    }
    if (4 * block->count > 3 * block->capacity) {
      block = qel_reallocate_map(block, 2 * block->count + 2);
      slot = find(text, hash);
    }
    slot->key = {reinterpret_cast<std::uint64_t>(qel_copy_string(text)), QEL_STRING, 0};
    slot->hash = hash;
    ++block->count;
    return slot->value;
  }

  /// The map as a value, whose owner the caller is; one without a block if nothing was added.
  qel_value take() { return {reinterpret_cast<std::uint64_t>(std::exchange(block, nullptr)), QEL_MAP, 0}; }

 private:
  static constexpr std::uint64_t smallestCapacity = 8;

  map_slot* slots() const { return reinterpret_cast<map_slot*>(block + 1); }

  /// The slot of the key, or the free one that it would get.
  map_slot* find(const char* text, std::uint64_t hash) const {
    const std::uint64_t capacity = block->capacity;
    const bool isPowerOfTwo = (capacity & (capacity - 1)) == 0;
    map_slot* slot = slots() + (isPowerOfTwo ? hash & (capacity - 1) : hash % capacity);
    while (slot->key.tag != QEL_EMPTY && !(slot->hash == hash && std::strcmp(textOf(slot->key), text) == 0)) {
      if (++slot == slots() + capacity) slot = slots();
    }
    return slot;
  }

  static const char* textOf(const qel_value& key) { return reinterpret_cast<const char*>(key.payload); }

  map_header* block = nullptr;
};

}  // namespace chainrunner
