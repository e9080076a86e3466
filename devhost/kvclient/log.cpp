// The host's log: formats, masks and hands each line to the sink or to standard error.
#include <cstdarg>
#include <mutex>
#include <utility>

#include "devhost/devhost.h"
#include "devhost/kvclient/LogLevels.h"
#include "devhost/kvclient/SecretMask.h"
#include "devhost/kvclient/log_format.h"
#include "devhost/kvclient/log_line.h"
#include "devhost/kvclient/standard_error.h"

namespace devhost {
namespace {

struct Output {
  std::mutex mutex;
  std::function<void(const LogLine&)> sink;
};

// Never destroyed: plug-ins log while the process ends.
LogLevels& levels() {
  static LogLevels& levels = *new LogLevels;
  return levels;
}

SecretMask& secretMask() {
  static SecretMask& mask = *new SecretMask;
  return mask;
}

Output& output() {
  static Output& output = *new Output;
  return output;
}

bool takenBySink(const Output& out, const LogLine& line) {
  if (!out.sink) return false;
  try {
    out.sink(line);
    return true;
  } catch (...) {
    return false;
  }
}

void logLine(const LogLine& line) {
  Output& out = output();
  std::lock_guard lock(out.mutex);
  if (!takenBySink(out, line)) writeStandardError(renderLine(std::chrono::system_clock::now(), line));
}

std::string_view orNull(const char* text) {
  return text == nullptr ? "(null)" : text;
}

}  // namespace

void setLogSink(std::function<void(const LogLine&)> sink) {
  Output& out = output();
  {
    std::lock_guard lock(out.mutex);
    std::swap(out.sink, sink);
  }
  // The old sink is destroyed here, outside the lock: it may own things that log.
}

void setLogLevel(const std::string& categoryPrefix, int level) {
  levels().set(categoryPrefix, level);
}

void maskSecret(const std::string& secret) {
  secretMask().add(secret);
}

}  // namespace devhost

using namespace devhost;

int32_t qel_get_log_level(const char* category) {
  try {
    return levels().get(orNull(category));
  } catch (...) {
    return 0;
  }
}

void qel_log_at(const char* category, int32_t level, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  try {
    const std::string maskedCategory = secretMask().mask(std::string(orNull(category)));
    const std::string text = secretMask().mask(format == nullptr ? "(null)" : formatText(format, arguments));
    logLine({maskedCategory, level, text});
  } catch (...) {
    // Out of memory: a line is lost, the plug-in is not.
  }
  va_end(arguments);
}
