#pragma once

#include "handlers/FindResourceHandler.h"

namespace com::tallowmere::connectivity::plugins {

/// Passes a request for any resource of the platform on as it came, and its answer back element by element, closed by
/// one final event, also after a failure.
class GenericRequestHandler final : public FindResourceHandler<genericParser> {
 public:
  using FindResourceHandler::FindResourceHandler;

  // Handler
  void handleRequest(Message& event, BatchSender& batch) override;
  void handleResponse(Message& response, OutstandingRequest& request) override;
  void handleError(Message& response, OutstandingRequest& request) override;

  /// As the base's, but a missing content type is no error by itself.
  bool isErrorResponse(const Message& response) const override;

  // FindResourceHandler
  Message makeResponseEvent(map_t&& parsed, std::int64_t reqId) const override;
  void sendAck(std::int64_t reqId, const std::string& text, Message& request) override;

 private:
  void takeIdToPath(Message& request) const;
};

}  // namespace com::tallowmere::connectivity::plugins
