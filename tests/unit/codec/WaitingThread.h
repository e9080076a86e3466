#pragma once

#include <atomic>
#include <functional>
#include <thread>

namespace tests {

/// A thread whose work may have to wait for somebody, and that can be seen to do so.
class WaitingThread {
 public:
  explicit WaitingThread(std::function<void()> work);

  /// Waits for the end of the work.
  ~WaitingThread() { join(); }
  WaitingThread(const WaitingThread&) = delete;
  WaitingThread& operator=(const WaitingThread&) = delete;

  /// Comes back when the thread sleeps in the kernel: true. False when the work came to its end instead.
  bool sleeps() const;

  void join();

 private:
  std::atomic<int> id{0};
  std::atomic<bool> ended{false};
  std::thread thread;
};

}  // namespace tests
