#include "tests/unit/codec/WaitingThread.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <string>

namespace tests {
namespace {

/// The letter that the kernel gives for the thread's state, 'S' when it sleeps; 0 when there is no such thread.
char stateOf(int thread) {
  std::ifstream stream("/proc/self/task/" + std::to_string(thread) + "/stat");
  const std::string line{std::istreambuf_iterator<char>(stream), {}};
  const std::size_t afterName = line.rfind(')');
  return afterName == std::string::npos || afterName + 2 >= line.size() ? '\0' : line[afterName + 2];
}

}  // namespace

WaitingThread::WaitingThread(std::function<void()> work)
    : thread([this, work = std::move(work)] {
        id = static_cast<int>(syscall(SYS_gettid));
        work();
        ended = true;
      }) {}

bool WaitingThread::sleeps() const {
  while (!ended) {
    if (id != 0 && stateOf(id) == 'S') return true;
    std::this_thread::yield();
  }
  return false;
}

void WaitingThread::join() {
  if (thread.joinable()) thread.join();
}

}  // namespace tests
