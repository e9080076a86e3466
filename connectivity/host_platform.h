// The host's C++ operations, apart from host_abi.h because they cannot be C. Both classes are the host's own and lie in
// the global namespace; their symbols are bound when a plug-in is loaded.
#pragma once

#include <cstdint>

#include "connectivity/host_abi.h"

/// The host's decimal number: 8 bytes whose meaning only the host knows.
class HOST_SYMBOL decimal64 {
 public:
  /// Writes the number's text, NUL-terminated, into `buffer`, which has room for 24 bytes. [any thread]
  void toString(char* buffer) const;

 private:
  uint64_t bits;
};
static_assert(sizeof(decimal64) == 8);

/// Number formatting, the clock and memory of the host. [any thread]
class HOST_SYMBOL Platform {
 public:
  /// Writes the number's text, NUL-terminated, into `buffer`, which has room for 32 bytes.
  static void float64ToChar8(char* buffer, double number);

  /// Parses a number from the start of `text` and stores the address of the first byte not consumed in `*end`.
  static double char8ToFloat64(const char* text, const char** end);

  /// A monotonic clock, in seconds. Only differences between readings have a meaning.
  static double relativeHighResTimeFloat();

  /// Frees a block that the host allocated for the caller. Null does nothing.
  static void kv_free(void* block);
};
