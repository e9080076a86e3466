#include "chainrunner/LineReader.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace chainrunner {

LineReader::LineReader(std::string name, int file, int stopFile, std::size_t maxLineBytes)
    : name(std::move(name)), file(file), stopFile(stopFile), maxLineBytes(maxLineBytes) {}

LineReader::Result LineReader::next(std::string_view& line) {
  bool isTooLong = false;
  for (;;) {
    if (findEnd()) {
      line = std::string_view(buffer).substr(start, scanned - start);
      start = ++scanned;
      break;
    }
    if (buffer.size() - start > maxLineBytes + 1) {
      isTooLong = true;
      buffer.clear();
      start = scanned = 0;
    }
    if (fill(-1)) continue;
    if (start == buffer.size() && !isTooLong) return Result::end;
    line = std::string_view(buffer).substr(start);
    start = scanned = buffer.size();
    break;
  }
  if (line.ends_with('\r')) line.remove_suffix(1);
  return isTooLong || line.size() > maxLineBytes ? Result::tooLong : Result::line;
}

bool LineReader::isReady() {
  return findEnd() || (fill(0) && findEnd());
}

/// Looks from where the last look ended.
bool LineReader::findEnd() {
  scanned = std::min(buffer.find('\n', scanned), buffer.size());
  return scanned < buffer.size();
}

bool LineReader::fill(int timeoutMilliseconds) {
  if (isAtEnd) return false;
  pollfd files[] = {{file, POLLIN, 0}, {stopFile, POLLIN, 0}};
  while (poll(files, 2, timeoutMilliseconds) < 0)
    if (errno != EINTR) fail();
  if (files[1].revents != 0) {
    isAtEnd = true;
    buffer.clear();
    start = scanned = 0;
    return false;
  }
  if (files[0].revents == 0) return false;
  buffer.erase(0, start);
  scanned -= start;
  start = 0;
  const std::size_t before = buffer.size();
  constexpr std::size_t chunk = 64 * 1024;
  buffer.resize(before + chunk);
  ssize_t count = 0;
  while ((count = read(file, buffer.data() + before, chunk)) < 0)
    if (errno != EINTR) fail();
  buffer.resize(before + static_cast<std::size_t>(count));
  isAtEnd = count == 0;
  return count > 0;
}

void LineReader::fail() const {
  throw InputError(name + ": " + std::strerror(errno));
}

}  // namespace chainrunner
