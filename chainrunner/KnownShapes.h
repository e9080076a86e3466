#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <span>

#include "chainrunner/GuessTable.h"
#include "chainrunner/MapEntry.h"
#include "chainrunner/plain_text.h"
#include "chainrunner/values.h"

namespace chainrunner {

/// Which keys of a map lie in which slots, in the order of the keys.
struct KnownShape {
  struct Member {
    static constexpr std::size_t longest = 31;

    std::uint64_t hash;
    std::uint32_t slot;
    std::uint32_t length;
    char text[longest + 1];  ///< the key, all of whose bytes are plain, with NULs behind it
  };
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

/// The shapes of the maps that were written lately: to compare with a guess is cheaper than to sort. A place is the
/// `position`-th entry of a map of the shape `parent`, or in a list there.
class KnownShapes : public GuessTable<KnownShape, 64> {
 public:
  using Shape = KnownShape;
  using Member = Shape::Member;

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

  /// Learns the shape of a map, given its sorted entries, and takes it for the guess at the place from now on. Gives
  /// the shape's index, or `noParent` if it can't be remembered. It may take the place of another shape.
  std::uint32_t learn(const map_header& block, std::span<const MapEntry> entries, Place place) {
    Shape& shape = itemFor(hashOf(entries));
    if (!shape.fits(block)) {
      if (shape.users > 0 || !std::all_of(entries.begin(), entries.end(), isShort)) return noParent;
      if (entries.size() > Shape::mostMembers) return noParent;
      describe(shape, block, entries);
    }
    keepGuess(place, shape);
    return shape.index;
  }

 private:
  static std::uint64_t hashOf(std::span<const MapEntry> entries) {
    std::uint64_t sum = entries.size();
    for (const MapEntry& entry : entries) sum += entry.slot->hash;
    return sum * 0x9e3779b97f4a7c15;
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
};

}  // namespace chainrunner
