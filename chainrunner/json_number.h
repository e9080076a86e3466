// The numbers of JSON texts.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>

namespace chainrunner {

namespace detail {

inline bool isDigit(char character) {
  return character >= '0' && character <= '9';
}

/// The double of a number that has no exponent and at most 15 digits. They and the power of ten are doubles without a
/// loss then, so that the quotient is rounded but once.
inline std::optional<double> shortDecimalOf(std::string_view number) {
  static constexpr double powers[] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14};
  const bool isNegative = number.front() == '-';
  if (isNegative) number.remove_prefix(1);
  if (number.size() > 15) return std::nullopt;
  std::int64_t digits = 0;
  std::size_t decimals = 0;
  for (std::size_t i = 0; i < number.size(); ++i) {
    if (isDigit(number[i]))
      digits = 10 * digits + (number[i] - '0');
    else if (number[i] == '.')
      decimals = number.size() - i - 1;
    else
      return std::nullopt;
  }
  const double size = static_cast<double>(digits) / powers[decimals];
  return isNegative ? -size : size;
}

/// The power of ten at which the number begins, which is far from 0 here: 3 for 123, -2 for 0.00123.
inline std::int64_t magnitude(std::string_view number) {
  const char* const end = number.data() + number.size();
  const char* const first = std::find_if(number.data(), end, [](char c) { return c >= '1' && c <= '9'; });
  const char* const exponent = std::find_if(number.data(), end, [](char c) { return c == 'e' || c == 'E'; });
  const char* const point = std::find(number.data(), exponent, '.');
  std::int64_t power = point - first;
  if (power < 0) ++power;
  if (exponent == end) return power;
  const bool isNegative = exponent[1] == '-';
  std::int64_t shift = 0;
  if (std::from_chars(exponent + (isDigit(exponent[1]) ? 1 : 2), end, shift).ec != std::errc())
    return isNegative ? -1 : 1;
  // More than any number of digits makes up for, and far from what a sum of both can't hold.
  shift = std::min(shift, std::int64_t{1} << 60);
  return power + (isNegative ? -shift : shift);
}

}  // namespace detail

/// The double that is nearest to a JSON number, which is well-formed; nothing when it is beyond a double's range. What
/// is too small becomes zero. [any thread]
inline std::optional<double> doubleOf(std::string_view number) {
  if (const auto value = detail::shortDecimalOf(number)) return value;
  double value = 0;
  if (std::from_chars(number.data(), number.data() + number.size(), value).ec == std::errc()) return value;
  if (detail::magnitude(number) > 0) return std::nullopt;
  return number.front() == '-' ? -0.0 : 0.0;
}

}  // namespace chainrunner
