// How long the platform takes, and which request is holding things up.
//
// A batch of host events is opened, gets its requests counted as they start, is marked when the request path is done
// with it, and is closed by the finisher of its last request:
//
//   open      outstandingCount rises and falls, allSent false: a finisher that reaches 0 waits here
//   all sent  the finisher that reaches 0 closes the batch, erases the record and reports
//   abandoned the request path left by a failure, or the codec is going: waiters leave, the record stays
//
// A finisher never waits on the thread that has the batch open, since it would wait for itself.
//
// Everything else here belongs to the response path, which one thread at a time enters, and has no lock.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "codec/BatchRecord.h"
#include "codec/CodecConfig.h"
#include "codec/DataConstants.h"
#include "codec/EWMA.h"
#include "connectivity/Logger.h"
#include "connectivity/Message.h"
#include "connectivity/StatusReporter.h"
#include "connectivity/thread_annotations.h"

namespace com::tallowmere::connectivity::plugins {

class Time;

class RequestMetrics {
 public:
  /// Creates the five status items, whose keys begin with `keyPrefix`. All referred objects must outlive this one;
  /// `time` may be built later. Throws std::runtime_error "Failed to create status item '...".
  RequestMetrics(const DataConstants& constants, const CodecConfig& config, const StatusReporter& reporter,
                 const std::string& keyPrefix, const Logger& logger, Time& time);

  /// Opens the next batch, the first being number 1. [request thread]
  void openBatch() EXCLUDES(mutex);

  /// Marks the open batch: all its requests are sent. [request thread]
  void markBatchSent() EXCLUDES(mutex);

  /// Marks the open batch as abandoned, which releases who waits for it. [request thread]
  void abandonBatch() EXCLUDES(mutex);

  /// Marks every batch as abandoned. [destroying thread]
  void abandonAllBatches() EXCLUDES(mutex);

  /// Stamps "metrics" on the request's metadata, counts the request in the open batch and gives its requestNo.
  /// [request thread]
  std::uint64_t startRequest(Message& message) EXCLUDES(mutex);

  /// Takes the latency of a matched response in; "requestSentTime" stands in the request's metadata. Throws
  /// std::runtime_error for a missing or wrongly typed time or number. [response thread]
  void requestResponded(const Message& request);

  /// Ends a logical request: averages, reports, and the end of its batch. Can wait for the request thread. Throws
  /// std::runtime_error "Element not in map" without "metrics". [response thread]
  void requestFinished(const Message& request) EXCLUDES(mutex);

  /// The request in one line: method, path with query, and the number of merged events. Throws std::exception when
  /// method or path is missing or is no URI. [response thread]
  std::string describeRequest(const Message& request) const;

 private:
  class Description;
  struct Progress;

  const map_t& stampOf(const Message& request) const;
  void trackMaximum(double now, double latency, Description& description);
  void trackSlowRequest(double individual, std::int64_t totalPages, Description& description);
  Progress progressOf(const Message& request) const;
  void reportLongRunning(const Message& request, double now, std::int64_t totalPages, bool isNew,
                         Description& description);
  std::optional<double> closeBatch(std::uint64_t number) EXCLUDES(mutex);
  void reportBatch(std::int64_t number, double now, double startTime, Description& description);

  // Written by the request thread alone, requestNo under the mutex.
  std::uint64_t batchNo = 0;
  std::uint64_t requestNo = 0;

  double maxLatencySeconds = 0.0;
  double maxLatencyTime = 0.0;
  std::unique_ptr<StatusItem> maxLatencyInLastHourMillis;
  std::unique_ptr<StatusItem> maxLatencyInLastHourDetails;
  std::unique_ptr<StatusItem> mostRecentSlowRequestDetails;
  std::unique_ptr<StatusItem> requestLatencyEWMAShortMillis;
  std::unique_ptr<StatusItem> requestLatencyEWMALongMillis;
  EWMA longEWMA{0.1};
  EWMA shortEWMA{0.5};

  Mutex mutex;
  Condition condition;
  std::unordered_map<std::uint64_t, BatchRecord> batches GUARDED_BY(mutex);

  std::unordered_map<std::uint64_t, double> requestReportTimes;   ///< by requestNo: first sent time, then last report
  std::unordered_map<std::uint64_t, double> longRunningRequests;  ///< by requestNo: reported as long-running
  std::unordered_map<std::uint64_t, double> batchSentTimes;       ///< by batchNo: first sent time

  const DataConstants& constants;
  const CodecConfig& config;
  const Logger& logger;
  Time& time;
};

}  // namespace com::tallowmere::connectivity::plugins
