#pragma once

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "codec/BatchSender.h"
#include "codec/OutstandingRequest.h"
#include "codec/RequestMetrics.h"
#include "connectivity/conversion.h"
#include "handlers/Handler.h"

namespace tests {

using namespace com::tallowmere::connectivity::plugins;

/// A handler that sends every event as it is, merges those that bear the metadata key "batchable" into one "POST
/// /merged", and keeps a record of the requests that it finished. [one thread, but for what the functions do]
class FakeHandler : public Handler {
 public:
  using Handler::Handler;

  /// What `handleResponse` does; nothing without one.
  std::function<void(Message& response, OutstandingRequest& request)> onResponse;

  /// What `finishedHandling` does instead of telling the metrics.
  std::function<void(Message& request)> onFinished;

  /// What `sendBatch` does instead of merging.
  std::function<Message(BatchSender& batch)> onSendBatch;

  /// Gives the key that requests are ordered by; an empty value without one.
  std::function<data_t(const Message& request)> keyOf;

  /// The requestIds that were finished, in order.
  std::vector<std::int64_t> finished;

  void handleRequest(Message& event, BatchSender& batch) override {
    metrics.startRequest(event);
    batch.addMessage(event, *this);
  }
  void handleResponse(Message& response, OutstandingRequest& request) override {
    if (onResponse) onResponse(response, request);
  }
  void handleError(Message&, OutstandingRequest&) override {}
  bool isBatchable(const Message& request) const override {
    return request.getMetadataMap().contains(data_t("batchable"));
  }
  data_t getConcurrencyKey(const Message& request) const override { return keyOf ? keyOf(request) : data_t(); }

  Message sendBatch(BatchSender& batch) override {
    if (onSendBatch) return onSendBatch(batch);
    list_t merged;
    for (Message& message : batch.getPending()) merged.push_back(std::move(message.getPayload()));
    map_t http;
    http.insert(constants.method.copy(), constants.methodPost.copy());
    http.insert(constants.path.copy(), "/merged");
    Message request{data_t(std::move(merged))};
    request.putMetadataValue(constants.http.copy(), std::move(http));
    metrics.startRequest(request);
    return request;
  }

  void finishedHandling(Message& request) override {
    const auto id = std::as_const(request).getMetadataMap().find(constants.requestId);
    if (id != std::as_const(request).getMetadataMap().end()) finished.push_back(id->second.get<std::int64_t>());
    if (onFinished) return onFinished(request);
    Handler::finishedHandling(request);
  }
};

}  // namespace tests
