#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace chainrunner {

/// Durations in buckets that grow with them, so that memory stays the same however many there are. A quantile is told
/// to within 2 %; the greatest is exact. Not synchronised.
class LatencyHistogram {
 public:
  void add(double seconds);

  std::uint64_t count() const { return total; }
  double maximum() const { return greatest; }

  /// A duration that the share `q` (0 to 1) of all durations does not exceed, in seconds; 0 without any.
  double quantile(double q) const;

 private:
  // Buckets of 2 % from a microsecond to more than a day.
  static constexpr std::size_t bucketCount = 1300;
  std::array<std::uint64_t, bucketCount> buckets{};
  std::uint64_t total = 0;
  double greatest = 0;
};

}  // namespace chainrunner
