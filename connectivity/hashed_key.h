#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include "connectivity/value_hash.h"

namespace com::tallowmere::connectivity10_15_4 {

/// A ready-made key: an owned string that keeps its hash, computed once by the host's qel_hash_string. Maps look it up
/// without hashing. Is not changed after its construction; a move leaves the key of nothing behind. [any thread]
class hashed_key : public data_t {
 public:
  /// The empty value: the key of nothing.
  hashed_key() noexcept : keyHash(tableSeed) {}
  explicit hashed_key(const char* text) : data_t(text), keyHash(hashOf(*this)) {}
  explicit hashed_key(const std::string& text) : hashed_key(text.c_str()) {}

  hashed_key(hashed_key&& other) noexcept
      : data_t(std::move(other)), keyHash(std::exchange(other.keyHash, tableSeed)) {}
  hashed_key& operator=(hashed_key&& other) noexcept {
    data_t::operator=(std::move(other));
    keyHash = std::exchange(other.keyHash, tableSeed);
    return *this;
  }
  hashed_key(const hashed_key&) = delete;
  hashed_key& operator=(const hashed_key&) = delete;
  ~hashed_key() = default;

  /// The hash under which tables hold the key.
  std::uint64_t hash() const noexcept { return keyHash; }

  /// An owned copy of the text, for a map to take over.
  data_t ownedCopy() const { return data_t(get<const char*>()); }

 private:
  static std::uint64_t hashOf(const data_t& key) { return connectivity10_15_4::hash(key, tableSeed); }

  std::uint64_t keyHash;
};

/// Whether the key of a slot is the text of a key that isn't empty.
inline bool isSameText(const qel_value& key, const hashed_key& wanted) noexcept {
  return key.tag == QEL_STRING &&
         std::strcmp(reinterpret_cast<const char*>(key.payload), reinterpret_cast<const char*>(wanted.bits())) == 0;
}

/// The slot of the key, or null. A probe of its own, inlined where a ready-made key is looked up: it asks for no place
/// that a new key could take.
inline map_slot* map_t::slotOf(const hashed_key& key) const {
  if (capacity() == 0) return nullptr;
  if (key.empty()) [[unlikely]]
    return slotOf(key, key.hash());
  map_slot* const first = slots() + startOf(key.hash(), block->capacity);
  map_slot* slot = first;
  map_slot* end = slots() + block->capacity;
  while (true) {
    for (; slot != end; ++slot) {
      if (slot->hash == key.hash() && isSameText(slot->key, key)) return slot;
      if (slot->hash == 0 && slot->key.tag == QEL_EMPTY) return nullptr;
    }
    if (end == first) return nullptr;
    slot = slots();
    end = first;
  }
}

inline map_t::iterator map_t::find(const hashed_key& key) {
  return iteratorTo(slotOf(key));
}
inline map_t::const_iterator map_t::find(const hashed_key& key) const {
  return iteratorTo(slotOf(key));
}
inline bool map_t::contains(const hashed_key& key) const {
  return slotOf(key) != nullptr;
}
inline const data_t& map_t::at(const hashed_key& key) const {
  return valueOf(slotOf(key));
}
inline data_t& map_t::at(const hashed_key& key) {
  return const_cast<data_t&>(valueOf(slotOf(key)));
}

[[gnu::always_inline]] inline std::pair<map_t::iterator, bool> map_t::insert(const hashed_key& key, data_t&& value) {
  const Position position = slotFor(key);
  if (position.isThere)
    value = data_t();
  else
    reinterpret_cast<data_t&>(position.slot->value).swap(value);
  return {iteratorTo(position.slot), !position.isThere};
}

inline data_t& map_t::set(const hashed_key& key, data_t&& value) {
  return reinterpret_cast<data_t&>(slotFor(key).slot->value) = std::move(value);
}

}  // namespace com::tallowmere::connectivity10_15_4
