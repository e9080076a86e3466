#include "tests/blackbox/DeliveryThread.h"

#include <utility>

namespace tests {

DeliveryThread::DeliveryThread() : thread([this] { run(); }) {}

DeliveryThread::~DeliveryThread() {
  {
    std::lock_guard lock(mutex);
    ending = true;
  }
  changed.notify_all();
  thread.join();
}

void DeliveryThread::post(std::function<void()> work) {
  {
    std::lock_guard lock(mutex);
    waiting.push_back(std::move(work));
  }
  changed.notify_all();
}

void DeliveryThread::drain() {
  std::unique_lock lock(mutex);
  changed.wait(lock, [this] { return waiting.empty() && !busy; });
}

void DeliveryThread::run() {
  std::unique_lock lock(mutex);
  for (;;) {
    changed.wait(lock, [this] { return ending || !waiting.empty(); });
    if (waiting.empty()) return;
    const std::function<void()> work = std::move(waiting.front());
    waiting.pop_front();
    busy = true;
    lock.unlock();
    work();
    lock.lock();
    busy = false;
    changed.notify_all();
  }
}

}  // namespace tests
