// The exception barrier: what keeps every exception inside the library.
#pragma once

#include <utility>

#include "connectivity/Logger.h"
#include "connectivity/swallow.h"

namespace com::tallowmere::connectivity10_15_4 {

/// Writes the exception in hand as one line: "Exception from LABEL: TEXT", or "Unknown exception from LABEL" for what
/// is no std::exception. Must be called while an exception is handled. Nothing leaves it, not even a failure of the
/// logging itself. [any thread]
void reportCurrentException(const Logger& logger, Level level, const char* label) noexcept;

/// Runs `body`: 0 when it returns, 1 when it throws, after one line at `level` that names `label`. [any thread]
template <class Body>
int guarded(const Logger& logger, Level level, const char* label, Body&& body) noexcept {
  try {
    std::forward<Body>(body)();
    return 0;
  } catch (...) {
    reportCurrentException(logger, level, label);
    return 1;
  }
}

}  // namespace com::tallowmere::connectivity10_15_4
