#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "chainrunner/RunRecord.h"

namespace chainrunner {

/// What a run came to.
struct RunReport {
  RunCounts counts;
  double seconds = 0;                              ///< from the first line read to the last answer delivered
  std::map<std::string, std::string> statusItems;  ///< as the plug-in left them, by full key
  std::uint64_t peakMemoryBytes = 0;
  std::optional<std::int64_t> liveBlocks;  ///< blocks that nobody freed; none when they were not watched
  bool isInterrupted = false;

  double eventsPerSecond() const;

  /// The closing table, several lines, with an end of line behind each.
  std::string table() const;

  /// The same numbers as one JSON document.
  std::string json() const;
};

}  // namespace chainrunner
