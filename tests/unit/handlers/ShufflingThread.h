#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <random>
#include <thread>
#include <utility>
#include <vector>

namespace tests {

/// Runs what is posted on a thread of its own, in an order drawn from a seed. The destructor waits until all is done.
class ShufflingThread {
 public:
  explicit ShufflingThread(std::uint32_t seed) : random(seed), thread([this] { run(); }) {}

  ~ShufflingThread() {
    {
      std::lock_guard lock(mutex);
      ending = true;
    }
    changed.notify_all();
    thread.join();
  }
  ShufflingThread(const ShufflingThread&) = delete;
  ShufflingThread& operator=(const ShufflingThread&) = delete;

  /// [any thread, this one included]
  void post(std::function<void()> work) {
    {
      std::lock_guard lock(mutex);
      waiting.push_back(std::move(work));
    }
    changed.notify_all();
  }

 private:
  void run() {
    std::unique_lock lock(mutex);
    for (;;) {
      changed.wait(lock, [this] { return ending || !waiting.empty(); });
      if (waiting.empty()) return;
      std::swap(waiting[random() % waiting.size()], waiting.back());
      const std::function<void()> work = std::move(waiting.back());
      waiting.pop_back();
      lock.unlock();
      work();
      lock.lock();
    }
  }

  std::mutex mutex;
  std::condition_variable changed;
  std::vector<std::function<void()>> waiting;
  std::mt19937 random;
  bool ending = false;
  std::thread thread;
};

}  // namespace tests
