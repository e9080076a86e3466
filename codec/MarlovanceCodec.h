#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "codec/BatchSender.h"
#include "codec/CodecConfig.h"
#include "codec/DataConstants.h"
#include "codec/OutstandingRequests.h"
#include "codec/RequestMetrics.h"
#include "codec/RequestSender.h"
#include "codec/ResponseSender.h"
#include "codec/handler_table.h"
#include "connectivity/AbstractCodec.h"
#include "parsers/Time.h"

namespace com::tallowmere::connectivity::plugins {

class Handler;

/// The plug-in: host events become HTTP requests, HTTP responses become host events. The constructor is the whole of
/// start-up. Events come on one thread at a time and responses on one at a time; the two run at once.
class MarlovanceCodec final : public AbstractCodec {
 public:
  /// Throws std::runtime_error for a bad configuration, or when a status item can't be made.
  explicit MarlovanceCodec(const createPluginParams& params);

  /// Finishes the requests still in flight, in ascending requestId, on the calling thread.
  ~MarlovanceCodec() override;

  // Plugin

  /// From now on both directions ignore their messages. Nothing is drained. [any thread]
  void shutdown() override { shuttingDown = true; }

  // HostSide
  void sendBatchTowardsHost(Message* begin, Message* end) override;  // [response thread]

  // TransportSide
  void sendBatchTowardsTransport(Message* begin, Message* end) override;  // [request thread]

 private:
  void processEvent(Message& event, BatchSender& batch);
  void translateEvent(Message& event, BatchSender& batch);
  bool isControlObject(const Message& event) const;
  Handler& findHandler(Message& event) const;
  void sendError(const char* text);
  void processResponse(Message& response);
  void moveSentTime(Message& response, OutstandingRequest& request) const;
  void warnOfDrop(const std::exception& failure, const Message& message) const noexcept;

  // In order of construction; destroyed in reverse, before the neighbours.
  std::atomic<bool> shuttingDown{false};
  HandlerTable handlers;
  DataConstants constants;
  CodecConfig config;
  RequestMetrics metrics;
  OutstandingRequests outstanding;
  RequestSender sender;
  ResponseSender responder;
  Time time;
};

}  // namespace com::tallowmere::connectivity::plugins
