#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "chainrunner/plain_text.h"
#include "chainrunner/values.h"

namespace chainrunner {

/// An entry of a map that is being written, whose key is a string. Keys are compared by their first eight bytes, as a
/// big-endian number, and by the rest only if these are equal.
struct MapEntry {
  explicit MapEntry(const map_slot& slot)
      : key(reinterpret_cast<const char*>(slot.key.payload)), head(headOf(key)), slot(&slot) {}

  const data_t& value() const { return reinterpret_cast<const data_t&>(slot->value); }

  bool operator<(const MapEntry& other) const { return head != other.head ? head < other.head : key < other.key; }

  std::string_view key;
  std::uint64_t head;
  const map_slot* slot;

 private:
  static std::uint64_t headOf(std::string_view key) {
    using detail::load;
    const char* const text = key.data();
    const std::size_t size = key.size();
    if (size >= 8) return __builtin_bswap64(load<std::uint64_t>(text));
    std::uint64_t head = 0;
    if (size >= 4) {
      // The two halves overlap and agree where they do.
      head = load<std::uint32_t>(text) | load<std::uint32_t>(text + size - 4) << (8 * (size - 4));
    } else if (size > 0) {
      head = load<std::uint8_t>(text) | load<std::uint8_t>(text + size / 2) << (8 * (size / 2)) |
             load<std::uint8_t>(text + size - 1) << (8 * (size - 1));
    }
    return __builtin_bswap64(head);
  }
};

/// Sorts by the bytes of the keys; few entries, as nearly all maps have, without a call. Equal keys keep their order.
inline void sort(MapEntry* begin, MapEntry* end) {
  if (end - begin > 16) {
    std::stable_sort(begin, end);
    return;
  }
  for (MapEntry* next = begin + 1; next < end; ++next) {
    const MapEntry entry = *next;
    MapEntry* place = next;
    for (; place > begin && entry < place[-1]; --place) *place = place[-1];
    *place = entry;
  }
}

}  // namespace chainrunner
