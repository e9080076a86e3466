#pragma once

#include <utility>

namespace com::tallowmere::connectivity10_15_4 {

/// Runs `body` and forgets what it throws: for host calls in catch blocks and destructors. [any thread]
template <class Body>
void swallow(Body&& body) noexcept {
  try {
    std::forward<Body>(body)();
  } catch (...) {
  }
}

}  // namespace com::tallowmere::connectivity10_15_4
