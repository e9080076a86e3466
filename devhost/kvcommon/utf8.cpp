#include <cstdlib>
#include <cstring>

#include "connectivity/host_abi.h"

namespace {

constexpr char32_t replacementCharacter = 0xFFFD;

bool isHighSurrogate(char32_t unit) {
  return unit >= 0xD800 && unit < 0xDC00;
}
bool isLowSurrogate(char32_t unit) {
  return unit >= 0xDC00 && unit < 0xE000;
}

/// Reads one character and moves `text` behind it. A surrogate without its other half reads as U+FFFD.
char32_t takeCharacter(const uint16_t*& text) {
  const char32_t unit = *text++;
  if (isHighSurrogate(unit) && isLowSurrogate(*text)) return 0x10000 + ((unit - 0xD800) << 10) + (*text++ - 0xDC00u);
  return isHighSurrogate(unit) || isLowSurrogate(unit) ? replacementCharacter : unit;
}

/// Writes one character and gives the place behind it.
char* putCharacter(char* out, char32_t character) {
  const auto put = [&out](char32_t byte) { *out++ = static_cast<char>(byte); };
  const auto putRest = [&put, character](int shift) { put(0x80 | (character >> shift & 0x3F)); };
  if (character < 0x80) {
    put(character);
  } else if (character < 0x800) {
    put(0xC0 | character >> 6);
    putRest(0);
  } else if (character < 0x10000) {
    put(0xE0 | character >> 12);
    putRest(6);
    putRest(0);
  } else {
    put(0xF0 | character >> 18);
    putRest(12);
    putRest(6);
    putRest(0);
  }
  return out;
}

/// A copy of a short text of nothing but ASCII, as most texts that pass here are; null for any other, and without
/// memory.
char* copyShortAscii(const uint16_t* text) {
  char ascii[64];
  std::size_t size = 0;
  for (; size < sizeof ascii - 1 && text[size] != 0; ++size) {
    if (text[size] >= 0x80) return nullptr;
    ascii[size] = static_cast<char>(text[size]);
  }
  if (text[size] != 0) return nullptr;
  ascii[size++] = '\0';
  void* const copy = kv_malloc(size);
  return copy ? static_cast<char*>(std::memcpy(copy, ascii, size)) : nullptr;
}

}  // namespace

char* kv_getUTF8(const uint16_t* text) {
  if (char* const copy = copyShortAscii(text)) return copy;
  uint64_t units = 0;
  while (text[units] != 0) ++units;
  // A unit becomes three bytes at most; a pair becomes four.
  auto* copy = static_cast<char*>(kv_malloc(3 * units + 1));
  if (copy == nullptr) return nullptr;
  char* out = copy;
  while (*text != 0) out = putCharacter(out, takeCharacter(text));
  *out = '\0';
  return copy;
}
