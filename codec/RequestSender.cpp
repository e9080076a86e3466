#include "codec/RequestSender.h"

#include <stdexcept>

#include "connectivity/conversion.h"
#include "connectivity/host_platform.h"
#include "connectivity/to_string.h"
#include "handlers/Handler.h"

namespace com::tallowmere::connectivity::plugins {

void RequestSender::sendRequest(Message& message, Handler& handler) {
  map_t& metadata = message.getMetadataMap();
  const double now = Platform::relativeHighResTimeFloat();
  metadata.at(constants.metrics).get<map_t>().set(constants.individualStartTime, now);
  {
    MutexLock lock(mutex);
    metadata.set(constants.requestId, static_cast<std::int64_t>(nextRequestId++));
    if (config.automaticConcurrency) addOrderingHints(message, handler);
    outstanding.add(message.copy(), handler);
    if (logger.isDebugEnabled()) logger.debug("Formatted message: %s", to_string(message).c_str());
  }
  passOn(message);
}

void RequestSender::passOn(Message& message) {
  if (!transportSide) throw std::runtime_error("No transport side is connected");
  transportSide->sendBatchTowardsTransport(&message, &message + 1);
}

// Reads run freely among themselves and writes are ordered per key; a change between the two, or a write without a key,
// is a barrier. Keeping this order is the transport's business.
void RequestSender::addOrderingHints(Message& message, Handler& handler) {
  map_t& metadata = message.getMetadataMap();
  const map_t& http = std::as_const(metadata).at(constants.http).get<map_t>();
  const auto method = http.find(constants.method);
  const bool isWrite = method == http.end() || !(method->second == constants.methodGet);
  if (isWrite || lastRequestWasWrite) {
    data_t key = handler.getConcurrencyKey(message);
    const bool isBarrier = isWrite != lastRequestWasWrite || key.empty();
    if (isBarrier) metadata.set(constants.concurrencyControlFlush, true);
    if (!key.empty()) metadata.set(constants.concurrencyControlKey, std::move(key));
  }
  lastRequestWasWrite = isWrite;
}

}  // namespace com::tallowmere::connectivity::plugins
