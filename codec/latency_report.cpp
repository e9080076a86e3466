// The latency side of RequestMetrics: status items, averages, and the lines on long-running requests and batches.
#include <algorithm>

#include "codec/RequestMetrics.h"
#include "connectivity/conversion.h"
#include "connectivity/host_platform.h"
#include "connectivity/to_string.h"
#include "parsers/Time.h"

namespace com::tallowmere::connectivity::plugins {

namespace {

constexpr double maximumLifetime = 3600.0;  // seconds after which the next response is the new maximum
constexpr double reportInterval = 30.0;     // seconds between two reports on the same request
constexpr double millisPerSecond = 1000.0;

// Truncated, and within what an integer holds.
std::int64_t toInteger(double number) {
  constexpr double limit = 9223372036854774784.0;  // the greatest double below 2^63
  return number == number ? static_cast<std::int64_t>(std::clamp(number, -limit, limit)) : 0;
}

}  // namespace

/// How far a query has come.
struct RequestMetrics::Progress {
  std::int64_t pageSize = 0;
  std::string text;
};

/// The request's description, made when it is first needed.
class RequestMetrics::Description {
 public:
  Description(const RequestMetrics& metrics, const Message& request) : metrics(metrics), request(request) {}

  const std::string& get() {
    if (!text) text = metrics.describeRequest(request);
    return *text;
  }
  const char* c_str() { return get().c_str(); }

 private:
  const RequestMetrics& metrics;
  const Message& request;
  std::optional<std::string> text;
};

const map_t& RequestMetrics::stampOf(const Message& request) const {
  return request.getMetadataMap().at(constants.metrics).get<map_t>();
}

void RequestMetrics::requestResponded(const Message& request) {
  const double now = Platform::relativeHighResTimeFloat();
  const map_t& metadata = request.getMetadataMap();
  const map_t& stamp = stampOf(request);
  Description description(*this, request);

  trackMaximum(now, now - stamp.at(constants.batchStartTime).get<double>(), description);

  const double individual = now - stamp.at(constants.individualStartTime).get<double>();
  const auto pages = metadata.find(constants.totalPages);
  const std::int64_t totalPages = pages == metadata.end() ? 1 : pages->second.get<std::int64_t>();
  trackSlowRequest(individual, totalPages, description);

  const data_t nothing;
  const auto sent = metadata.find(constants.requestSentTime);
  const double sentTime = (sent == metadata.end() ? nothing : sent->second).get<double>();
  const auto number = static_cast<std::uint64_t>(stamp.at(constants.requestNo).get<std::int64_t>());
  const double reportTime = requestReportTimes.emplace(number, sentTime).first->second;
  batchSentTimes.emplace(static_cast<std::uint64_t>(stamp.at(constants.batchNo).get<std::int64_t>()), sentTime);

  const double running = now - reportTime;
  const std::int64_t threshold = config.latencySecsLogThreshold;
  if (!(threshold >= 1 && running > static_cast<double>(threshold))) return;
  const bool isNew = longRunningRequests.emplace(number, reportTime).second;
  if (isNew || running > reportInterval) reportLongRunning(request, now, totalPages, isNew, description);
}

// The hour begins anew with each maximum: after an hour without one the next response is it, however quick.
void RequestMetrics::trackMaximum(double now, double latency, Description& description) {
  if (!(now - maxLatencyTime > maximumLifetime || latency > maxLatencySeconds)) return;
  maxLatencySeconds = latency;
  maxLatencyTime = now;
  maxLatencyInLastHourMillis->setStatus(toInteger(maxLatencySeconds * millisPerSecond));
  maxLatencyInLastHourDetails->setStatus(time.formatNow() + "\t" + description.get());
}

// The number of pages makes the latest page an estimate of the whole query.
void RequestMetrics::trackSlowRequest(double individual, std::int64_t totalPages, Description& description) {
  const std::int64_t threshold = config.latencySecsSlowThreshold;
  if (threshold >= 1 && static_cast<double>(totalPages) * individual > static_cast<double>(threshold))
    mostRecentSlowRequestDetails->setStatus(time.formatNow() + "\t" + description.get());
}

RequestMetrics::Progress RequestMetrics::progressOf(const Message& request) const {
  Progress progress;
  const map_t& metadata = request.getMetadataMap();
  const auto http = metadata.find(constants.http);
  if (http == metadata.end()) return progress;
  const map_t& fields = http->second.get<map_t>();
  const auto queryString = fields.find(constants.queryString);
  if (queryString == fields.end()) return progress;

  const map_t& query = queryString->second.get<map_t>();
  if (const auto size = query.find(constants.pageSize); size != query.end())
    progress.pageSize = size->second.convert_to<std::int64_t>();
  const bool byId = metadata.contains(constants.simpleQuery);
  const map_t& place = byId ? metadata : query;
  if (const auto at = place.find(byId ? constants.pagesLeft : constants.currentPage); at != place.end())
    progress.text = (byId ? "pagesLeft=" : "currentPage=") + to_string(at->second) + ",";
  return progress;
}

void RequestMetrics::reportLongRunning(const Message& request, double now, std::int64_t totalPages, bool isNew,
                                       Description& description) {
  const Progress progress = progressOf(request);
  const map_t& stamp = stampOf(request);
  const std::int64_t requestNumber = stamp.at(constants.requestNo).get<std::int64_t>();
  const std::int64_t batchNumber = stamp.at(constants.batchNo).get<std::int64_t>();
  const double startTime = stamp.at(constants.batchStartTime).get<double>();
  const double elapsed = now - startTime;
  const double queued = longRunningRequests[static_cast<std::uint64_t>(requestNumber)] - startTime;
  requestReportTimes[static_cast<std::uint64_t>(requestNumber)] = now;

  if (isNew)
    logger.warn(
        "Long running query detected: request %I64d \"%s\" in batch %I64d has been running for %f seconds (of which "
        "%f seconds was queue time), with %s totalPages=%I64d and pageSize=%I64d",
        requestNumber, description.c_str(), batchNumber, elapsed, queued, progress.text.c_str(), totalPages,
        progress.pageSize);
  else
    logger.warn(
        "Long running query in-progress: request %I64d in batch %I64d has been running for %f seconds (of which %f "
        "seconds was queue time), with %s totalPages=%I64d, pageSize=%I64d, requestDetails=\"%s\"",
        requestNumber, batchNumber, elapsed, queued, progress.text.c_str(), totalPages, progress.pageSize,
        description.c_str());
}

void RequestMetrics::requestFinished(const Message& request) {
  const double now = Platform::relativeHighResTimeFloat();
  const map_t& stamp = stampOf(request);
  Description description(*this, request);
  const double total = now - stamp.at(constants.batchStartTime).get<double>();
  const std::int64_t requestNumber = stamp.at(constants.requestNo).get<std::int64_t>();
  const auto number = static_cast<std::uint64_t>(requestNumber);
  // A request that never had a response counts as reported at 0, long ago.
  const double sinceReport = now - requestReportTimes[number];
  requestReportTimes.erase(number);
  const bool wasLongRunning = longRunningRequests.erase(number) > 0;

  longEWMA.update(total * millisPerSecond);
  shortEWMA.update(total * millisPerSecond);
  requestLatencyEWMALongMillis->setStatus(toInteger(longEWMA.getValue()));
  requestLatencyEWMAShortMillis->setStatus(toInteger(shortEWMA.getValue()));

  const std::int64_t threshold = config.latencySecsLogThreshold;
  if ((threshold > 0 && sinceReport > static_cast<double>(threshold)) || wasLongRunning)
    logger.warn("Long running query completed: request %I64d \"%s\" completed after %f seconds", requestNumber,
                description.c_str(), total);

  const std::int64_t batchNumber = stamp.at(constants.batchNo).get<std::int64_t>();
  const std::optional<double> startTime = closeBatch(static_cast<std::uint64_t>(batchNumber));
  if (!startTime) return;
  reportBatch(batchNumber, now, *startTime, description);
  batchSentTimes.erase(static_cast<std::uint64_t>(batchNumber));
}

void RequestMetrics::reportBatch(std::int64_t number, double now, double startTime, Description& description) {
  const std::int64_t threshold = config.batchLatencySecsThreshold;
  const double duration = now - startTime;
  if (!(threshold >= 1 && duration > static_cast<double>(threshold))) return;
  const double queued = batchSentTimes[static_cast<std::uint64_t>(number)] - startTime;
  logger.warn("Long running batch: batch %I64d \"%s\" completed after %f seconds (of which %f seconds was queue time)",
              number, description.c_str(), duration, queued);
}

}  // namespace com::tallowmere::connectivity::plugins
