#pragma once

#include <cstdint>
#include <memory>

#include "codec/CodecConfig.h"
#include "codec/DataConstants.h"
#include "codec/OutstandingRequests.h"
#include "connectivity/Logger.h"
#include "connectivity/sides.h"
#include "connectivity/thread_annotations.h"

namespace com::tallowmere::connectivity::plugins {

/// Stamps and records each request and hands it to the transport, one at a time. [any thread]
class RequestSender {
 public:
  /// All referred objects must outlive this one; `transportSide` is the codec's field, filled while the chain is built.
  RequestSender(OutstandingRequests& outstanding, const std::unique_ptr<TransportSide>& transportSide,
                const Logger& logger, const DataConstants& constants, const CodecConfig& config) noexcept
      : outstanding(outstanding), transportSide(transportSide), logger(logger), constants(constants), config(config) {}

  /// Sends the request as a batch of one: a fresh "requestId", the present time, in automatic mode the ordering hints,
  /// and a recorded copy; the transport takes the message's contents, and may answer before this returns. A request
  /// whose hand-over fails stays recorded. Throws std::runtime_error "Element not in map" without "metrics",
  /// what `getConcurrencyKey` throws, and "No transport side is connected".
  void sendRequest(Message& message, Handler& handler) EXCLUDES(mutex);

  /// Hands a message to the transport as it is. Throws std::runtime_error "No transport side is connected".
  void passOn(Message& message) EXCLUDES(mutex);

 private:
  void addOrderingHints(Message& message, Handler& handler) REQUIRES(mutex);

  OutstandingRequests& outstanding;
  const std::unique_ptr<TransportSide>& transportSide;
  const Logger& logger;
  const DataConstants& constants;
  const CodecConfig& config;

  // Taken before the lock of OutstandingRequests, so that the order of ids is the order of recording.
  Mutex mutex;
  bool lastRequestWasWrite GUARDED_BY(mutex) = false;
  std::uint64_t nextRequestId GUARDED_BY(mutex) = 0;
};

}  // namespace com::tallowmere::connectivity::plugins
