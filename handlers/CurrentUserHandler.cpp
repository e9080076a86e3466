#include "handlers/CurrentUserHandler.h"

#include "codec/BatchSender.h"
#include "codec/OutstandingRequest.h"
#include "codec/RequestMetrics.h"
#include "codec/ResponseSender.h"
#include "connectivity/conversion.h"
#include "parsers/Time.h"

namespace com::tallowmere::connectivity::plugins {

void CurrentUserHandler::handleRequest(Message& event, BatchSender& batch) {
  checkHttpMetadata(event);
  metrics.startRequest(event);
  addApplicationKey(event);
  addAuthorizationUnlessCookie(event);
  batch.addMessage(event, *this);
}

void CurrentUserHandler::handleResponse(Message& response, OutstandingRequest& request) {
  map_t user = std::move(response.getPayload().get<map_t>());
  address(response, constants.typeGetCurrentUserResponse,
          config.prefixQueryChannel(constants.channelFindCurrentUser.ownedCopy()));
  time.parseTimes(user);
  map_t payload;
  payload.insert(constants.reqId, request.getMetadataMap().at(constants.reqId).copy());
  payload.insert(constants.user, std::move(user));
  response.setPayload(std::move(payload));
  responseSender.sendResponse(response);
}

void CurrentUserHandler::handleError(Message& response, OutstandingRequest& request) {
  logErrorResponse(response, request);
  Message event =
      makeFailureEvent(constants.typeGetCurrentUserResponseFailed, constants.channelFindCurrentUser, response, request);
  responseSender.sendResponse(event);
}

}  // namespace com::tallowmere::connectivity::plugins
