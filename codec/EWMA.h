#pragma once

#include <stdexcept>

namespace com::tallowmere::connectivity::plugins {

/// An exponentially weighted moving average. One thread at a time.
class EWMA {
 public:
  /// Throws std::runtime_error "EWMA coefficient must be between 0 and 1 (exclusive)".
  explicit EWMA(double coefficient, double initialValue = 0.0)
      : coefficient(coefficient), value(initialValue), initialValue(initialValue) {
    if (!(coefficient > 0.0 && coefficient < 1.0))
      throw std::runtime_error("EWMA coefficient must be between 0 and 1 (exclusive)");
  }

  /// Takes a sample in. While the average is exactly 0 the sample is taken whole.
  void update(double sample) { value = value == 0.0 ? sample : (1 - coefficient) * value + coefficient * sample; }

  double getValue() const { return value; }
  double getInitialValue() const { return initialValue; }

 private:
  double coefficient;
  double value;
  double initialValue;
};

}  // namespace com::tallowmere::connectivity::plugins
