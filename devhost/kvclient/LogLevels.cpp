#include "devhost/kvclient/LogLevels.h"

#include <cstdlib>
#include <utility>

#include "devhost/kvclient/standard_error.h"

namespace devhost {
namespace {

constexpr int warnLevel = 3;

int levelFromEnvironment() {
  const char* text = std::getenv("DEVHOST_LOG_LEVEL");
  if (text == nullptr) return warnLevel;
  constexpr std::pair<const char*, int> names[] = {{"error", 2}, {"warn", warnLevel}, {"info", 4}, {"debug", 5}};
  for (const auto& [name, level] : names) {
    if (name == std::string(text)) return level;
  }
  writeStandardError("development host: DEVHOST_LOG_LEVEL must be error, warn, info or debug, not \"" +
                     std::string(text) + "\"; warn is taken\n");
  return warnLevel;
}

}  // namespace

LogLevels::LogLevels() : levels{{"", levelFromEnvironment()}} {}

void LogLevels::set(const std::string& prefix, int level) {
  std::lock_guard lock(mutex);
  levels[prefix] = level;
}

int LogLevels::get(std::string_view category) const {
  std::lock_guard lock(mutex);
  // Of the prefixes of one text, the longer sorts behind the shorter.
  for (auto prefix = levels.rbegin(); prefix != levels.rend(); ++prefix) {
    if (category.starts_with(prefix->first)) return prefix->second;
  }
  return warnLevel;
}

}  // namespace devhost
