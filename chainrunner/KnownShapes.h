#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <span>

#include "chainrunner/MapEntry.h"
#include "chainrunner/plain_text.h"
#include "chainrunner/values.h"

namespace chainrunner {

/// The shapes of the maps that were written lately: which keys lie in which slots, in the order of the keys. Values of
/// one kind have maps of the same shapes at the same places, so the shape that stood at a place the last time is a good
/// guess, and to compare with a guess is cheaper than to sort. Whatever comes by, the memory stays the same. Used by
/// one thread at a time.
class KnownShapes {
 public:
  struct Member {
    static constexpr std::size_t longest = 31;

    std::uint64_t hash;
    std::uint32_t slot;
    std::uint32_t length;
    char text[longest + 1];  ///< the key, all of whose bytes are plain, with NULs behind it
  };

  struct Shape {
    static constexpr std::size_t mostMembers = 16;

    std::uint64_t capacity = 0;
    std::uint64_t count = 0;
    std::uint32_t index = 0;  ///< names the shape while it is known
    std::uint32_t users = 0;  ///< that are walking it now; it can't be forgotten meanwhile
    std::array<Member, mostMembers> members;

    /// Whether a map that isn't empty has exactly these keys in these slots.
    bool fits(const map_header& block) const {
      if (block.count != count || block.capacity != capacity) return false;
      const auto* const slots = reinterpret_cast<const map_slot*>(&block + 1);
      return std::all_of(members.begin(), members.begin() + count, [&](const Member& member) {
        const map_slot& slot = slots[member.slot];
        return slot.hash == member.hash && slot.key.tag == QEL_STRING &&
               std::strcmp(reinterpret_cast<const char*>(slot.key.payload), member.text) == 0;
      });
    }
  };

  /// Keeps a shape from being forgotten.
  class Use {
   public:
    explicit Use(Shape& shape) : shape(shape) { ++shape.users; }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;
    ~Use() { --shape.users; }

   private:
    Shape& shape;
  };

  /// A place in a value: the `position`-th entry of a map of the shape with the index `parent`, or in a list there.
  struct Place {
    std::uint32_t parent;
    std::uint32_t position;
  };

  /// The `parent` of what lies in no known shape.
  static constexpr std::uint32_t noParent = 64;

  KnownShapes() {
    for (std::size_t i = 0; i < shapes.size(); ++i) shapes[i].index = static_cast<std::uint32_t>(i);
  }

  /// The shape that stood there the last time, unless it was forgotten; any other otherwise.
  Shape& guess(Place place) { return shapes[guesses[indexOf(place)]]; }

  /// Learns the shape of a map, given its sorted entries, and takes it for the guess at the place from now on. Gives
  /// the shape's index, or `noParent` if it can't be remembered. It may take the place of another shape.
  std::uint32_t learn(const map_header& block, std::span<const MapEntry> entries, Place place) {
    Shape& shape = shapes[bucketOf(entries)];
    if (!shape.fits(block)) {
      if (shape.users > 0 || !std::all_of(entries.begin(), entries.end(), isShort)) return noParent;
      if (entries.size() > Shape::mostMembers) return noParent;
      describe(shape, block, entries);
    }
    guesses[indexOf(place)] = static_cast<std::uint8_t>(shape.index);
    return shape.index;
  }

 private:
  static constexpr std::uint32_t positions = Shape::mostMembers;

  static std::size_t indexOf(Place place) { return place.parent * positions + std::min(place.position, positions - 1); }

  /// Maps that share a bucket take turns.
  static std::size_t bucketOf(std::span<const MapEntry> entries) {
    std::uint64_t sum = entries.size();
    for (const MapEntry& entry : entries) sum += entry.slot->hash;
    return sum * 0x9e3779b97f4a7c15 >> 58;
  }

  static bool isShort(const MapEntry& entry) {
    return entry.slot->key.tag == QEL_STRING && entry.key.size() <= Member::longest &&
           std::all_of(entry.key.begin(), entry.key.end(), isPlain);
  }

  static void describe(Shape& shape, const map_header& block, std::span<const MapEntry> entries) {
    const auto* const slots = reinterpret_cast<const map_slot*>(&block + 1);
    shape.capacity = block.capacity;
    shape.count = entries.size();
    auto member = shape.members.begin();
    for (const MapEntry& entry : entries) {
      *member = {entry.slot->hash,
                 static_cast<std::uint32_t>(entry.slot - slots),
                 static_cast<std::uint32_t>(entry.key.size()),
                 {}};
      std::memcpy(member->text, entry.key.data(), entry.key.size());
      ++member;
    }
  }

  std::array<Shape, noParent> shapes{};
  std::array<std::uint8_t, (noParent + 1) * positions> guesses{};
};

}  // namespace chainrunner
