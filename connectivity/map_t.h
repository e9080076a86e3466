#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <type_traits>
#include <utility>

#include "connectivity/host_abi.h"

namespace com::tallowmere::connectivity10_15_4 {

class data_t;
class hashed_key;

/// A map from values to values: one pointer to a `map_header` block, null for a map with no block. Owns its block and
/// all in it; is moved, never implicitly copied. Iteration is in slot order, which depends on the hashes and the
/// capacity. Used by one thread at a time.
class map_t {
 public:
  /// What an iterator yields: a slot's key and value.
  struct entry;
  template <class Entry>
  class basic_iterator;
  using iterator = basic_iterator<entry>;
  using const_iterator = basic_iterator<const entry>;

  map_t() noexcept = default;

  /// A map with room for `capacity` slots (at least 8; none for 0) and, unless `name` is null, a copy of that name.
  explicit map_t(std::uint64_t capacity, const char* name = nullptr);

  map_t(map_t&& other) noexcept : block(other.block) { other.block = nullptr; }
  map_t& operator=(map_t&& other) noexcept;
  map_t(const map_t&) = delete;
  map_t& operator=(const map_t&) = delete;
  ~map_t();

  /// A deep copy. Entries go through insertion, so hashes are computed anew. Throws as `insert` does.
  map_t copy() const;

  /// Rebuilds the table with `n` slots, or 8 if that is more. `n` below the size is the caller's mistake.
  void reserve(std::uint64_t n);

  std::uint64_t size() const noexcept { return block ? block->count : 0; }
  bool empty() const noexcept { return size() == 0; }

  iterator begin() noexcept;
  iterator end() noexcept;
  const_iterator begin() const noexcept;
  const_iterator end() const noexcept;

  /// The entry of the key, or `end()`. An owned and a borrowed string are different keys. Throws std::runtime_error
  /// "Cannot use custom values as a key".
  iterator find(const data_t& key);
  const_iterator find(const data_t& key) const;
  iterator find(const hashed_key& key);
  const_iterator find(const hashed_key& key) const;
  bool contains(const data_t& key) const;
  bool contains(const hashed_key& key) const;

  /// The value of the key, which is inserted with an empty value when absent. The key may not lie in this map. Throws
  /// std::runtime_error "Cannot use custom values as a key" or "Cannot have a null key".
  data_t& operator[](data_t&& key);

  /// The same through a copy of the key, except that an empty key is stored like any other.
  data_t& operator[](const data_t& key);

  /// The value of the key. Throws std::runtime_error "Element not in map" if it is absent.
  const data_t& at(const data_t& key) const;
  data_t& at(const data_t& key);
  const data_t& at(const hashed_key& key) const;
  data_t& at(const hashed_key& key);

  /// Adds an entry. An existing entry of the key stays as it is, and the rejected key and value are destroyed. Gives
  /// the entry and whether it is new. Neither argument may lie in this map, whose growth moves what is in it. Throws
  /// std::runtime_error "Cannot use custom values as a key" or "Cannot have a null key".
  std::pair<iterator, bool> insert(data_t&& key, data_t&& value);

  /// The same with a key that is copied only if its entry is new.
  std::pair<iterator, bool> insert(const hashed_key& key, data_t&& value);

  /// Gives the key the value, in place of an earlier one if it has one, and returns where it is now. The value may not
  /// lie in this map. Throws std::runtime_error "Cannot have a null key".
  data_t& set(const hashed_key& key, data_t&& value);

  /// Removes the entry, which becomes a tombstone; `end()` does nothing. An iterator of another map is reported with
  /// "Invalid comparison of iterators into different maps".
  void erase(iterator position);

  /// Removes the entry of the key and tells whether there was one.
  bool erase(const data_t& key);
  bool erase(const hashed_key& key);

  /// Removes the entries for which `test(key, value)` holds, in the order of the table. It may change or move the
  /// value, and nothing else of this map.
  template <class Test>
  void eraseIf(Test test);

  /// Removes the entry of the key and gives its value; an empty one without an entry.
  data_t take(const data_t& key);
  data_t take(const hashed_key& key);

  /// The name that the map bears, or null. It takes part in equality and rendering.
  const char* name() const noexcept { return block ? block->name : nullptr; }

  /// Replaces the name by a copy of `name`; null leaves the map nameless. A map with no block gets one for it.
  void setName(const char* name);

  /// Exchanges the blocks.
  void swap(map_t& other) noexcept;

  /// The block as the host's operations take it; null without one. Stays the map's.
  map_header* header() const noexcept { return block; }

 private:
  /// Where a key is or, unless `isThere`, where it could go: null when the table has no place left.
  struct Position {
    map_slot* slot;
    bool isThere;
  };

  map_slot* slots() const noexcept { return reinterpret_cast<map_slot*>(block + 1); }
  std::uint64_t capacity() const noexcept { return block ? block->capacity : 0; }
  template <class IsKey>
  Position probe(std::uint64_t hash, IsKey isKey) const;
  Position locate(const data_t& key, std::uint64_t hash) const;
  map_slot* slotOf(const data_t& key, std::uint64_t hash) const;
  map_slot* slotOf(const data_t& key) const;
  map_slot* slotOf(const hashed_key& key) const;
  map_slot* slotOfNew(std::uint64_t hash) const;
  Position add(data_t& key, data_t& value);
  Position slotFor(const hashed_key& key);
  Position slotForHard(const hashed_key& key);
  map_slot* occupy(map_slot* slot, const hashed_key& key);
  map_slot* withRoom(map_slot* place, std::uint64_t hash);
  map_slot* rebuild(std::uint64_t hash);
  map_slot* occupy(map_slot* slot, std::uint64_t hash, data_t& key, data_t& value);
  static const data_t& valueOf(const map_slot* slot);
  void erase(map_slot& slot);
  data_t take(map_slot* slot);
  iterator iteratorTo(const map_slot* slot) noexcept;
  const_iterator iteratorTo(const map_slot* slot) const noexcept;
  iterator iteratorAt(std::uint64_t index) noexcept;
  const_iterator iteratorAt(std::uint64_t index) const noexcept;
  std::uint64_t firstOccupied() const noexcept;

  friend bool operator==(const map_t& a, const map_t& b);

  map_header* block = nullptr;
};
static_assert(sizeof(map_t) == 8);

/// Throws std::runtime_error "Iterator invalidated by modifying map" or, below, "Invalid comparison of iterators into
/// different maps", unless the environment variable KV_SKIP_DATA_T_ITERATOR_CHECKS is set.
void reportInvalidMapIterator();
void reportForeignMapIterator();

/// Whether the slot holds an entry: neither free nor a tombstone.
inline bool isOccupied(const map_slot& slot) noexcept {
  return slot.key.tag != QEL_EMPTY || slot.hash > 1;
}

/// The slot where a probe begins: hash modulo capacity, without a division for the powers of two that small tables
/// have.
inline std::uint64_t startOf(std::uint64_t hash, std::uint64_t capacity) noexcept {
  const std::uint64_t mask = capacity - 1;
  return (capacity & mask) == 0 ? hash & mask : hash % capacity;
}

template <class Test>
void map_t::eraseIf(Test test) {
  if (empty()) return;
  map_slot* const end = slots() + block->capacity;
  std::uint64_t left = block->count;
  for (map_slot* slot = slots(); left > 0 && slot != end; ++slot) {
    if (!isOccupied(*slot)) continue;
    --left;
    if (test(reinterpret_cast<const data_t&>(slot->key), reinterpret_cast<data_t&>(slot->value))) erase(*slot);
  }
}

/// Walks a map in slot order. A dereference after the map has changed its block or its size, and a comparison of
/// iterators into different maps, are reported as above.
template <class Entry>
class map_t::basic_iterator {
 public:
  using iterator_category = std::forward_iterator_tag;
  using value_type = Entry;
  using difference_type = std::ptrdiff_t;
  using pointer = Entry*;
  using reference = Entry&;

  basic_iterator() noexcept = default;

  /// An iterator converts to its read-only form.
  operator basic_iterator<const Entry>() const noexcept requires(!std::is_const_v<Entry>) {
    return {owner, slots, capacity, count, index};
  }

  reference operator*() const {
    if (!isValid()) [[unlikely]]
      reportInvalidMapIterator();
    return *reinterpret_cast<Entry*>(&slots[index].key);
  }
  pointer operator->() const { return &**this; }

  basic_iterator& operator++() noexcept {
    do ++index;
    while (index < capacity && hasItsSlots() && !isOccupied(slots[index]));
    return *this;
  }
  basic_iterator operator++(int) noexcept {
    basic_iterator before = *this;
    ++*this;
    return before;
  }

  friend bool operator==(const basic_iterator& a, const basic_iterator& b) {
    if (a.owner != b.owner) [[unlikely]]
      reportForeignMapIterator();
    return a.index == b.index;
  }

 private:
  friend class map_t;
  template <class>
  friend class basic_iterator;
  basic_iterator(const map_t* owner, map_slot* slots, std::uint64_t capacity, std::uint64_t count,
                 std::uint64_t index) noexcept
      : owner(owner), slots(slots), capacity(capacity), count(count), index(index) {}

  /// Whether the slots are still those of the map: after a rebuild they are gone, and the next dereference tells.
  bool hasItsSlots() const noexcept {
    const map_header* block = owner->block;
    return block && owner->slots() == slots && block->capacity == capacity;
  }

  bool isValid() const noexcept {
    const map_header* block = owner->block;
    return block ? block->count == count && hasItsSlots() : slots == nullptr && count == 0;
  }

  const map_t* owner = nullptr;
  map_slot* slots = nullptr;
  std::uint64_t capacity = 0;
  std::uint64_t count = 0;
  std::uint64_t index = 0;
};

}  // namespace com::tallowmere::connectivity10_15_4

#include "connectivity/data_t.h"
