#include "chainrunner/Console.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace chainrunner {

using com::tallowmere::connectivity10_15_4::MutexLock;

Console::Console(std::FILE* out, bool showProgress) : out(out), isShown(showProgress && isatty(fileno(out)) == 1) {}

void Console::line(const std::string& text) {
  const MutexLock lock(mutex);
  erase();
  std::fputs((text + "\n").c_str(), out);
  std::fflush(out);
}

void Console::progress(const std::string& text) {
  if (!isShown) return;
  const MutexLock lock(mutex);
  erase();
  // A line that wraps could not be erased.
  winsize window{};
  const bool isKnown = ioctl(fileno(out), TIOCGWINSZ, &window) == 0 && window.ws_col > 1;
  std::fputs(text.substr(0, isKnown ? window.ws_col - 1U : text.size()).c_str(), out);
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
