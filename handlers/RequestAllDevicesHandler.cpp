#include "handlers/RequestAllDevicesHandler.h"

#include "codec/OutstandingRequest.h"
#include "codec/ResponseSender.h"
#include "codec/frame_keys.h"
#include "connectivity/conversion.h"
#include "connectivity/to_string.h"

namespace com::tallowmere::connectivity::plugins {

namespace {

const hashed_key messageKey("msg");

/// What the bases refer to and this class does not use.
const hashed_key unused;

}  // namespace

RequestAllDevicesHandler::RequestAllDevicesHandler(const HandlerServices& services, RequestSender& requestSender)
    : FindResourceHandler(
          services, requestSender,
          {services.constants.typeManagedObject, services.constants.typeRequestAllDevicesComplete, unused, unused}) {}

void RequestAllDevicesHandler::handleRequest(Message& event, BatchSender& batch) {
  const map_t& metadata = event.getMetadataMap();
  const std::int64_t reqId = reqIdOf(event);
  const auto channel = metadata.find(constants.responseChannel);
  {
    data_t copied = channel == metadata.end() ? data_t() : channel->second.copy();
    MutexLock lock(channelsLock);
    channelsByReqId[reqId] = std::move(copied);
  }
  try {
    FindResourceHandler::handleRequest(event, batch);
  } catch (...) {
    takeChannel(reqId);
    throw;
  }
}

data_t RequestAllDevicesHandler::channelOf(std::int64_t reqId) const {
  MutexLock lock(channelsLock);
  const auto found = channelsByReqId.find(reqId);
  return config.prefixNotificationChannel(found == channelsByReqId.end() ? data_t() : found->second.copy());
}

data_t RequestAllDevicesHandler::takeChannel(std::int64_t reqId) {
  MutexLock lock(channelsLock);
  const auto found = channelsByReqId.find(reqId);
  if (found == channelsByReqId.end()) return {};
  data_t channel = std::move(found->second);
  channelsByReqId.erase(found);
  return channel;
}

Message RequestAllDevicesHandler::makeResponseEvent(map_t&& parsed, std::int64_t reqId) const {
  Message event;
  address(event, responseType, channelOf(reqId));
  addTenantId(parsed);
  event.setPayload(std::move(parsed));
  return event;
}

void RequestAllDevicesHandler::handleError(Message& response, OutstandingRequest& request) {
  logErrorResponse(response, request);
  if (!response.getPayload().is(Tag::map)) return;
  const map_t& body = response.getPayload().get<map_t>();
  data_t text;
  if (const auto message = body.find(constants.messageOfError); message != body.end()) {
    // The platform's own body goes out as it is.
    text = message->second.copy();
    response.getMetadataMap().set(frameKeys.type, constants.typeError.ownedCopy());
    responseSender.sendResponse(response);
  } else {
    Message event = makeErrorEvent(response, request);
    text = event.getPayload().get<map_t>().at(constants.messageOfError).copy();
    responseSender.sendResponse(event);
  }
  // Text for the completion event, whatever the platform's message is.
  request.getMetadataMap().set(constants.message, text.empty() ? data_t() : data_t(to_string(text)));
}

void RequestAllDevicesHandler::sendAck(std::int64_t reqId, const std::string& text, Message&) {
  map_t payload;
  payload.insert(constants.reqId, reqId);
  if (!text.empty()) payload.insert(messageKey, text);
  Message event(std::move(payload));
  address(event, completionType, config.prefixNotificationChannel(takeChannel(reqId)));
  responseSender.sendResponse(event);
}

}  // namespace com::tallowmere::connectivity::plugins
