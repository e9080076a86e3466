// The hash of strings: MurmurHash64A under the seed that the plug-ins' tables use for every other kind of key, so that
// one function serves them all.
#include <cstdint>
#include <cstring>

#include "connectivity/host_abi.h"

namespace {

constexpr std::uint64_t multiplier = 0xc6a4a7935bd1e995;
constexpr int shift = 47;
constexpr std::uint64_t tableSeed = 0x243FCAF1;

template <class Word>
std::uint64_t wordAt(const char* bytes) {
  Word word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

/// The last bytes of a text as a word filled up with zeros: `rest` of them, 1 to 7, end at `end`, behind which nothing
/// is read. Words that overlap spare a loop.
std::uint64_t restBefore(const char* end, std::size_t rest, std::size_t length) {
  const char* bytes = end - rest;
  if (length >= sizeof(std::uint64_t)) return wordAt<std::uint64_t>(end - sizeof(std::uint64_t)) >> (64 - 8 * rest);
  if (rest >= sizeof(std::uint32_t)) {
    return wordAt<std::uint32_t>(bytes) | wordAt<std::uint32_t>(end - sizeof(std::uint32_t)) << (8 * rest - 32);
  }
  const std::size_t middle = rest / 2;
  return wordAt<std::uint8_t>(bytes) | wordAt<std::uint8_t>(bytes + middle) << (8 * middle) |
         wordAt<std::uint8_t>(end - 1) << (8 * (rest - 1));
}

std::uint64_t murmurHash64A(const char* bytes, std::size_t length, std::uint64_t seed) {
  std::uint64_t hash = seed ^ (length * multiplier);
  const std::size_t rest = length % sizeof(std::uint64_t);
  const char* const end = bytes + length;
  for (; bytes != end - rest; bytes += sizeof(std::uint64_t)) {
    std::uint64_t word = wordAt<std::uint64_t>(bytes);
    word *= multiplier;
    word ^= word >> shift;
    word *= multiplier;
    hash = (hash ^ word) * multiplier;
  }
  if (rest > 0) hash = (hash ^ restBefore(end, rest, length)) * multiplier;
  hash ^= hash >> shift;
  hash *= multiplier;
  hash ^= hash >> shift;
  return hash;
}

}  // namespace

uint64_t qel_hash_string(const char* text) {
  return murmurHash64A(text, std::strlen(text), tableSeed);
}
