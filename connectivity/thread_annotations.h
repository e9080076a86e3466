// Lock annotations that clang checks with -Wthread-safety, and the two lock classes that carry them. Other compilers
// see nothing but std::mutex and std::condition_variable.
#pragma once

#include <condition_variable>
#include <mutex>

#if defined(__clang__)
#define THREAD_ANNOTATION(x) __attribute__((x))
#else
#define THREAD_ANNOTATION(x)
#endif

#define CAPABILITY(x) THREAD_ANNOTATION(capability(x))
#define SCOPED_CAPABILITY THREAD_ANNOTATION(scoped_lockable)
#define GUARDED_BY(x) THREAD_ANNOTATION(guarded_by(x))
#define ACQUIRED_BEFORE(...) THREAD_ANNOTATION(acquired_before(__VA_ARGS__))
#define REQUIRES(...) THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define ACQUIRE(...) THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RELEASE(...) THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define EXCLUDES(...) THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))

namespace com::tallowmere::connectivity10_15_4 {

/// A plain mutex that thread-safety analysis knows.
class CAPABILITY("mutex") Mutex {
 public:
  void lock() ACQUIRE() { mutex.lock(); }
  void unlock() RELEASE() { mutex.unlock(); }

 private:
  friend class Condition;
  std::mutex mutex;
};

/// Holds a `Mutex` for a scope.
class SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) : mutex(mutex) { mutex.lock(); }
  ~MutexLock() RELEASE() { mutex.unlock(); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  Mutex& mutex;
};

/// A condition that belongs to a `Mutex`.
class Condition {
 public:
  /// Releases `mutex`, waits for a broadcast (or wakes for no reason) and takes `mutex` again.
  void wait(Mutex& mutex) REQUIRES(mutex) {
    std::unique_lock<std::mutex> lock(mutex.mutex, std::adopt_lock);
    condition.wait(lock);
    lock.release();
  }
  void broadcast() { condition.notify_all(); }

 private:
  std::condition_variable condition;
};

}  // namespace com::tallowmere::connectivity10_15_4
