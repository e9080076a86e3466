// The host's C++ operations and its memory functions. A decimal's text is "dec:" and its bits in hexadecimal.
#include "connectivity/host_platform.h"

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "tests/support/HostState.h"

using tests::host;
using tests::HostCall;

namespace {

bool isHighSurrogate(char32_t unit) {
  return unit >= 0xD800 && unit < 0xDC00;
}
bool isLowSurrogate(char32_t unit) {
  return unit >= 0xDC00 && unit < 0xE000;
}

/// Takes one character off the text; a lone surrogate counts as U+FFFD.
char32_t takeCharacter(const uint16_t*& text) {
  const char32_t unit = *text++;
  if (isHighSurrogate(unit) && isLowSurrogate(*text)) {
    return 0x10000 + ((unit - 0xD800) << 10) + (char32_t{*text++} - 0xDC00);
  }
  return isHighSurrogate(unit) || isLowSurrogate(unit) ? char32_t{0xFFFD} : unit;
}

void appendUtf8(std::string& text, char32_t character) {
  const auto append = [&text](char32_t byte) { text += static_cast<char>(byte); };
  const auto tail = [&](int shift) { append(0x80 | ((character >> shift) & 0x3F)); };
  if (character < 0x80) {
    append(character);
  } else if (character < 0x800) {
    append(0xC0 | (character >> 6));
    tail(0);
  } else if (character < 0x10000) {
    append(0xE0 | (character >> 12));
    tail(6);
    tail(0);
  } else {
    append(0xF0 | (character >> 18));
    tail(12);
    tail(6);
    tail(0);
  }
}

}  // namespace

void decimal64::toString(char* buffer) const {
  host().calls.entered(HostCall::decimalToString);
  constexpr std::string_view head = "dec:";
  std::memcpy(buffer, head.data(), head.size());
  const auto written = std::to_chars(buffer + head.size(), buffer + 23, bits, 16);
  *written.ptr = '\0';
}

void Platform::float64ToChar8(char* buffer, double number) {
  host().calls.entered(HostCall::float64ToChar8);
  const auto written = std::to_chars(buffer, buffer + 31, number);
  *written.ptr = '\0';
}

double Platform::char8ToFloat64(const char* text, const char** end) {
  host().calls.entered(HostCall::char8ToFloat64);
  double number = 0.0;
  *end = std::from_chars(text, text + std::strlen(text), number).ptr;
  return number;
}

double Platform::relativeHighResTimeFloat() {
  host().calls.entered(HostCall::relativeHighResTimeFloat);
  return host().clock.fetch_add(host().clockStep);
}

void Platform::kv_free(void* block) {
  host().calls.entered(HostCall::kv_free);
  std::free(block);
}

char* kv_getUTF8(const uint16_t* text) {
  host().calls.entered(HostCall::kv_getUTF8);
  std::string utf8;
  while (*text != 0) appendUtf8(utf8, takeCharacter(text));
  auto* copy = static_cast<char*>(std::malloc(utf8.size() + 1));
  if (copy) std::memcpy(copy, utf8.c_str(), utf8.size() + 1);
  return copy;
}

void* kv_malloc(uint64_t size) {
  host().calls.entered(HostCall::kv_malloc, size);
  return std::malloc(size);
}
