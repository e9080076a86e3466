#pragma once

#include "handlers/Handler.h"

namespace com::tallowmere::connectivity::plugins {

/// What SMS and e-mail share: a success says nothing, a failure reaches the host as an Error event, and all requests
/// share one ordering key.
class MessagingHandler : public Handler {
 public:
  // Handler
  void handleResponse(Message& response, OutstandingRequest& request) override;
  void handleError(Message& response, OutstandingRequest& request) override;
  bool isBatchable(const Message&) const override { return false; }
  data_t getConcurrencyKey(const Message&) const override { return ""; }

  /// By the status alone. Throws std::runtime_error "Element not in map" without one.
  bool isErrorResponse(const Message& response) const override { return hasErrorStatus(response, constants); }

 protected:
  /// `fallbackText` is a literal: what an Error event says when the answer says nothing.
  MessagingHandler(const HandlerServices& services, const char* fallbackText) noexcept
      : Handler(services), fallbackText(fallbackText) {}

 private:
  const char* fallbackText;
};

}  // namespace com::tallowmere::connectivity::plugins
