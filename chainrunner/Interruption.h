#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

#include "connectivity/thread_annotations.h"

namespace chainrunner {

/// Takes SIGINT and SIGTERM on a thread of its own, so that no code runs in a signal handler. Make it before any other
/// thread: threads made later leave these signals to it.
class Interruption {
 public:
  /// `grace` is the time between the first signal and the end of patience; a second signal shortens it.
  explicit Interruption(std::chrono::milliseconds grace);

  /// Gives the signals back.
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  /// A file descriptor that is readable from the first signal on. [any thread]
  int file() const { return interruptedFile; }

  /// Whether there was a signal. [any thread]
  bool happened() const { return hasHappened.load(std::memory_order_relaxed); }

  /// Waits for the first signal. [any thread]
  void wait() const;

  /// What to do, on a thread of the interruption, when patience ends. An empty function takes it back; it is not
  /// running any more then. [any thread]
  void atEndOfPatience(std::function<void()> act) EXCLUDES(mutex);

 private:
  void run() EXCLUDES(mutex);
  bool awaitSignal(std::chrono::milliseconds patience);

  const std::chrono::milliseconds grace;
  int signalFile, interruptedFile, stopFile;
  com::tallowmere::connectivity10_15_4::Mutex mutex;
  std::function<void()> act GUARDED_BY(mutex);
  std::atomic<bool> hasHappened{false};  ///< spares who asks for each event a call of the system
  std::thread thread;
};

}  // namespace chainrunner
