// Hashes of values. Tables are built with them, on this side and on the host's.
#pragma once

#include <cstddef>
#include <cstdint>

#include "connectivity/data_t.h"

namespace com::tallowmere::connectivity10_15_4 {

/// The seed with which a map hashes its keys.
inline constexpr std::uint64_t tableSeed = 0x243FCAF1;

/// The hash of a value; of a string it is the host's qel_hash_string, whatever the seed. Equal values have equal
/// hashes. Throws std::runtime_error "Cannot use custom values as a key". Values nested 10,000 deep are within an 8 MiB
/// stack. [any thread]
std::uint64_t hash(const data_t& value, std::uint64_t seed);

/// MurmurHash64A of `length` bytes. [any thread]
std::uint64_t murmurHash64A(const void* bytes, std::size_t length, std::uint64_t seed) noexcept;

}  // namespace com::tallowmere::connectivity10_15_4
