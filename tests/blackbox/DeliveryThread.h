#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace tests {

/// A transport's delivery thread: runs what is posted, in order. The destructor waits until all is done.
class DeliveryThread {
 public:
  DeliveryThread();
  ~DeliveryThread();
  DeliveryThread(const DeliveryThread&) = delete;
  DeliveryThread& operator=(const DeliveryThread&) = delete;

  void post(std::function<void()> work);

  /// Waits until all that was posted has run.
  void drain();

 private:
  void run();

  std::mutex mutex;
  std::condition_variable changed;
  std::deque<std::function<void()>> waiting;
  bool busy = false;
  bool ending = false;
  std::thread thread;
};

}  // namespace tests
