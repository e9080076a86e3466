#pragma once

#include <cstdarg>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace tests {

/// One call of qel_log_at: the format as it came, and the text that it gives.
struct LogLine {
  std::string category;
  std::int32_t level;
  std::string format;
  std::string text;
};

/// The text of `format` with `arguments`. Knows %s %d %f %li %lu %I64d %I64u and %%, and nothing else: at any other
/// conversion, and at a null string, `complaint` tells what was wrong, and the rest of the format is copied as it is.
std::string formatLine(const char* format, std::va_list arguments, std::string& complaint);

/// What was logged, in order. [any thread]
class LogCapture {
 public:
  void add(LogLine line);
  std::vector<LogLine> lines() const;
  std::vector<LogLine> drain();

  /// Gives and forgets the lines of one level only.
  std::vector<LogLine> drain(std::int32_t ofLevel);

  /// Notes that the level of `category` was asked for, and gives the level in force.
  std::int32_t askLevel(const char* category);
  void setLevel(std::int32_t level);
  std::vector<std::string> categoriesAsked() const;

  void reset();

 private:
  static constexpr std::int32_t defaultLevel = 3;

  mutable std::mutex mutex;
  std::vector<LogLine> captured;
  std::vector<std::string> asked;
  std::int32_t level = defaultLevel;
};

}  // namespace tests
