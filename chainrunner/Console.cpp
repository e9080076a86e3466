#include "chainrunner/Console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

namespace chainrunner {

using com::tallowmere::connectivity10_15_4::MutexLock;

namespace {

/// The bytes of the control character at the start of `text`, which is not empty; 0 when there is none, or a tab.
/// U+0080 to U+009F are two bytes in UTF-8.
std::size_t controlLength(std::string_view text) {
  const auto byte = [text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
  if ((byte(0) < 0x20 && byte(0) != '\t') || byte(0) == 0x7F) return 1;
  return text.size() > 1 && byte(0) == 0xC2 && byte(1) >= 0x80 && byte(1) < 0xA0 ? 2 : 0;
}

void appendEscaped(std::string& out, char character) {
  if (character == '\n') {
    out += "\\n";
    return;
  }
  char escape[5];
  std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned char>(character));
  out += escape;
}

}  // namespace

std::string printable(std::string_view text) {
  std::string out;
  while (!text.empty()) {
    const std::size_t length = controlLength(text);
    for (const char character : text.substr(0, length)) appendEscaped(out, character);
    if (length == 0) out += text.front();
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return out;
}

Console::Console(std::FILE* out, bool showProgress) : out(out), isShown(showProgress && isatty(fileno(out)) == 1) {}

void Console::line(const std::string& text) {
  const MutexLock lock(mutex);
  erase();
  std::fputs((printable(text) + "\n").c_str(), out);
  std::fflush(out);
}

void Console::progress(const std::string& text) {
  if (!isShown) return;
  const MutexLock lock(mutex);
  erase();
  // A line that wraps could not be erased.
  winsize window{};
  const bool isKnown = ioctl(fileno(out), TIOCGWINSZ, &window) == 0 && window.ws_col > 1;
  const std::string line = printable(text);
  std::fputs(line.substr(0, isKnown ? window.ws_col - 1U : line.size()).c_str(), out);
  std::fflush(out);
  hasProgress = true;
}

void Console::clearProgress() {
  const MutexLock lock(mutex);
  erase();
  std::fflush(out);
}

void Console::erase() {
  if (hasProgress) std::fputs("\r\033[K", out);
  hasProgress = false;
}

}  // namespace chainrunner
