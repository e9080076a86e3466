#include "handlers/MessagingHandler.h"

#include "codec/OutstandingRequest.h"
#include "codec/ResponseSender.h"
#include "codec/frame_keys.h"
#include "connectivity/conversion.h"
#include "connectivity/to_string.h"

namespace com::tallowmere::connectivity::plugins {

void MessagingHandler::handleResponse(Message& response, OutstandingRequest&) {
  if (logger.isDebugEnabled()) logger.debug("Skipping message %s", to_string(response).c_str());
}

void MessagingHandler::handleError(Message& response, OutstandingRequest& request) {
  logErrorResponse(response, request);
  response.putMetadataValue(frameKeys.type, constants.typeError.ownedCopy());
  data_t& payload = response.getPayload();
  if (!payload.is(Tag::map)) {
    map_t body;
    body.insert(constants.messageOfError, payload.isString() ? payload.copy() : data_t(fallbackText));
    payload = std::move(body);
  }
  responseSender.sendResponse(response);
}

}  // namespace com::tallowmere::connectivity::plugins
