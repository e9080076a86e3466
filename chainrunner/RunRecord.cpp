#include "chainrunner/RunRecord.h"

#include <numeric>

namespace chainrunner {

using com::tallowmere::connectivity10_15_4::MutexLock;

std::uint64_t RunCounts::sum(const std::map<std::string, std::uint64_t>& counts) {
  return std::accumulate(counts.begin(), counts.end(), std::uint64_t{0},
                         [](std::uint64_t total, const auto& entry) { return total + entry.second; });
}

void RunRecord::countEventIn(const std::string& type) {
  const MutexLock lock(mutex);
  ++current.eventsIn[type];
}

void RunRecord::countEventOut(const std::string& type) {
  const MutexLock lock(mutex);
  ++current.eventsOut[type];
}

void RunRecord::countRefusedLine() {
  const MutexLock lock(mutex);
  ++current.refusedLines;
}

void RunRecord::countRequest() {
  const MutexLock lock(mutex);
  ++current.requests;
}

void RunRecord::countRetry() {
  const MutexLock lock(mutex);
  ++current.retries;
}

void RunRecord::countAnswer(const std::string& status, double latencySeconds) {
  const MutexLock lock(mutex);
  ++current.answers[status];
  current.latencies.add(latencySeconds);
}

RunCounts RunRecord::counts() const {
  const MutexLock lock(mutex);
  return current;
}

}  // namespace chainrunner
