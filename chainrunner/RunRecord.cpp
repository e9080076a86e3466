#include "chainrunner/RunRecord.h"

#include <numeric>

namespace chainrunner {

using com::tallowmere::connectivity10_15_4::MutexLock;

std::uint64_t RunCounts::sum(const std::map<std::string, std::uint64_t>& counts) {
  return std::accumulate(counts.begin(), counts.end(), std::uint64_t{0},
                         [](std::uint64_t total, const auto& entry) { return total + entry.second; });
}

void RunRecord::countEventIn(const std::string& type) {
  const MutexLock lock(in.mutex);
  ++in.byType[type];
}

void RunRecord::countEventOut(const std::string& type) {
  const MutexLock lock(out.mutex);
  ++out.byType[type];
}

void RunRecord::countAnswer(const std::string& status, double latencySeconds) {
  const MutexLock lock(answers.mutex);
  ++answers.byStatus[status];
  answers.latencies.add(latencySeconds);
}

RunCounts RunRecord::counts() const {
  RunCounts now;
  {
    const MutexLock lock(out.mutex);
    now.eventsOut = out.byType;
  }
  {
    const MutexLock lock(answers.mutex);
    now.answers = answers.byStatus;
    now.latencies = answers.latencies;
  }
  now.retries = retries;
  now.requests = requests;
  now.refusedLines = refusedLines;
  const MutexLock lock(in.mutex);
  now.eventsIn = in.byType;
  return now;
}

}  // namespace chainrunner
