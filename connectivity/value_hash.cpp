#include "connectivity/value_hash.h"

#include <cstring>
#include <stdexcept>

namespace com::tallowmere::connectivity10_15_4 {

namespace {

std::uint64_t hashWord(std::uint64_t word, std::uint64_t seed) {
  return murmurHash64A(&word, sizeof word, seed);
}

std::uint64_t hashNumber(double number, std::uint64_t seed) {
  if (number == 0.0) return hashWord(0, seed);  // both zeros are equal
  std::uint64_t bits;
  std::memcpy(&bits, &number, sizeof bits);
  return hashWord(bits, seed);
}

std::uint64_t hashList(const list_t& list) {
  std::uint64_t result = tableSeed;
  for (const data_t& element : list) result = hash(element, result);
  return result;
}

// A sum, so that the order of slots plays no part.
std::uint64_t hashMap(const map_t& map) {
  std::uint64_t result = tableSeed;
  for (const auto& [key, value] : map) result += hash(key, tableSeed) + hash(value, tableSeed);
  return result;
}

}  // namespace

std::uint64_t hash(const data_t& value, std::uint64_t seed) {
  switch (value.type()) {
    case Tag::boolean:
      return value.get<bool>() ? seed : ~seed;
    case Tag::number:
      return hashNumber(value.get<double>(), seed);
    case Tag::integer:
    case Tag::decimal:
      return hashWord(value.bits(), seed);
    case Tag::string:
    case Tag::borrowedString:
      return qel_hash_string(value.get<const char*>());
    case Tag::list:
      return hashList(value.get<list_t>());
    case Tag::map:
      return hashMap(value.get<map_t>());
    case Tag::buffer: {
      const buffer_t& buffer = value.get<buffer_t>();
      return murmurHash64A(buffer.begin(), buffer.size(), tableSeed);
    }
    case Tag::custom:
      throw std::runtime_error("Cannot use custom values as a key");
    case Tag::empty:
      break;
  }
  return seed;
}

std::uint64_t murmurHash64A(const void* bytes, std::size_t length, std::uint64_t seed) noexcept {
  constexpr std::uint64_t m = 0xc6a4a7935bd1e995;
  constexpr int r = 47;
  std::uint64_t h = seed ^ (length * m);

  const unsigned char* at = static_cast<const unsigned char*>(bytes);
  const std::size_t tail = length & 7;
  for (std::size_t left = length / 8; left > 0; --left, at += 8) {
    std::uint64_t k;
    std::memcpy(&k, at, sizeof k);
    k *= m;
    k ^= k >> r;
    k *= m;
    h ^= k;
    h *= m;
  }
  if (tail > 0) {
    std::uint64_t k = 0;
    std::memcpy(&k, at, tail);
    h ^= k;
    h *= m;
  }
  h ^= h >> r;
  h *= m;
  h ^= h >> r;
  return h;
}

}  // namespace com::tallowmere::connectivity10_15_4
