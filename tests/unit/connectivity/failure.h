// What a piece of code fails with.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace tests {

/// The text of the std::runtime_error that leaves `body`, or "(no failure)".
template <class Body>
std::string failureOf(Body&& body) {
  try {
    static_cast<void>(std::forward<Body>(body)());
  } catch (const std::runtime_error& failure) {
    return failure.what();
  }
  return "(no failure)";
}

}  // namespace tests
