#pragma once

#include <cstdio>
#include <string>
#include <string_view>

#include "connectivity/thread_annotations.h"

namespace chainrunner {

/// The text with its control characters but tabs written as "\n" and "\x1B", as in the host's log: what comes from
/// events and answers must not steer a terminal. [any thread]
std::string printable(std::string_view text);

/// Standard error, shared by log lines, messages and the progress line, which is cleared before other text and only
/// ever shown on a terminal. [any thread]
class Console {
 public:
  /// Writes to `out`, which must outlive the console. `showProgress` false leaves out the progress line.
  Console(std::FILE* out, bool showProgress);

  /// Writes a line, made printable; the end of line is added.
  void line(const std::string& text) EXCLUDES(mutex);

  /// Replaces the progress line; the text is made printable.
  void progress(const std::string& text) EXCLUDES(mutex);

  /// Whether there is a progress line to keep up to date.
  bool showsProgress() const { return isShown; }

  /// Removes the progress line.
  void clearProgress() EXCLUDES(mutex);

 private:
  void erase() REQUIRES(mutex);

  std::FILE* const out;
  const bool isShown;
  com::tallowmere::connectivity10_15_4::Mutex mutex;
  bool hasProgress GUARDED_BY(mutex) = false;
};

}  // namespace chainrunner
