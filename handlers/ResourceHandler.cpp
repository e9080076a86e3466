#include "handlers/ResourceHandler.h"

#include "codec/BatchSender.h"
#include "codec/OutstandingRequest.h"
#include "codec/ResponseSender.h"
#include "codec/exceptions.h"
#include "codec/frame_keys.h"
#include "connectivity/conversion.h"
#include "connectivity/to_string.h"
#include "parsers/Time.h"

namespace com::tallowmere::connectivity::plugins {

void BasicResourceHandler::handleRequest(Message& event, BatchSender& batch) {
  checkPayloadIsMap(event);
  checkHttpMetadata(event);
  cleanBody(event);
  metrics.startRequest(event);
  time.convertMessageTimes(event);
  chooseUpdateMethod(event);
  addApplicationKey(event);
  addAuthorization(event);
  batch.addMessage(event, *this);
}

void BasicResourceHandler::cleanBody(Message& event) const {
  map_t& body = event.getPayload().get<map_t>();
  removeFields(body, hostOnlyFields);
  if (!emptyRemovable.empty()) removeEmptyFields(body, emptyRemovable, logger);
}

void BasicResourceHandler::chooseUpdateMethod(Message& request) const {
  map_t& body = request.getPayload().get<map_t>();
  std::string id;
  if (const auto found = body.find(constants.id); found != body.end()) {
    id = found->second.convert_to<std::string>();
    body.erase(found);
  }
  map_t& http = request.getMetadataMap().at(constants.http).get<map_t>();
  if (id.empty()) {
    logger.debug("Update request method to POST");
    http.set(constants.method, constants.methodPost.ownedCopy());
    removeFields(body, createRemoved);
    return;
  }
  const std::string path = http.at(constants.path).convert_to<std::string>();
  logger.debug("Update request method to PUT as id \"%s\" is specified", id.c_str());
  http.set(constants.method, constants.methodPut.ownedCopy());
  http.set(constants.path, path + "/" + id);
  removeFields(body, updateRemoved);
}

void BasicResourceHandler::checkIsCreate(const Message& request) const {
  const map_t& http = request.getMetadataMap().at(constants.http).get<map_t>();
  if (http.at(constants.method) == constants.methodPut) throw DropMessage("update is not allowed", request);
}

void BasicResourceHandler::handleResponse(Message& response, OutstandingRequest& request) {
  if (!requiresResponse(request)) {
    if (logger.isDebugEnabled()) logger.debug("Skipping message %s", to_string(response).c_str());
    return;
  }
  map_t& metadata = response.getMetadataMap();
  metadata.set(frameKeys.channel, config.prefixNotificationChannel(responseChannelOf(request)));
  metadata.set(constants.reqId, std::as_const(request).getMetadataMap().at(constants.reqId).copy());
  map_t parsed = parse(std::move(response.getPayload().get<map_t>()));
  if (logger.isDebugEnabled()) logger.debug("Parsed payload: %s", to_string(parsed).c_str());
  addTenantId(parsed);
  metadata.set(frameKeys.type, constants.typeObjectCommitted.ownedCopy());
  parsed.setName(eventTypeName.get<const char*>());
  response.setPayload(std::move(parsed));
  responseSender.sendResponse(response);
}

void BasicResourceHandler::handleError(Message& response, OutstandingRequest& request) {
  if (requiresResponse(request))
    answerWithFailure(response, request);
  else
    answerWithError(response, request);
}

void BasicResourceHandler::answerWithFailure(Message& response, const Message& request) const {
  map_t& metadata = response.getMetadataMap();
  data_t reqId = request.getMetadataMap().at(constants.reqId).copy();
  data_t channel = responseChannelOf(request);
  metadata.set(frameKeys.type, constants.typeObjectCommitFailed.ownedCopy());
  metadata.set(constants.reqId, std::move(reqId));
  metadata.set(frameKeys.channel, config.prefixNotificationChannel(std::move(channel)));
  if (!response.getPayload().is(Tag::map)) response.setPayload(map_t());
  response.getPayload().get<map_t>().setName(eventTypeName.get<const char*>());
  responseSender.sendResponse(response);
}

// The platform's body goes to the host as it is, and the status reason stays out of it; a body with a message of its
// own must come with a reason all the same.
void BasicResourceHandler::answerWithError(Message& response, const Message& request) const {
  logErrorResponse(response, request);
  map_t& metadata = response.getMetadataMap();
  metadata.set(frameKeys.type, constants.typeError.ownedCopy());
  const map_t& body = response.getPayload().get<map_t>();
  if (body.contains(constants.messageOfError))
    static_cast<void>(metadata.at(constants.http).get<map_t>().at(constants.statusReason));
  responseSender.sendResponse(response);
}

template <Parser parser, IdGetter getId>
data_t ResourceHandler<parser, getId>::getConcurrencyKey(const Message& request) const {
  return getId(request, keyField, constants);
}

template <Parser parser, IdGetter getId>
map_t ResourceHandler<parser, getId>::parse(map_t&& document) const {
  return parser(std::move(document), time, constants);
}

template class ResourceHandler<managedObjectParser, getManagedObjectId>;
template class ResourceHandler<genericParser, getIdFromField>;
template class ResourceHandler<measurementParser, getIdFromField>;
template class ResourceHandler<measurementFragmentParser, getIdFromField>;

}  // namespace com::tallowmere::connectivity::plugins
