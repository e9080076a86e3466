#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "chainrunner/GuessTable.h"
#include "connectivity/host_abi.h"

namespace chainrunner {

/// A key that came by, with the hash that the host gives its text.
struct KnownKey {
  static constexpr std::size_t longest = 47;

  std::uint64_t hash = 0;
  std::uint32_t length = 0;  ///< 0 for none, and of the key that is empty
  std::uint32_t index = 0;   ///< names the key while it is known
  char text[longest + 1] = {};
};

/// The keys that came by lately: to compare with a guess is cheaper than to scan and to hash. A place is the
/// `position`-th key of an object that is the value of the key `parent`, or lies in a list that is. A guess may be a
/// key with no text.
class KnownKeys : public GuessTable<KnownKey, 256> {
 public:
  using Key = KnownKey;

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
    Key& key = itemFor(hashOf(text));
    if (std::string_view(key.text, key.length) != text) {
      key.hash = qel_hash_string(text.data());
      key.length = static_cast<std::uint32_t>(text.size());
      std::memset(key.text, 0, sizeof key.text);
      std::memcpy(key.text, text.data(), text.size());
    }
    keepGuess(place, key);
    return key;
  }

 private:
  static std::uint64_t word(const char* bytes) {
    std::uint64_t result;
    std::memcpy(&result, bytes, sizeof result);
    return result;
  }

  /// From both ends and the length.
  static std::uint64_t hashOf(std::string_view text) {
    std::uint64_t head = 0;
    std::uint64_t tail = 0;
    const std::size_t size = std::min(text.size(), sizeof head);
    std::memcpy(&head, text.data(), size);
    std::memcpy(&tail, text.data() + text.size() - size, size);
    constexpr std::uint64_t mixer = 0x9e3779b97f4a7c15;
    return (head * mixer ^ tail) * mixer + text.size() * mixer;
  }
};

}  // namespace chainrunner
