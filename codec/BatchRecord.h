#pragma once

#include <cstdint>
#include <thread>

namespace com::tallowmere::connectivity::plugins {

/// The tracking of one batch of host events. Lives until its last request is finished; a batch that starts no request
/// keeps its record.
struct BatchRecord {
  double startTime = 0.0;              ///< seconds, when the batch was opened
  std::uint64_t outstandingCount = 0;  ///< requests started and not finished
  bool allSent = false;                ///< the request path is done with the batch
  bool abandoned = false;              ///< the request path left the batch by a failure: nobody waits for it
  std::thread::id openedBy{};          ///< the thread on which the batch was opened
};

}  // namespace com::tallowmere::connectivity::plugins
