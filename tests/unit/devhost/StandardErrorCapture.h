#pragma once

#include <unistd.h>

#include <cstdio>
#include <string>

/// Collects what the process writes to its standard error descriptor, for as long as it lives.
class StandardErrorCapture {
 public:
  StandardErrorCapture() : file(std::tmpfile()), original(dup(STDERR_FILENO)) { dup2(fileno(file), STDERR_FILENO); }
  ~StandardErrorCapture() {
    dup2(original, STDERR_FILENO);
    close(original);
    std::fclose(file);
  }
  StandardErrorCapture(const StandardErrorCapture&) = delete;
  StandardErrorCapture& operator=(const StandardErrorCapture&) = delete;

  /// What was written so far.
  std::string text() const {
    std::string result;
    char chunk[4096];
    off_t at = 0;
    for (ssize_t length; (length = pread(fileno(file), chunk, sizeof chunk, at)) > 0; at += length) {
      result.append(chunk, static_cast<std::size_t>(length));
    }
    return result;
  }

 private:
  std::FILE* file;
  int original;
};
