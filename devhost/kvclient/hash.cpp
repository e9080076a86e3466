// The hash of strings: MurmurHash64A under the seed that the plug-ins' tables use for every other kind of key, so that
// one function serves them all.
#include <cstdint>
#include <cstring>

#include "connectivity/host_abi.h"

namespace {

constexpr std::uint64_t multiplier = 0xc6a4a7935bd1e995;
constexpr int shift = 47;
constexpr std::uint64_t tableSeed = 0x243FCAF1;

std::uint64_t murmurHash64A(const char* bytes, std::size_t length, std::uint64_t seed) {
  std::uint64_t hash = seed ^ (length * multiplier);
  for (; length >= sizeof(std::uint64_t); bytes += sizeof(std::uint64_t), length -= sizeof(std::uint64_t)) {
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    word *= multiplier;
    word ^= word >> shift;
    word *= multiplier;
    hash = (hash ^ word) * multiplier;
  }
  if (length > 0) {
    std::uint64_t rest = 0;
    std::memcpy(&rest, bytes, length);
    hash = (hash ^ rest) * multiplier;
  }
  hash ^= hash >> shift;
  hash *= multiplier;
  hash ^= hash >> shift;
  return hash;
}

}  // namespace

uint64_t qel_hash_string(const char* text) {
  return murmurHash64A(text, std::strlen(text), tableSeed);
}
