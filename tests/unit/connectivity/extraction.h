// Declarations for tests of the extractor.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "connectivity/extractConfiguration.h"
#include "tests/unit/connectivity/failure.h"
#include "tests/unit/connectivity/made_values.h"

namespace tests {

inline constexpr const char* label = "MarlovanceCodec";

struct Modes {
  static std::vector<std::string> words() { return {"always", "auto"}; }
};

using String = product::ConfigElement<std::string>;
using Integer = product::ConfigElement<std::int64_t>;
using Boolean = product::ConfigElement<bool>;
using Mode = product::ConfigElement<product::Enumeration<Modes>>;

inline product::ConfigKey plain(const char* key) {
  return std::string(key);
}

/// Extracts with whatever line comes on standard error swallowed.
template <class... T>
std::string failureOfExtracting(const product::map_t& config, const product::ConfigElement<T>&... elements) {
  testing::internal::CaptureStderr();
  const std::string failure = failureOf([&] { return product::extractConfiguration(label, config, elements...); });
  testing::internal::GetCapturedStderr();
  return failure;
}

template <class... T>
std::string failureOfExtracting(const char* config, const product::ConfigElement<T>&... elements) {
  return failureOfExtracting(mapFromJson(config), elements...);
}

}  // namespace tests
