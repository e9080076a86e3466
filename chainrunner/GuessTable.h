#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace chainrunner {

/// Items that came by lately, and which of them stood at each place of a document the last time. Documents of one kind
/// have the same items at the same places, so the one of the last time is a good guess for the next. An item has an
/// `index`, which names it while it is known; items that share a bucket take turns, so the memory stays the same
/// whatever comes by. `count` is a power of two from 2 to 256. Used by one thread at a time.
template <class Item, std::uint32_t count>
class GuessTable {
 public:
  /// A place in a document: the `position`-th thing in what belongs to the item with the index `parent`.
  struct Place {
    std::uint32_t parent;
    std::uint32_t position;
  };

  /// The `parent` of what belongs to no known item.
  static constexpr std::uint32_t noParent = count;

  GuessTable() {
    for (std::uint32_t i = 0; i < count; ++i) items[i].index = i;
  }

  /// The item that stood there the last time, unless it was forgotten; any other otherwise.
  Item& guess(Place place) { return items[guesses[indexOf(place)]]; }
  const Item& guess(Place place) const { return items[guesses[indexOf(place)]]; }

 protected:
  /// From now on the item is the guess at the place.
  void keepGuess(Place place, const Item& item) { guesses[indexOf(place)] = static_cast<std::uint8_t>(item.index); }

  /// The only item that may have this hash, of whose bits the upper ones count.
  Item& itemFor(std::uint64_t hash) { return items[hash >> (64 - std::countr_zero(count))]; }

 private:
  static constexpr std::uint32_t positions = 16;  // that are told apart
  static_assert(std::has_single_bit(count) && count > 1 && count <= 256);

  static std::size_t indexOf(Place place) { return place.parent * positions + std::min(place.position, positions - 1); }

  std::array<Item, count> items{};
  std::array<std::uint8_t, (count + 1) * positions> guesses{};
};

}  // namespace chainrunner
