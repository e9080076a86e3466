#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "connectivity/host_abi.h"

namespace chainrunner {

/// The keys that came by lately, each with the hash that the host gives its text. Documents of one kind have the same
/// keys at the same places, so the key that stood at a place the last time is a good guess, and to compare with a guess
/// is cheaper than to scan and to hash. Whatever comes by, the memory stays the same. Used by one thread at a time.
class KnownKeys {
 public:
  struct Key {
    static constexpr std::size_t longest = 47;

    std::uint64_t hash = 0;
    std::uint32_t length = 0;  ///< 0 for none, and of the key that is empty
    std::uint32_t index = 0;   ///< names the key while it is known
    char text[longest + 1] = {};
  };

  /// A place in a document: the `position`-th key of an object that is the value of the key with the index `parent`, or
  /// lies in a list that is.
  struct Place {
    std::uint32_t parent;
    std::uint32_t position;
  };

  /// The `parent` of what is the value of no known key.
  static constexpr std::uint32_t noParent = 256;

  KnownKeys() {
    for (std::size_t i = 0; i < keys.size(); ++i) keys[i].index = static_cast<std::uint32_t>(i);
  }

  /// The key that stood there the last time, unless it was forgotten; any other, or one with no text, otherwise.
  const Key& guess(Place place) const { return keys[guesses[indexOf(place)]]; }

  /// Whether `size` bytes begin with the guess and a quote behind it.
  static bool isNext(const Key& guess, const char* bytes, std::size_t size) {
    // Eight bytes at a time, as long as they lie within both texts.
    if (guess.length == 0 || size < (guess.length | 7U) + 1) return false;
    std::size_t i = 0;
    for (; i + 8 <= guess.length; i += 8) {
      if (word(bytes + i) != word(guess.text + i)) return false;
    }
    const std::size_t rest = guess.length - i;
    if (rest > 0 && (word(bytes + i) ^ word(guess.text + i)) << (64 - 8 * rest) != 0) return false;
    return bytes[guess.length] == '"';
  }

  /// The key with the text, which is 1 to `Key::longest` bytes long and ends with a NUL; the guess at the place from
  /// now on. It may take the place of another key.
  const Key& learn(std::string_view text, Place place) {
    Key& key = keys[bucketOf(text)];
    if (std::string_view(key.text, key.length) != text) {
      key.hash = qel_hash_string(text.data());
      key.length = static_cast<std::uint32_t>(text.size());
      std::memset(key.text, 0, sizeof key.text);
      std::memcpy(key.text, text.data(), text.size());
    }
    guesses[indexOf(place)] = static_cast<std::uint8_t>(key.index);
    return key;
  }

 private:
  static constexpr std::uint32_t positions = 16;  ///< of a parent's objects that are told apart

  static std::uint64_t word(const char* bytes) {
    std::uint64_t result;
    std::memcpy(&result, bytes, sizeof result);
    return result;
  }

  static std::size_t indexOf(Place place) { return place.parent * positions + std::min(place.position, positions - 1); }

  /// From both ends and the length; texts that share a bucket take turns.
  static std::size_t bucketOf(std::string_view text) {
    std::uint64_t head = 0;
    std::uint64_t tail = 0;
    const std::size_t size = std::min(text.size(), sizeof head);
    std::memcpy(&head, text.data(), size);
    std::memcpy(&tail, text.data() + text.size() - size, size);
    constexpr std::uint64_t mixer = 0x9e3779b97f4a7c15;
    return ((head * mixer ^ tail) * mixer + text.size() * mixer) >> 56;
  }

  std::array<Key, 256> keys;
  std::array<std::uint8_t, (noParent + 1) * positions> guesses{};
};

}  // namespace chainrunner
