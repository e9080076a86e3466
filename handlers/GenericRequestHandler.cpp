#include "handlers/GenericRequestHandler.h"

#include "codec/BatchSender.h"
#include "codec/OutstandingRequest.h"
#include "codec/RequestMetrics.h"
#include "codec/ResponseSender.h"
#include "connectivity/conversion.h"
#include "connectivity/to_string.h"
#include "parsers/error_response.h"

namespace com::tallowmere::connectivity::plugins {

void GenericRequestHandler::handleRequest(Message& event, BatchSender& batch) {
  checkHttpMetadata(event);
  addApplicationKey(event);
  addAuthorization(event);
  if (event.getMetadataMap()[constants.isPaging].convert_to<bool>())
    addPagedQueryParams(event);
  else
    setFetchAllPages(event, false);
  takeIdToPath(event);
  convertTimesOrAck(event);
  metrics.startRequest(event);
  batch.addMessage(event, *this);
}

void GenericRequestHandler::takeIdToPath(Message& request) const {
  map_t& query = queryStringOf(request);
  const auto id = query.find(constants.id);
  if (id == query.end()) return;
  const std::string text = id->second.convert_to<std::string>();
  query.erase(id);
  if (!text.empty()) appendToPath(request, text);
}

// A body that is no map has no elements: its text goes out with the final event.
void GenericRequestHandler::handleResponse(Message& response, OutstandingRequest& request) {
  keepStatusCode(response, request);
  data_t& payload = response.getPayload();
  if (payload.is(Tag::map))
    PagedHandler::handleResponse(response, request);
  else
    request.getMetadataMap().set(constants.message, payload.empty() ? data_t() : data_t(to_string(payload)));
}

void GenericRequestHandler::handleError(Message& response, OutstandingRequest& request) {
  map_t& metadata = request.getMetadataMap();
  keepStatusCode(response, request);
  metadata.set(constants.sentError, true);
  Message event = makeErrorEvent(response, request);
  metadata.set(constants.message, event.getPayload().get<map_t>().at(constants.messageOfError).copy());
  logErrorResponse(event, request);
  responseSender.sendResponse(event);
}

bool GenericRequestHandler::isErrorResponse(const Message& response) const {
  const map_t& metadata = response.getMetadataMap();
  const auto contentType = metadata.find(constants.contentType);
  if (contentType != metadata.end() && contentType->second == errorMediaType) return true;
  return hasErrorStatus(response, constants);
}

Message GenericRequestHandler::makeResponseEvent(map_t&& parsed, std::int64_t reqId) const {
  map_t payload;
  payload.insert(bodyKey, std::move(parsed));
  Message event(std::move(payload));
  address(event, responseType, config.prefixQueryChannel(responseChannelName.copy()));
  event.putMetadataValue(constants.reqId, reqId);
  return event;
}

void GenericRequestHandler::sendAck(std::int64_t reqId, const std::string& text, Message& request) {
  Message event = makeFinalEvent(reqId, constants.details, text, request);
  responseSender.sendResponse(event);
}

}  // namespace com::tallowmere::connectivity::plugins
