#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace com::tallowmere::connectivity::plugins {

/// Seconds that were read from timestamps lately, so that the same text isn't parsed again: the measurements of one
/// device, or the times of one document, often share theirs. [one thread]
class TimestampMemo {
 public:
  /// A text as the memo compares it: its bytes up to the NUL, padded with zeros. Without `isShort` the text is too long
  /// to be remembered.
  class Key {
   public:
    explicit Key(const char* text) noexcept {
      const std::size_t length = strnlen(text, sizeof words);
      isShort = length < sizeof words;
      if (isShort) std::memcpy(words, text, length);
    }

   private:
    friend class TimestampMemo;
    std::uint64_t words[4] = {};
    bool isShort;
  };

  /// The seconds of the text, or null when they aren't remembered. Valid until the next `keep`.
  const double* find(const Key& key) const noexcept {
    const Entry& entry = entries[placeOf(key)];
    const bool isIt = key.isShort && key.words[0] != 0 && std::memcmp(entry.words, key.words, sizeof key.words) == 0;
    return isIt ? &entry.seconds : nullptr;
  }

  /// Remembers the seconds, in place of another text's.
  void keep(const Key& key, double seconds) noexcept {
    if (!key.isShort) return;
    Entry& entry = entries[placeOf(key)];
    std::memcpy(entry.words, key.words, sizeof key.words);
    entry.seconds = seconds;
  }

 private:
  static constexpr unsigned placeBits = 8;

  struct Entry {
    std::uint64_t words[4] = {};
    double seconds = 0;
  };

  static std::uint64_t placeOf(const Key& key) noexcept {
    constexpr std::uint64_t odd = 0x9e3779b97f4a7c15;
    std::uint64_t mixed = 0;
    for (const std::uint64_t word : key.words) mixed = ((mixed << 23 | mixed >> 41) ^ word) * odd;
    return mixed >> (64 - placeBits);
  }

  std::array<Entry, 1 << placeBits> entries;
};

}  // namespace com::tallowmere::connectivity::plugins
