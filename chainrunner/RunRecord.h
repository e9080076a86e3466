#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <string>

#include "chainrunner/LatencyHistogram.h"
#include "connectivity/thread_annotations.h"

namespace chainrunner {

/// What has happened in a run so far.
struct RunCounts {
  std::map<std::string, std::uint64_t> eventsIn;   ///< by type
  std::map<std::string, std::uint64_t> eventsOut;  ///< by type
  std::map<std::string, std::uint64_t> answers;    ///< by status, "201" or "504 transport/timeout"
  std::uint64_t refusedLines = 0;
  std::uint64_t requests = 0;
  std::uint64_t retries = 0;
  LatencyHistogram latencies;  ///< from the first attempt to the answer, in seconds

  static std::uint64_t sum(const std::map<std::string, std::uint64_t>& counts);
};

/// Counts what happens in a run, from all its threads. What one thread counts keeps no other waiting. [any thread]
class RunRecord {
 public:
  void countEventIn(const std::string& type) EXCLUDES(in.mutex);
  void countEventOut(const std::string& type) EXCLUDES(out.mutex);
  void countRefusedLine() { ++refusedLines; }
  void countRequest() { ++requests; }
  void countRetry() { ++retries; }
  void countAnswer(const std::string& status, double latencySeconds) EXCLUDES(answers.mutex);

  /// No snapshot of one moment, but whatever led to something counted is counted too: the request of each answer, the
  /// event in of each request.
  RunCounts counts() const;

 private:
  using Mutex = com::tallowmere::connectivity10_15_4::Mutex;
  struct Events {
    mutable Mutex mutex;
    std::map<std::string, std::uint64_t> byType GUARDED_BY(mutex);
  };
  struct Answers {
    mutable Mutex mutex;
    std::map<std::string, std::uint64_t> byStatus GUARDED_BY(mutex);
    LatencyHistogram latencies GUARDED_BY(mutex);
  };

  Events in, out;
  Answers answers;
  std::atomic<std::uint64_t> refusedLines = 0, requests = 0, retries = 0;
};

}  // namespace chainrunner
