#include <locale.h>

#include <charconv>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>

#include "connectivity/host_platform.h"

namespace {

/// The value of a number that from_chars could read but not hold: an infinity or a zero. It leaves that to its caller.
double roundedOutOfRange(const char* begin, const char* end) {
  static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", nullptr);
  return strtod_l(std::string(begin, end).c_str(), nullptr, cLocale);
}

}  // namespace

void Platform::float64ToChar8(char* buffer, double number) {
  // The longest shortest form has 24 characters.
  *std::to_chars(buffer, buffer + 31, number).ptr = '\0';
}

double Platform::char8ToFloat64(const char* text, const char** end) {
  const char* last = text + std::strlen(text);
  const char* digits = *text == '+' && text[1] != '-' ? text + 1 : text;
  double number = 0;
  const auto [ptr, error] = std::from_chars(digits, last, number);
  *end = error == std::errc::invalid_argument ? text : ptr;
  return error == std::errc::result_out_of_range ? roundedOutOfRange(digits, ptr) : number;
}

double Platform::relativeHighResTimeFloat() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

void Platform::kv_free(void* block) {
  std::free(block);
}
