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

/// Copies fewer than a chunk of bytes, up to the first one that isn't plain, and gives the number of plain ones; what
/// is copied behind them means nothing.
inline std::size_t copyPlainRest(char* to, const char* from, std::size_t size) {
  std::size_t length = 0;
#if defined(__SSE2__)
  // The zeros behind the bytes that are loaded end the plain ones.
  if (size >= 8) {
    const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to), bytes);
    length = static_cast<std::size_t>(std::countr_zero(detail::specialBits(bytes)));
    if (length < 8) return length;
  }
#endif
  for (; length < size && isPlain(from[length]); ++length) to[length] = from[length];
  return length;
}

}  // namespace chainrunner
