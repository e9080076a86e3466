// Looks into the table of a map.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "connectivity/map_t.h"
#include "tests/unit/connectivity/made_values.h"

namespace tests {

/// In which slot the key lies; nothing when it lies in none.
inline std::optional<std::uint64_t> slotOf(const product::map_t& map, const std::string& key) {
  const map_header* block = map.header();
  for (std::uint64_t index = 0; index < block->capacity; ++index) {
    const qel_value& stored = slotsOf(block)[index].key;
    if (stored.tag == QEL_STRING && key == pointerIn<const char>(stored)) return index;
  }
  return std::nullopt;
}

inline void insertAll(product::map_t& map, const std::vector<std::string>& keys) {
  for (const std::string& key : keys) map.insert(product::data_t(key), product::data_t(key));
}

}  // namespace tests
