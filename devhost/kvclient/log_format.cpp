#include "devhost/kvclient/log_format.h"

#include <cstdio>
#include <cstring>

namespace devhost {
namespace {

constexpr const char* flagsWidthAndPrecision = "-+ #0'.*123456789";

}  // namespace

std::string translateFormat(const char* format) {
  std::string translated;
  while (*format != '\0') {
    if (*format != '%') {
      const std::size_t plain = std::strcspn(format, "%");
      translated.append(format, plain);
      format += plain;
      continue;
    }
    const std::size_t head = 1 + std::strspn(format + 1, flagsWidthAndPrecision);
    translated.append(format, head);
    format += head;
    if (std::strncmp(format, "I64", 3) == 0) {
      translated += "ll";
      format += 3;
    }
    if (*format != '\0') translated += *format++;
  }
  return translated;
}

std::string formatText(const char* format, std::va_list arguments) {
  const std::string translated = translateFormat(format);
  std::va_list again;
  va_copy(again, arguments);
  char line[512];
  const int length = std::vsnprintf(line, sizeof line, translated.c_str(), arguments);
  std::string text = length < 0 ? format : line;
  if (length >= static_cast<int>(sizeof line)) {
    text.resize(static_cast<std::size_t>(length));
    std::vsnprintf(text.data(), text.size() + 1, translated.c_str(), again);
  }
  va_end(again);
  return text;
}

}  // namespace devhost
