#pragma once

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

/// Counts what happens in a run, from all its threads. [any thread]
class RunRecord {
 public:
  void countEventIn(const std::string& type);
  void countEventOut(const std::string& type);
  void countRefusedLine();
  void countRequest();
  void countRetry();
  void countAnswer(const std::string& status, double latencySeconds);

  RunCounts counts() const;

 private:
  mutable com::tallowmere::connectivity10_15_4::Mutex mutex;
  RunCounts current GUARDED_BY(mutex);
};

}  // namespace chainrunner
