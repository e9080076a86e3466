#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>

#include "connectivity/host_abi.h"

namespace com::tallowmere::connectivity10_15_4 {

class data_t;

/// A list of values: one pointer to a `list_header` block, null for a list with no block. Owns its block and all in it;
/// is moved, never implicitly copied. Used by one thread at a time.
class list_t {
 public:
  template <class Value>
  class basic_iterator;
  using iterator = basic_iterator<data_t>;
  using const_iterator = basic_iterator<const data_t>;
  using value_type = data_t;

  list_t() noexcept = default;

  /// A list of deep copies of the given values.
  list_t(std::initializer_list<data_t> values);

  list_t(list_t&& other) noexcept : block(other.block) { other.block = nullptr; }
  list_t& operator=(list_t&& other) noexcept;
  list_t(const list_t&) = delete;
  list_t& operator=(const list_t&) = delete;
  ~list_t();

  /// Appends the value, leaving the source empty. The block doubles when it is full, beginning with room for 2.
  void push_back(data_t&& value);

  /// Gives the block a capacity of `n`, or of 2 if that is more. `n` below the size is the caller's mistake.
  void reserve(std::uint64_t n);

  std::uint64_t size() const noexcept { return block ? block->count : 0; }
  bool empty() const noexcept { return size() == 0; }

  /// The element at the index. Throws std::runtime_error "Out of bounds" when the index is not below the size.
  data_t& operator[](std::uint64_t index);
  const data_t& operator[](std::uint64_t index) const;

  /// The first element. Throws std::runtime_error "Out of bounds" when the list is empty.
  data_t& front();
  const data_t& front() const;

  iterator begin() noexcept;
  iterator end() noexcept;
  const_iterator begin() const noexcept;
  const_iterator end() const noexcept;

  /// Exchanges the blocks.
  void swap(list_t& other) noexcept;

 private:
  data_t* elements() const noexcept { return reinterpret_cast<data_t*>(block + 1); }
  data_t& element(std::uint64_t index) const;

  list_header* block = nullptr;
};
static_assert(sizeof(list_t) == 8);

/// Throws std::runtime_error "Iterator invalidated by modifying list", unless the environment variable
/// KV_SKIP_DATA_T_ITERATOR_CHECKS is set.
void reportInvalidListIterator();

/// Walks a list. A dereference after the list's size has changed is reported as above; a relocation of the block with
/// the same size is not noticed.
template <class Value>
class list_t::basic_iterator {
 public:
  using iterator_category = std::forward_iterator_tag;
  using value_type = data_t;
  using difference_type = std::ptrdiff_t;
  using pointer = Value*;
  using reference = Value&;

  basic_iterator() noexcept = default;

  reference operator*() const {
    if (owner->size() != count) [[unlikely]]
      reportInvalidListIterator();
    return *current;
  }
  pointer operator->() const { return &**this; }
  basic_iterator& operator++() noexcept {
    ++current;
    return *this;
  }
  basic_iterator operator++(int) noexcept {
    basic_iterator before = *this;
    ++current;
    return before;
  }
  friend bool operator==(const basic_iterator& a, const basic_iterator& b) noexcept { return a.current == b.current; }

 private:
  friend class list_t;
  basic_iterator(const list_t* owner, Value* current, std::uint64_t count) noexcept
      : owner(owner), current(current), count(count) {}

  const list_t* owner = nullptr;
  Value* current = nullptr;
  std::uint64_t count = 0;
};

}  // namespace com::tallowmere::connectivity10_15_4

#include "connectivity/data_t.h"
