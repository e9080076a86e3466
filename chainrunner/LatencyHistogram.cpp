#include "chainrunner/LatencyHistogram.h"

#include <algorithm>
#include <cmath>

namespace chainrunner {

namespace {

constexpr double smallest = 1e-6;
const double growth = std::log(1.02);

}  // namespace

void LatencyHistogram::add(double seconds) {
  const double steps = seconds > smallest ? std::ceil(std::log(seconds / smallest) / growth) : 0;
  ++buckets[std::min(static_cast<std::size_t>(steps), bucketCount - 1)];
  ++total;
  greatest = std::max(greatest, seconds);
}

double LatencyHistogram::quantile(double q) const {
  const auto wanted = static_cast<std::uint64_t>(std::ceil(q * static_cast<double>(total)));
  std::uint64_t seen = 0;
  for (std::size_t i = 0; i < bucketCount; ++i) {
    seen += buckets[i];
    if (seen > 0 && seen >= wanted) return std::min(greatest, smallest * std::exp(growth * static_cast<double>(i)));
  }
  return 0;
}

}  // namespace chainrunner
