#pragma once

#include "handlers/Handler.h"

namespace com::tallowmere::connectivity::plugins {

/// Asks for the logged-in user: one request, one response event, no paging.
class CurrentUserHandler final : public Handler {
 public:
  using Handler::Handler;

  // Handler
  void handleRequest(Message& event, BatchSender& batch) override;
  void handleResponse(Message& response, OutstandingRequest& request) override;
  void handleError(Message& response, OutstandingRequest& request) override;
  bool isBatchable(const Message&) const override { return false; }
  data_t getConcurrencyKey(const Message&) const override { return {}; }
};

}  // namespace com::tallowmere::connectivity::plugins
