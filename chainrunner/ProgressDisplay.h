#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "chainrunner/Console.h"

namespace chainrunner {

/// Keeps the console's progress line up to date, five times a second, on a thread of its own; does nothing where no
/// progress is shown.
class ProgressDisplay {
 public:
  /// `describe` is called on that thread. `console` must outlive the display.
  ProgressDisplay(Console& console, std::function<std::string()> describe);

  /// Stops and removes the line.
  ~ProgressDisplay();
  ProgressDisplay(const ProgressDisplay&) = delete;
  ProgressDisplay& operator=(const ProgressDisplay&) = delete;

 private:
  void run(const std::stop_token& stop);

  Console& console;
  const std::function<std::string()> describe;
  std::mutex mutex;
  std::condition_variable_any stopped;
  std::jthread thread;
};

}  // namespace chainrunner
