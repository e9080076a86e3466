#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace com::tallowmere::connectivity::plugins {

/// Texts that were written for instants lately, so that the same instant isn't formatted again. [one thread]
class InstantMemo {
 public:
  /// The text of the instant, NUL-terminated, or null when it isn't remembered. Valid until the next `keep`.
  const char* find(double millis) const noexcept {
    const Entry& entry = entries[placeOf(bitsOf(millis))];
    return entry.text[0] != '\0' && entry.bits == bitsOf(millis) ? entry.text : nullptr;
  }

  /// Remembers the text, in place of another one's. A text too long to be a timestamp is passed over.
  void keep(double millis, std::string_view text) noexcept {
    Entry& entry = entries[placeOf(bitsOf(millis))];
    if (text.size() >= sizeof entry.text) return;
    entry.bits = bitsOf(millis);
    std::memcpy(entry.text, text.data(), text.size());
    entry.text[text.size()] = '\0';
  }

 private:
  static constexpr unsigned placeBits = 6;

  struct Entry {
    std::uint64_t bits = 0;
    char text[40] = {};
  };

  static std::uint64_t bitsOf(double millis) noexcept {
    std::uint64_t bits;
    std::memcpy(&bits, &millis, sizeof bits);
    return bits;
  }
  static std::uint64_t placeOf(std::uint64_t bits) noexcept { return bits * 0x9e3779b97f4a7c15 >> (64 - placeBits); }

  std::array<Entry, 1 << placeBits> entries;
};

}  // namespace com::tallowmere::connectivity::plugins
