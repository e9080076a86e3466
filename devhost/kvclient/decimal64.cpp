// Decimals in the binary integer encoding of IEEE 754 decimal64.
//
//   sign 1 | exponent 10          | coefficient 53     unless the exponent would begin with the bits 11
//   sign 1 | 11 | exponent 10     | coefficient 51     behind the bits 100, for coefficients from 2^53 on
//   sign 1 | 11110 ...            infinity
//   sign 1 | 11111 ...            not a number
//
// The exponent is stored with a bias of 398.
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

#include "connectivity/host_platform.h"
#include "devhost/devhost.h"

namespace {

constexpr int exponentBias = 398;
constexpr int maxExponent = 369;
constexpr std::uint64_t maxCoefficient = 9'999'999'999'999'999;
constexpr std::uint64_t signBit = std::uint64_t{1} << 63;
constexpr std::uint64_t smallCoefficientLimit = std::uint64_t{1} << 53;
constexpr std::uint64_t longForm = std::uint64_t{3} << 61;

struct Parts {
  std::uint64_t coefficient;
  int exponent;
};

Parts decode(std::uint64_t bits) {
  Parts parts;
  if ((bits & longForm) == longForm) {
    parts = {smallCoefficientLimit | (bits & ((std::uint64_t{1} << 51) - 1)), static_cast<int>(bits >> 51 & 0x3FF)};
  } else {
    parts = {bits & (smallCoefficientLimit - 1), static_cast<int>(bits >> 53 & 0x3FF)};
  }
  // More than 16 digits are no coefficient, and the standard reads them as zero.
  if (parts.coefficient > maxCoefficient) parts.coefficient = 0;
  parts.exponent -= exponentBias;
  return parts;
}

std::uint64_t encode(bool negative, const Parts& parts) {
  const auto exponent = static_cast<std::uint64_t>(parts.exponent + exponentBias);
  const std::uint64_t sign = negative ? signBit : 0;
  if (parts.coefficient < smallCoefficientLimit) return sign | exponent << 53 | parts.coefficient;
  return sign | longForm | exponent << 51 | (parts.coefficient & ((std::uint64_t{1} << 51) - 1));
}

/// Plain digits where they are short, otherwise one digit before the point and an exponent: 123, 1.23,
/// 0.00001, 1.23E+10.
std::string toText(const Parts& parts) {
  std::string digits = std::to_string(parts.coefficient);
  const int adjusted = parts.exponent + static_cast<int>(digits.size()) - 1;
  // Below 1E-5, all sixteen digits behind a sign and the zeros would not fit the caller's 24 bytes.
  if (parts.exponent > 0 || adjusted < -5) {
    if (digits.size() > 1) digits.insert(1, ".");
    return digits + (adjusted < 0 ? "E-" : "E+") + std::to_string(std::abs(adjusted));
  }
  if (parts.exponent == 0) return digits;
  if (adjusted < 0) return "0." + std::string(static_cast<std::size_t>(-adjusted - 1), '0') + digits;
  return digits.insert(static_cast<std::size_t>(adjusted + 1), ".");
}

std::string toText(std::uint64_t bits) {
  const std::uint64_t special = bits >> 58 & 0x1F;
  if (special == 0x1F) return "NaN";
  const std::string sign = (bits & signBit) != 0 ? "-" : "";
  return sign + (special == 0x1E ? "Infinity" : toText(decode(bits)));
}

}  // namespace

void decimal64::toString(char* buffer) const {
  const std::string text = toText(bits);
  std::memcpy(buffer, text.c_str(), text.size() + 1);
}

qel_value devhost::makeDecimal(std::int64_t coefficient, int exponent) {
  const bool negative = coefficient < 0;
  const auto magnitude =
      negative ? std::uint64_t{0} - static_cast<std::uint64_t>(coefficient) : static_cast<std::uint64_t>(coefficient);
  if (magnitude > maxCoefficient) {
    throw std::out_of_range("A decimal has at most 16 digits, not " + std::to_string(coefficient));
  }
  if (exponent < -exponentBias || exponent > maxExponent) {
    throw std::out_of_range("A decimal's exponent lies within -398 and 369, not " + std::to_string(exponent));
  }
  return {encode(negative, {magnitude, exponent}), QEL_DECIMAL, 0};
}
