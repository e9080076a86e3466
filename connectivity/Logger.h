#pragma once

#include <cstdint>
#include <string>

#include "connectivity/host_abi.h"

namespace com::tallowmere::connectivity10_15_4 {

/// Log levels; larger is more verbose.
enum class Level : std::int32_t { error = 2, warn = 3, info = 4, debug = 5 };

/// Writes printf-style lines under the plug-in's category of the host's log. The verbosity is asked once, when the
/// logger is made. Formats are literals; "<%s> " and the category go at the head of each line. [any thread]
class Logger {
 public:
  explicit Logger(const std::string& category)
      : category(category), prefix(category), level(qel_get_log_level(category.c_str())) {}

  template <class... Arguments>
  void error(const char* format, Arguments... arguments) const {
    log(Level::error, format, arguments...);
  }
  template <class... Arguments>
  void warn(const char* format, Arguments... arguments) const {
    log(Level::warn, format, arguments...);
  }
  template <class... Arguments>
  void info(const char* format, Arguments... arguments) const {
    log(Level::info, format, arguments...);
  }
  template <class... Arguments>
  void debug(const char* format, Arguments... arguments) const {
    log(Level::debug, format, arguments...);
  }

  /// Writes a line if the verbosity reaches `at`. Arguments are texts as `const char*`, integers and doubles.
  template <class... Arguments>
  void log(Level at, const char* format, Arguments... arguments) const {
    if (!isEnabled(at)) return;
    std::string whole(format);
    whole.insert(0, "<%s> ");
    qel_log_at(category.c_str(), static_cast<std::int32_t>(at), whole.c_str(), prefix.c_str(), arguments...);
  }

  /// Whether a line at `at` would be written. Callers test it before they render what a line would show.
  bool isEnabled(Level at) const noexcept { return level >= static_cast<std::int32_t>(at); }
  bool isDebugEnabled() const noexcept { return isEnabled(Level::debug); }

 private:
  std::string category;
  std::string prefix;
  std::int32_t level;
};

}  // namespace com::tallowmere::connectivity10_15_4
