#pragma once

#include <cstdint>
#include <vector>

#include "codec/DataConstants.h"
#include "codec/RequestMetrics.h"
#include "codec/RequestSender.h"
#include "connectivity/Logger.h"
#include "connectivity/Message.h"

namespace com::tallowmere::connectivity::plugins {

class Handler;

/// Groups the batchable messages of one batch of host events; lives for one call. The order of requests is that of the
/// events. [request thread]
class BatchSender {
 public:
  /// Opens a new batch. All referred objects must outlive this one.
  BatchSender(RequestSender& sender, std::int64_t maxBatchSize, RequestMetrics& metrics, const Logger& logger,
              const DataConstants& constants);

  /// Left by an exception before `finish`, sends what is pending and marks the batch all the same; lets nothing out.
  ~BatchSender();
  BatchSender(const BatchSender&) = delete;
  BatchSender& operator=(const BatchSender&) = delete;

  /// Takes a finished request: it waits to be merged with others of its handler, or is sent at once. Throws what
  /// sending throws.
  void addMessage(Message& message, Handler& handler);

  /// Sends what is pending as one request; afterwards nothing is, also when that failed. Throws what the handler's
  /// `sendBatch` and sending throw.
  void flush();

  /// Sends what is pending and marks the batch as sent; a failure marks it as abandoned and goes on to the caller.
  void finish();

  /// The messages that a handler's `sendBatch` merges, in order.
  std::vector<Message>& getPending() noexcept { return pending; }

 private:
  std::vector<Message> pending;
  Handler* lastHandler = nullptr;
  RequestSender& sender;
  std::int64_t maxBatchSize;
  RequestMetrics& metrics;
  const Logger& logger;
  const DataConstants& constants;
  bool finished = false;
};

}  // namespace com::tallowmere::connectivity::plugins
