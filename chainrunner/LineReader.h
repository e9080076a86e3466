#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace chainrunner {

/// An input that can't be read; `what()` names it and tells why.
class InputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Reads lines from a file descriptor and can be called off while it waits for one. [one thread]
class LineReader {
 public:
  enum class Result { line, tooLong, end };

  /// Reads from `file`; ends early once `stopFile` is readable. Both stay the caller's. `name` is for messages.
  LineReader(std::string name, int file, int stopFile, std::size_t maxLineBytes);

  /// The next line without its end ("\n" or "\r\n"), which stays until the next call of any operation. A line of more
  /// than `maxLineBytes` is skipped and reported as `tooLong`. Throws InputError.
  Result next(std::string_view& line);

  /// Whether `next` would give a line without waiting. Throws InputError.
  bool isReady();

 private:
  bool fill(int timeoutMilliseconds);
  bool findEnd();
  [[noreturn]] void fail() const;

  const std::string name;
  const int file, stopFile;
  const std::size_t maxLineBytes;
  std::string buffer;
  std::size_t start = 0;    ///< of what has not been given out
  std::size_t scanned = 0;  ///< from `start` to here there is no line end
  bool isAtEnd = false;
};

}  // namespace chainrunner
