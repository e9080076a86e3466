// The sizes that the heap's blocks come in.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace devhost {

/// 8 to 128 bytes in steps of 8, for texts; above that eight sizes to the doubling, among them the 352 bytes of a map
/// of eight slots. At most an eighth of a block is idle.
namespace size_classes {

constexpr std::size_t granule = 8;
constexpr std::size_t largest = 4096;
constexpr std::size_t small = 64;

constexpr std::size_t nextSize(std::size_t size) {
  std::size_t step = granule;
  while (size >= 16 * step) step *= 2;
  return size + step;
}

constexpr std::size_t countOfClasses() {
  std::size_t count = 0;
  for (std::size_t size = granule; size <= largest; size = nextSize(size)) ++count;
  return count;
}

constexpr std::size_t count = countOfClasses();

constexpr auto sizes = [] {
  std::array<std::uint32_t, count> all{};
  std::size_t size = granule;
  for (auto& each : all) {
    each = static_cast<std::uint32_t>(size);
    size = nextSize(size);
  }
  return all;
}();

/// By size in granules, rounded up.
constexpr auto classes = [] {
  std::array<std::uint8_t, largest / granule + 1> all{};
  std::size_t index = 0;
  for (std::size_t granules = 0; granules < all.size(); ++granules) {
    while (sizes[index] < granules * granule) ++index;
    all[granules] = static_cast<std::uint8_t>(index);
  }
  return all;
}();

/// The class whose blocks are the smallest that hold `size` bytes, which must be at most `largest`.
constexpr std::size_t classOf(std::size_t size) {
  return classes[(size + granule - 1) / granule];
}

/// Copies the `size` bytes of a small block, a multiple of the granule, by two moves that may meet in the middle.
inline void copySmall(char* to, const char* from, std::size_t size) {
  const auto copyEnds = [=](auto part) {
    std::memcpy(to, from, part);
    std::memcpy(to + size - part, from + size - part, part);
  };
  if (size > 32) return copyEnds(std::integral_constant<std::size_t, 32>());
  if (size > 16) return copyEnds(std::integral_constant<std::size_t, 16>());
  copyEnds(std::integral_constant<std::size_t, 8>());
}

static_assert(sizes[count - 1] == largest);
static_assert(sizes[classOf(352)] == 352);
static_assert(sizes[classOf(1)] == 8 && sizes[classOf(129)] == 144);

}  // namespace size_classes
}  // namespace devhost
