#include "tests/support/LogCapture.h"

#include <cstdio>
#include <cstring>
#include <string_view>
#include <utility>

namespace tests {
namespace {

bool takePrefix(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

std::string inFixedNotation(double number) {
  const int length = std::snprintf(nullptr, 0, "%f", number);
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  std::snprintf(text.data(), text.size(), "%f", number);
  text.pop_back();
  return text;
}

}  // namespace

std::string formatLine(const char* format, std::va_list arguments, std::string& complaint) {
  std::string text;
  std::string_view rest = format;
  while (!rest.empty()) {
    const std::size_t plain = std::min(rest.find('%'), rest.size());
    text.append(rest.substr(0, plain));
    rest.remove_prefix(plain);
    if (rest.empty()) break;
    if (takePrefix(rest, "%%")) {
      text += '%';
    } else if (takePrefix(rest, "%s")) {
      const char* argument = va_arg(arguments, const char*);
      if (!argument) complaint = std::string("a null string for %s in the log format \"") + format + "\"";
      text += argument ? argument : "(null)";
    } else if (takePrefix(rest, "%d")) {
      text += std::to_string(va_arg(arguments, int));
    } else if (takePrefix(rest, "%f")) {
      text += inFixedNotation(va_arg(arguments, double));
    } else if (takePrefix(rest, "%li")) {
      text += std::to_string(va_arg(arguments, long));
    } else if (takePrefix(rest, "%lu")) {
      text += std::to_string(va_arg(arguments, unsigned long));
    } else if (takePrefix(rest, "%I64d")) {
      text += std::to_string(va_arg(arguments, std::int64_t));
    } else if (takePrefix(rest, "%I64u")) {
      text += std::to_string(va_arg(arguments, std::uint64_t));
    } else {
      complaint = std::string("a conversion that this host does not know in the log format \"") + format + "\"";
      return text.append(rest);
    }
  }
  return text;
}

void LogCapture::add(LogLine line) {
  std::lock_guard lock(mutex);
  captured.push_back(std::move(line));
}

std::vector<LogLine> LogCapture::lines() const {
  std::lock_guard lock(mutex);
  return captured;
}

std::vector<LogLine> LogCapture::drain() {
  std::lock_guard lock(mutex);
  return std::exchange(captured, {});
}

std::vector<LogLine> LogCapture::drain(std::int32_t ofLevel) {
  std::vector<LogLine> drained;
  std::lock_guard lock(mutex);
  std::erase_if(captured, [&](LogLine& line) {
    if (line.level != ofLevel) return false;
    drained.push_back(std::move(line));
    return true;
  });
  return drained;
}

std::int32_t LogCapture::askLevel(const char* category) {
  std::lock_guard lock(mutex);
  asked.emplace_back(category);
  return level;
}

void LogCapture::setLevel(std::int32_t newLevel) {
  std::lock_guard lock(mutex);
  level = newLevel;
}

std::vector<std::string> LogCapture::categoriesAsked() const {
  std::lock_guard lock(mutex);
  return asked;
}

void LogCapture::reset() {
  std::lock_guard lock(mutex);
  captured.clear();
  asked.clear();
  level = defaultLevel;
}

}  // namespace tests
