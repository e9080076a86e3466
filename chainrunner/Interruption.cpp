#include "chainrunner/Interruption.h"

#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

namespace chainrunner {

using com::tallowmere::connectivity10_15_4::MutexLock;

namespace {

sigset_t terminationSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  return signals;
}

int checked(int file) {
  if (file < 0) throw std::system_error(errno, std::generic_category(), "signals can't be watched");
  return file;
}

void setEvent(int eventFile) {
  const std::uint64_t one = 1;
  static_cast<void>(write(eventFile, &one, sizeof one) == sizeof one);
}

bool isReadable(int file, int timeoutMilliseconds) {
  pollfd watched = {file, POLLIN, 0};
  while (poll(&watched, 1, timeoutMilliseconds) < 0 && errno == EINTR) {
  }
  return watched.revents != 0;
}

}  // namespace

Interruption::Interruption(std::chrono::milliseconds grace) : grace(grace) {
  const sigset_t signals = terminationSignals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  signalFile = checked(signalfd(-1, &signals, SFD_CLOEXEC));
  interruptedFile = checked(eventfd(0, EFD_CLOEXEC));
  stopFile = checked(eventfd(0, EFD_CLOEXEC));
  thread = std::thread([this] { run(); });
}

Interruption::~Interruption() {
  setEvent(stopFile);
  thread.join();
  for (const int file : {signalFile, interruptedFile, stopFile}) close(file);
  const sigset_t signals = terminationSignals();
  pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

void Interruption::wait() const {
  isReadable(interruptedFile, -1);
}

void Interruption::atEndOfPatience(std::function<void()> newAct) {
  const MutexLock lock(mutex);
  act = std::move(newAct);
}

void Interruption::run() {
  if (!awaitSignal(std::chrono::milliseconds(-1))) return;
  hasHappened.store(true, std::memory_order_relaxed);
  setEvent(interruptedFile);
  awaitSignal(grace);
  const MutexLock lock(mutex);
  if (act && !isReadable(stopFile, 0)) act();
}

/// True after a signal, false when patience or the object ended first.
bool Interruption::awaitSignal(std::chrono::milliseconds patience) {
  pollfd files[] = {{signalFile, POLLIN, 0}, {stopFile, POLLIN, 0}};
  while (poll(files, 2, static_cast<int>(patience.count())) < 0 && errno == EINTR) {
  }
  signalfd_siginfo taken;
  return files[0].revents != 0 && read(signalFile, &taken, sizeof taken) == sizeof taken;
}

}  // namespace chainrunner
