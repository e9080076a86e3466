// Values of every tag, made in few words.
#pragma once

#include <cstdint>
#include <string_view>
#include <utility>

#include "connectivity/data_t.h"
#include "tests/support/product_values.h"

namespace tests {

inline product::data_t integer(std::int64_t number) {
  return number;
}
inline product::data_t text(const char* words) {
  return words;
}
inline product::data_t borrowed(std::string_view words) {
  return product::data_t::adopt(borrowedString(words));
}
inline product::data_t decimal(std::uint64_t bits) {
  return product::data_t::adopt(decimalValue(bits));
}
inline product::data_t buffer(std::string_view bytes) {
  return product::data_t::adopt(bufferValue(bytes));
}
inline product::data_t custom(std::uint64_t id = 1) {
  return product::data_t::adopt(customValue(id));
}
inline product::data_t withoutBlockOf(qel_tag tag) {
  return product::data_t::adopt(withoutBlock(tag));
}
inline product::data_t withTag(std::uint32_t tag, std::uint64_t payload = 0) {
  return product::data_t::adopt({payload, tag, 0});
}

/// A list of the given values, which it takes over.
template <class... Values>
product::data_t listOf(Values&&... values) {
  product::list_t list;
  (list.push_back(std::forward<Values>(values)), ...);
  return list;
}

/// A value that a map built by the host becomes.
inline product::map_t adoptMap(const qel_value& map) {
  product::data_t value = product::data_t::adopt(map);
  return std::move(value.get<product::map_t>());
}

}  // namespace tests
