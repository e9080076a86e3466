#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include "connectivity/value_hash.h"

namespace com::tallowmere::connectivity10_15_4 {

/// A ready-made key: an owned string that keeps its hash, computed once by the host's qel_hash_string. Maps look it up
/// without hashing. Is not changed after its construction. [any thread]
class hashed_key : public data_t {
 public:
  /// The empty value: the key of nothing.
  hashed_key() noexcept : keyHash(tableSeed) {}
  explicit hashed_key(const char* text) : data_t(text), keyHash(hashOf(*this)) {}
  explicit hashed_key(const std::string& text) : hashed_key(text.c_str()) {}

  /// The hash under which tables hold the key.
  std::uint64_t hash() const noexcept { return keyHash; }

  /// An owned copy of the text, for a map to take over.
  data_t ownedCopy() const { return data_t(get<const char*>()); }

 private:
  static std::uint64_t hashOf(const data_t& key) { return connectivity10_15_4::hash(key, tableSeed); }

  std::uint64_t keyHash;
};

/// A ready-made key is found where it is looked up: the probe is inlined, and no iterator is built that nobody asks
/// for.
inline std::uint64_t map_t::indexOf(const hashed_key& key) const {
  const std::uint64_t nowhere = capacity();
  if (key.empty()) [[unlikely]]
    return indexOf(key, key.hash());
  if (nowhere == 0) return nowhere;
  const map_slot* const table = slots();
  const std::uint64_t start = startOf(key.hash(), nowhere);
  std::uint64_t index = start;
  do {
    const map_slot& slot = table[index];
    if (slot.hash == key.hash() && slot.key.tag == QEL_STRING &&
        std::strcmp(reinterpret_cast<const char*>(slot.key.payload), reinterpret_cast<const char*>(key.bits())) == 0)
      return index;
    if (slot.hash == 0 && slot.key.tag == QEL_EMPTY) return nowhere;
    if (++index == nowhere) index = 0;
  } while (index != start);
  return nowhere;
}

inline map_t::iterator map_t::find(const hashed_key& key) {
  return iteratorAt(indexOf(key));
}
inline map_t::const_iterator map_t::find(const hashed_key& key) const {
  return iteratorAt(indexOf(key));
}
inline bool map_t::contains(const hashed_key& key) const {
  return indexOf(key) != capacity();
}
inline const data_t& map_t::at(const hashed_key& key) const {
  return valueAt(indexOf(key));
}
inline data_t& map_t::at(const hashed_key& key) {
  return const_cast<data_t&>(valueAt(indexOf(key)));
}

inline std::pair<map_t::iterator, bool> map_t::insert(const hashed_key& key, data_t&& value) {
  bool isNew;
  map_slot& slot = slotOf(key, isNew);
  if (isNew)
    reinterpret_cast<data_t&>(slot.value).swap(value);
  else
    value = data_t();
  return {iteratorAt(static_cast<std::uint64_t>(&slot - slots())), isNew};
}

inline data_t& map_t::set(const hashed_key& key, data_t&& value) {
  bool isNew;
  return reinterpret_cast<data_t&>(slotOf(key, isNew).value) = std::move(value);
}

}  // namespace com::tallowmere::connectivity10_15_4
