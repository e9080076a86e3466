#pragma once

#include <cstdint>
#include <string>

#include "codec/CodecConfig.h"
#include "codec/DataConstants.h"
#include "connectivity/Logger.h"
#include "connectivity/Message.h"

namespace com::tallowmere::connectivity::plugins {

class BatchSender;
class OutstandingRequest;
class RequestMetrics;
class ResponseSender;
class Time;

/// What every handler refers to. The codec owns all six and outlives every handler.
struct HandlerServices {
  const DataConstants& constants;
  const CodecConfig& config;
  Time& time;
  RequestMetrics& metrics;
  const Logger& logger;
  ResponseSender& responseSender;
};

/// Serves one host event type: turns the event into an HTTP request message, and the transport's answer to it into host
/// events. Requests and responses come on different threads, at the same time; the few handlers that keep state between
/// calls guard it with a lock of their own.
///
/// The order of virtual operations is part of the interface: append, never insert.
class Handler {
 public:
  explicit Handler(const HandlerServices& services) noexcept;
  Handler(const Handler&) = delete;
  Handler& operator=(const Handler&) = delete;

  /// Turns the event, in place, into a request and gives it to `batch`. Throws `DropMessage` with what is wrong, and
  /// std::runtime_error for fields of a wrong type; the event is then lost. [request thread]
  virtual void handleRequest(Message& event, BatchSender& batch) = 0;

  /// Makes host events of a good answer, whose contents it may take. `request` is the request as it was recorded.
  /// Throws std::runtime_error for a body of a wrong type. [response thread]
  virtual void handleResponse(Message& response, OutstandingRequest& request) = 0;

  /// The same for an answer that `isErrorResponse` calls an error. [response thread]
  virtual void handleError(Message& response, OutstandingRequest& request) = 0;

  /// Whether the request may wait to be merged with others. [request thread]
  virtual bool isBatchable(const Message& request) const = 0;

  /// The key that the request is ordered by, or an empty value. [request thread, or response thread for a next page]
  virtual data_t getConcurrencyKey(const Message& request) const = 0;

  /// Takes the pending messages of `batch` and gives the one request that stands for all. The base throws
  /// `BatchingNotSupported`. [request thread]
  virtual Message sendBatch(BatchSender& batch);

  virtual ~Handler() = default;

  /// Ends a request; called once, when its record dies. The base tells the metrics. [response thread, or the thread
  /// that destroys the codec]
  virtual void finishedHandling(Message& request);

  /// Sets the configured "tenantId", if any, in the parsed payload of a reply. [response thread]
  virtual void addTenantId(map_t& parsed) const;

  /// Whether the answer is an error: it has no content type, or the error media type, or a status of 400 to 599. Throws
  /// std::runtime_error "Element not in map" when it has a content type and no status. [response thread]
  virtual bool isErrorResponse(const Message& response) const;

  const Logger& getLogger() const noexcept { return logger; }

 protected:
  /// Throws `DropMessage` "metadata does not have an HTTP mapping" or "metadata.http does not have path value".
  void checkHttpMetadata(const Message& event) const;

  /// Throws `DropMessage` "payload is not a map".
  void checkPayloadIsMap(const Message& event) const;

  /// Puts the configured application key into the request's headers, where the event's own wins. An empty key, either
  /// one's, is taken out again.
  void addApplicationKey(Message& request) const;

  /// Puts the configured credentials into the request's headers, over the event's own.
  void addAuthorization(Message& request) const;

  /// The same, unless the event brought its own header, or a cookie with the token that belongs to it. Half of such a
  /// pair is taken out.
  void addAuthorizationUnlessCookie(Message& request) const;

  /// Sets "qel.type" and "qel.channel" of an event for the host.
  static void address(Message& event, const data_t& type, data_t channel);

  /// Whether the request's metadata says that the application awaits a reply.
  bool requiresResponse(const Message& request) const;

  /// The request's "responseChannel", or the empty string.
  data_t responseChannelOf(const Message& request) const;

  /// Writes the failed exchange as one error line; nothing at error level in multi-tenant mode. Throws
  /// std::runtime_error when status, method or path are missing or of another type.
  void logErrorResponse(const Message& response, const Message& request) const;

  /// The failure in words: the platform's own "message", else the exchange in one line. Throws as above, and when a
  /// body of the error media type is no map.
  std::string errorTextOf(const Message& response, const Message& request) const;

  /// The response turned into an Error event with "message" and "reqId"; its other metadata stays. `response` is left
  /// empty. Throws as above, and "Element not in map" without "reqId".
  Message makeErrorEvent(Message& response, const Message& request) const;

  /// An event that tells a failed query: "error", "statusCode", "errorDetails" and "reqId". Throws as above.
  Message makeFailureEvent(const data_t& type, const data_t& channel, const Message& response,
                           const Message& request) const;

  const DataConstants& constants;
  const CodecConfig& config;
  Time& time;
  RequestMetrics& metrics;
  const Logger& logger;
  ResponseSender& responseSender;
};

/// Whether the response's "http.statusCode" lies in 400 to 599. Throws std::runtime_error "Element not in map" without
/// one.
bool hasErrorStatus(const Message& response, const DataConstants& constants);

}  // namespace com::tallowmere::connectivity::plugins
