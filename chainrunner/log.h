// Log lines of the runner's own, through the development host's log like those of the plug-in.
#pragma once

#include "connectivity/host_abi.h"

namespace chainrunner {

enum class LogLevel { error = 2, warn = 3, info = 4, debug = 5 };

/// Writes a line, formatted as printf does, when the category's verbosity reaches the level. [any thread]
template <class... Arguments>
void log(const char* category, LogLevel level, const char* format, Arguments... arguments) {
  const auto number = static_cast<int32_t>(level);
  if (qel_get_log_level(category) >= number) qel_log_at(category, number, format, arguments...);
}

}  // namespace chainrunner
