#include "chainrunner/ProgressDisplay.h"

#include <chrono>
#include <utility>

namespace chainrunner {

ProgressDisplay::ProgressDisplay(Console& console, std::function<std::string()> describe)
    : console(console), describe(std::move(describe)) {
  if (console.showsProgress()) thread = std::jthread([this](const std::stop_token& stop) { run(stop); });
}

ProgressDisplay::~ProgressDisplay() {
  if (!thread.joinable()) return;
  thread.request_stop();
  thread.join();
  console.clearProgress();
}

void ProgressDisplay::run(const std::stop_token& stop) {
  std::unique_lock lock(mutex);
  while (!stopped.wait_for(lock, stop, std::chrono::milliseconds(200), [&] { return stop.stop_requested(); }))
    console.progress(describe());
}

}  // namespace chainrunner
