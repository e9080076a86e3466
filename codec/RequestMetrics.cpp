#include "codec/RequestMetrics.h"

#include <Poco/URI.h>

#include "connectivity/conversion.h"
#include "connectivity/host_platform.h"
#include "connectivity/to_string.h"

namespace com::tallowmere::connectivity::plugins {

RequestMetrics::RequestMetrics(const DataConstants& constants, const CodecConfig& config,
                               const StatusReporter& reporter, const std::string& keyPrefix, const Logger& logger,
                               Time& time)
    : maxLatencyInLastHourMillis(reporter.createStatusItem(keyPrefix + ".maxLatencyInLastHourMillis", 0)),
      maxLatencyInLastHourDetails(reporter.createStatusItem(keyPrefix + ".maxLatencyInLastHourDetails", "")),
      mostRecentSlowRequestDetails(reporter.createStatusItem(keyPrefix + ".mostRecentSlowRequestDetails", "")),
      requestLatencyEWMAShortMillis(reporter.createStatusItem(keyPrefix + ".requestLatencyEWMAShortMillis", 0)),
      requestLatencyEWMALongMillis(reporter.createStatusItem(keyPrefix + ".requestLatencyEWMALongMillis", 0)),
      constants(constants),
      config(config),
      logger(logger),
      time(time) {}

void RequestMetrics::openBatch() {
  ++batchNo;
  MutexLock lock(mutex);
  BatchRecord& batch = batches[batchNo];
  batch.startTime = Platform::relativeHighResTimeFloat();
  batch.openedBy = std::this_thread::get_id();
}

void RequestMetrics::markBatchSent() {
  MutexLock lock(mutex);
  batches[batchNo].allSent = true;
  condition.broadcast();
}

void RequestMetrics::abandonBatch() {
  MutexLock lock(mutex);
  batches[batchNo].abandoned = true;
  condition.broadcast();
}

void RequestMetrics::abandonAllBatches() {
  MutexLock lock(mutex);
  for (auto& [number, batch] : batches) batch.abandoned = true;
  condition.broadcast();
}

std::uint64_t RequestMetrics::startRequest(Message& message) {
  map_t stamp;
  stamp.insert(constants.batchNo, static_cast<std::int64_t>(batchNo));
  stamp.insert(constants.requestNo, static_cast<std::int64_t>(requestNo));
  stamp.insert(constants.batchStartTime, Platform::relativeHighResTimeFloat());
  message.getMetadataMap().set(constants.metrics, std::move(stamp));

  // Counted before the request is sent, so that a batch can't seem finished between two of its messages.
  MutexLock lock(mutex);
  ++batches[batchNo].outstandingCount;
  condition.broadcast();
  return requestNo++;
}

std::optional<double> RequestMetrics::closeBatch(std::uint64_t number) {
  MutexLock lock(mutex);
  if (--batches[number].outstandingCount != 0) return std::nullopt;
  for (;;) {
    const auto found = batches.find(number);
    if (found == batches.end()) return std::nullopt;
    const BatchRecord& batch = found->second;
    if (batch.allSent) {
      const double startTime = batch.startTime;
      batches.erase(found);
      return startTime;
    }
    const bool goneOn = batch.outstandingCount != 0;
    if (goneOn || batch.abandoned || batch.openedBy == std::this_thread::get_id()) return std::nullopt;
    condition.wait(mutex);
  }
}

std::string RequestMetrics::describeRequest(const Message& request) const {
  const map_t& metadata = request.getMetadataMap();
  const map_t& http = metadata.at(constants.http).get<map_t>();
  const std::string method = http.at(constants.method).get<std::string>();
  Poco::URI uri(toLatin1(http.at(constants.path).get<std::string>()).get());
  if (const auto query = http.find(constants.queryString); query != http.end())
    for (const auto& [key, value] : query->second.get<map_t>())
      uri.addQueryParameter(toLatin1(key.convert_to<std::string>()).get(),
                            toLatin1(value.convert_to<std::string>()).get());

  std::string text = method + " " + uri.toString();
  if (const auto count = metadata.find(constants.batchedMessagesCount); count != metadata.end())
    text += " (" + to_string(count->second) + ")";
  return text;
}

}  // namespace com::tallowmere::connectivity::plugins
