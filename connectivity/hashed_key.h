#pragma once

#include <cstdint>
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

}  // namespace com::tallowmere::connectivity10_15_4
