// The scan that reading and writing JSON share: how far a text stands as it is between the quotes of a JSON string.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace chainrunner {

/// Whether the byte stands for itself: an ASCII character but a quote, a backslash or a control character.
inline constexpr std::array<bool, 256> isPlainByte = [] {
  std::array<bool, 256> plain{};
  for (std::size_t byte = 0x20; byte < 0x80; ++byte) plain[byte] = byte != '"' && byte != '\\';
  return plain;
}();

inline bool isPlain(char character) {
  return isPlainByte[static_cast<unsigned char>(character)];
}

/// As many bytes are looked at together.
inline constexpr std::size_t chunkBytes = 16;

#if defined(__SSE2__)

namespace detail {

/// One bit for each byte that isn't plain.
inline unsigned specialBits(__m128i bytes) {
  // As signed numbers the bytes from 0x80 on are below the space too.
  const __m128i low = _mm_cmplt_epi8(bytes, _mm_set1_epi8(0x20));
  const __m128i quotes = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'));
  const __m128i backslashes = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'));
  return static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(low, _mm_or_si128(quotes, backslashes))));
}

}  // namespace detail

/// Copies a chunk and gives the number of plain bytes that it begins with; what is copied behind them means nothing.
inline std::size_t copyPlainChunk(char* to, const char* from) {
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes);
  return static_cast<std::size_t>(std::countr_zero(detail::specialBits(bytes) | 1U << chunkBytes));
}

#else

/// Copies a chunk and gives the number of plain bytes that it begins with; what is copied behind them means nothing.
inline std::size_t copyPlainChunk(char* to, const char* from) {
  std::memcpy(to, from, chunkBytes);
  std::size_t length = 0;
  while (length < chunkBytes && isPlain(from[length])) ++length;
  return length;
}

#endif

namespace detail {

/// The word that lies there.
template <class Word>
std::uint64_t load(const char* from) {
  Word word;
  std::memcpy(&word, from, sizeof word);
  return word;
}

/// Whether all eight bytes are plain; it may say no of some that are.
inline bool arePlain(std::uint64_t bytes) {
  constexpr std::uint64_t ones = 0x0101010101010101;
  const auto below = [&](std::uint64_t value, std::uint64_t limit) { return value - ones * limit; };
  const std::uint64_t special =
      bytes | below(bytes, 0x20) | below(bytes ^ ones * '"', 1) | below(bytes ^ ones * '\\', 1);
  return (special & ones * 0x80) == 0;
}

/// Copies the bytes that the two words at both ends cover, unless one of them may not be plain.
template <class Word>
bool copyIfPlain(char* to, const char* from, std::size_t size) {
  const auto head = static_cast<Word>(load<Word>(from));
  const auto tail = static_cast<Word>(load<Word>(from + size - sizeof(Word)));
  // Words of four bytes make up one of eight.
  const bool isPlain =
      sizeof(Word) == 4 ? arePlain(std::uint64_t{tail} << 32 | head) : arePlain(head) && arePlain(tail);
  if (!isPlain) return false;
  std::memcpy(to, &head, sizeof head);
  std::memcpy(to + size - sizeof tail, &tail, sizeof tail);
  return true;
}

}  // namespace detail

/// Copies fewer than a chunk of bytes, up to the first one that isn't plain, and gives the number of plain ones; what
/// is copied behind them means nothing.
inline std::size_t copyPlainRest(char* to, const char* from, std::size_t size) {
  if (size >= 8 && detail::copyIfPlain<std::uint64_t>(to, from, size)) return size;
  if (size >= 4 && size < 8 && detail::copyIfPlain<std::uint32_t>(to, from, size)) return size;
  std::size_t length = 0;
  for (; length < size && isPlain(from[length]); ++length) to[length] = from[length];
  return length;
}

}  // namespace chainrunner
