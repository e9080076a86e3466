#include "connectivity/list_t.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace com::tallowmere::connectivity10_15_4 {

list_t::list_t(std::initializer_list<data_t> values) : list_t() {
  for (const data_t& value : values) push_back(value.copy());
}

void list_t::push_back(data_t&& value) {
  data_t held(std::move(value));  // it may be an element of this list
  try {
    if (!block)
      block = qel_allocate_vector(2);
    else if (block->count == block->capacity)
      block = qel_reallocate_vector(block, std::max<std::uint64_t>(2, block->capacity * 2));
  } catch (...) {
    value.swap(held);
    throw;
  }
  data_t* place = new (elements() + block->count) data_t();
  ++block->count;
  place->swap(held);
}

void list_t::reserve(std::uint64_t n) {
  const std::uint64_t capacity = std::max<std::uint64_t>(n, 2);
  block = block ? qel_reallocate_vector(block, capacity) : qel_allocate_vector(capacity);
}

data_t& list_t::element(std::uint64_t index) const {
  if (index >= size()) throw std::runtime_error("Out of bounds");
  return elements()[index];
}

void reportInvalidListIterator() {
  if (!std::getenv("KV_SKIP_DATA_T_ITERATOR_CHECKS"))
    throw std::runtime_error("Iterator invalidated by modifying list");
}

}  // namespace com::tallowmere::connectivity10_15_4
