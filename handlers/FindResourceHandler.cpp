#include "handlers/FindResourceHandler.h"

#include <exception>

#include "codec/BatchSender.h"
#include "codec/OutstandingRequest.h"
#include "codec/RequestMetrics.h"
#include "codec/ResponseSender.h"
#include "connectivity/barrier.h"
#include "connectivity/conversion.h"
#include "connectivity/to_string.h"
#include "parsers/Time.h"

namespace com::tallowmere::connectivity::plugins {

void BasicFindHandler::handleRequest(Message& event, BatchSender& batch) {
  checkHttpMetadata(event);
  addApplicationKey(event);
  addAuthorization(event);
  addPagedQueryParams(event);
  moveIdToPath(event);
  convertTimesOrAck(event);
  metrics.startRequest(event);
  batch.addMessage(event, *this);
}

void BasicFindHandler::moveIdToPath(Message& request) const {
  map_t& query = queryStringOf(request);
  const auto id = query.find(constants.id);
  if (id == query.end()) return;
  const std::string text = id->second.get<std::string>();
  if (!text.empty()) appendToPath(request, text);
  query.erase(constants.id);
}

// The query is not sent then, but the application still gets its final event.
void BasicFindHandler::convertTimesOrAck(Message& request) {
  try {
    time.convertMessageTimes(request);
  } catch (const std::exception& failure) {
    sendAck(reqIdOf(request), failure.what(), request);
    throw;
  }
}

void BasicFindHandler::handleResponse(Message& response, OutstandingRequest& request) {
  keepStatusCode(response, request);
  PagedHandler::handleResponse(response, request);
}

std::uint64_t BasicFindHandler::handlePage(Message& response, OutstandingRequest& request) {
  const bool hasElements = isCollection(response, constants);
  const std::int64_t reqId = reqIdOf(request);
  map_t& payload = response.getPayload().get<map_t>();
  std::vector<Message> results;
  std::uint64_t errors = 0;
  if (!hasElements) {
    results.push_back(makeResponseEvent(parse(std::move(payload)), reqId));
    if (logger.isDebugEnabled()) logger.debug("Parsed response to Message %s", to_string(results.back()).c_str());
  } else if (list_t* const elements = firstListIn(payload)) {
    errors = parseElements(*elements, reqId, results);
  }
  logger.debug("Got %li responses and %li errors", static_cast<std::int64_t>(results.size()),
               static_cast<std::int64_t>(errors));
  const std::uint64_t count = results.size() + errors;
  responseSender.sendResponses(results);
  return count;
}

std::uint64_t BasicFindHandler::parseElements(list_t& elements, std::int64_t reqId,
                                              std::vector<Message>& results) const {
  results.reserve(elements.size());
  std::uint64_t errors = 0;
  for (data_t& element : elements) {
    try {
      Message event = makeResponseEvent(parse(std::move(element.get<map_t>())), reqId);
      if (logger.isDebugEnabled())
        logger.debug("Parsed one response from list of responses to Message %s", to_string(event).c_str());
      results.push_back(std::move(event));
    } catch (const std::exception& failure) {
      ++errors;
      swallow([&] {
        if (logger.isEnabled(Level::warn))
          logger.warn("Error while transforming response element: %s; %s will be dropped.", failure.what(),
                      to_string(element).c_str());
      });
    }
  }
  return errors;
}

Message BasicFindHandler::makeResponseEvent(map_t&& parsed, std::int64_t reqId) const {
  Message event;
  address(event, responseType, config.prefixQueryChannel(responseChannelName.copy()));
  addTenantId(parsed);
  map_t payload;
  payload.insert(bodyKey, std::move(parsed));
  payload.set(constants.reqId, reqId);
  event.setPayload(std::move(payload));
  return event;
}

void BasicFindHandler::handleError(Message& response, OutstandingRequest& request) {
  logErrorResponse(response, request);
  if (!response.getPayload().is(Tag::map)) return;
  map_t& metadata = request.getMetadataMap();
  keepStatusCode(response, request);
  metadata.set(constants.sentError, true);
  Message event = makeErrorEvent(response, request);
  std::string text = event.getPayload().get<map_t>().at(constants.messageOfError).get<std::string>();
  responseSender.sendResponse(event);
  metadata.set(constants.message, text);
}

void BasicFindHandler::finishedHandling(Message& request) {
  const map_t& metadata = request.getMetadataMap();
  const std::int64_t reqId = reqIdOf(request);
  std::string text;
  if (const auto message = metadata.find(constants.message); message != metadata.end() && !message->second.empty())
    text = message->second.get<std::string>();
  sendAck(reqId, text, request);
  metrics.requestFinished(request);
}

void BasicFindHandler::sendAck(std::int64_t reqId, const std::string& text, Message& request) {
  Message event = makeFinalEvent(reqId, constants.errorDetails, text, request);
  responseSender.sendResponse(event);
}

Message BasicFindHandler::makeFinalEvent(std::int64_t reqId, const hashed_key& textKey, const std::string& text,
                                         const Message& request) const {
  const map_t& metadata = request.getMetadataMap();
  map_t payload;
  payload.insert(constants.error, metadata.contains(constants.sentError));
  payload.insert(constants.statusCode, keptStatusCode(request));
  payload.insert(textKey, text);
  payload.insert(constants.reqId, reqId);

  Message event(std::move(payload));
  address(event, completionType, config.prefixQueryChannel(responseChannelName.copy()));
  return event;
}

template <Parser parser>
map_t FindResourceHandler<parser>::parse(map_t&& element) const {
  return parser(std::move(element), time, constants);
}

template class FindResourceHandler<managedObjectParser>;
template class FindResourceHandler<measurementParser>;
template class FindResourceHandler<genericParser>;

}  // namespace com::tallowmere::connectivity::plugins
