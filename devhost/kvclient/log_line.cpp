#include "devhost/kvclient/log_line.h"

#include <cstdio>
#include <ctime>

namespace devhost {
namespace {

std::string levelName(int level) {
  switch (level) {
    case 2:
      return "ERROR";
    case 3:
      return "WARN ";
    case 4:
      return "INFO ";
    case 5:
      return "DEBUG";
    default:
      return "LEVEL " + std::to_string(level);
  }
}

std::string timestamp(std::chrono::system_clock::time_point time) {
  const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(time);
  const auto seconds = std::chrono::floor<std::chrono::seconds>(milliseconds);
  const std::time_t calendar = std::chrono::system_clock::to_time_t(seconds);
  std::tm utc;
  gmtime_r(&calendar, &utc);
  char text[32];
  const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &utc);
  std::snprintf(text + length, sizeof text - length, ".%03dZ", static_cast<int>((milliseconds - seconds).count()));
  return text;
}

std::string escaped(const std::string& text) {
  std::string result;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte >= 0x20 && byte != 0x7F) {
      result += character;
    } else if (character == '\n') {
      result += "\\n";
    } else {
      char escape[5];
      std::snprintf(escape, sizeof escape, "\\x%02X", byte);
      result += escape;
    }
  }
  return result;
}

}  // namespace

std::string renderLine(std::chrono::system_clock::time_point time, const LogLine& line) {
  return timestamp(time) + " " + levelName(line.level) + " " + escaped(line.category) + " " + escaped(line.text) + "\n";
}

}  // namespace devhost
