#pragma once

#include <utility>

#include "handlers/Handler.h"

namespace tests {

using namespace com::tallowmere::connectivity::plugins;

/// The base with nothing of its own, whose helpers everybody may call.
class PlainHandler : public Handler {
 public:
  using Handler::addApplicationKey;
  using Handler::addAuthorization;
  using Handler::addAuthorizationUnlessCookie;
  using Handler::checkHttpMetadata;
  using Handler::checkPayloadIsMap;
  using Handler::errorTextOf;
  using Handler::Handler;
  using Handler::logErrorResponse;
  using Handler::makeErrorEvent;
  using Handler::requiresResponse;
  using Handler::responseChannelOf;

  void handleRequest(Message&, BatchSender&) override {}
  void handleResponse(Message&, OutstandingRequest&) override {}
  void handleError(Message&, OutstandingRequest&) override {}
  bool isBatchable(const Message&) const override { return false; }
  data_t getConcurrencyKey(const Message&) const override { return {}; }
};

}  // namespace tests
