// The walk from page to page.
//
//   first page outstanding --response--> further page outstanding --response--> ... --> finished
//
// A page is handled first, so its events precede the request for the next one. Then the walk ends, in this order of
// tests: pages beyond the first aren't wanted; the platform sent no statistics; the page is short; or, by number, it is
// the last. Otherwise the same message goes out again, changed for the next page in one of two ways:
//
//   by number  the platform is asked for currentPage + 1
//   by id      for queries that were rewritten: the same filter, restricted to ids above the last one seen. The
//              platform then counts only what remains, so a short page alone ends the walk.
//
// Ids are read only from pages of two and more: a walk by id with a page size of 1 asks for the same page again.
//
// Sending the message on leaves the old record empty, which suppresses the finishing step: the final event goes out
// once, after the last page, whatever ended the walk.
#include "codec/OutstandingRequest.h"
#include "codec/RequestSender.h"
#include "codec/exceptions.h"
#include "connectivity/conversion.h"
#include "connectivity/to_string.h"
#include "handlers/PagedHandler.h"

namespace com::tallowmere::connectivity::plugins {

namespace {

constexpr std::string_view collectionMark = "collection";
constexpr std::int64_t statusOk = 200;

}  // namespace

void PagedHandler::handleResponse(Message& response, OutstandingRequest& request) {
  if (!response.getPayload().is(Tag::map)) throw DropMessage("payload is not a map", response);
  map_t& payload = response.getPayload().get<map_t>();
  map_t statistics;
  if (const auto found = payload.find(constants.statistics); found != payload.end())
    statistics.swap(found->second.get<map_t>());
  if (logger.isDebugEnabled()) logger.debug("Got stats from marlovance %s", to_string(statistics).c_str());

  map_t& metadata = request.getMetadataMap();
  data_t firstId("0");
  data_t lastId("0");
  const bool isCollectionPage = isCollection(response, constants);
  const auto simpleQuery = metadata.find(constants.simpleQuery);
  const bool idContinuation = simpleQuery != metadata.end() && simpleQuery->second.get<bool>() && isCollectionPage;
  if (idContinuation) {
    const list_t* const page = firstListIn(payload);
    if (page && page->size() >= 2) {
      const map_t& last = (*page)[page->size() - 1].get<map_t>();
      if (const auto id = last.find(constants.id); id != last.end()) lastId = id->second.copy();
      const map_t& first = page->front().get<map_t>();
      if (const auto id = first.find(constants.id); id != first.end()) firstId = id->second.copy();
    }
  }

  const std::uint64_t count = handlePage(response, request);

  if (!metadata.at(constants.getAllPages).get<bool>()) return;
  const std::int64_t pageSize = queryStringOf(request).at(constants.pageSize).convert_to<std::int64_t>();
  if (statistics.empty()) {
    logger.error("Got no statistics from marlovance");
    return;
  }
  const bool isShort = count < static_cast<std::uint64_t>(pageSize);
  // With a page size of 0 no page is short: by id, an empty one is the last.
  if (isShort || (idContinuation && count == 0)) return;

  std::int64_t totalPages;
  if (const auto known = metadata.find(constants.totalPages); known != metadata.end()) {
    totalPages = known->second.get<std::int64_t>();
  } else {
    totalPages = statistics.at(constants.totalPages).get<std::int64_t>();
    metadata.set(constants.totalPages, totalPages);
    metadata.set(constants.withTotalPages, false);
  }
  const std::int64_t currentPage = statistics.at(constants.currentPage).get<std::int64_t>();

  if (idContinuation)
    fetchNextIds(request, count, firstId, lastId, statistics);
  else
    fetchNextNumber(request, count, currentPage, totalPages);
}

void PagedHandler::fetchNextNumber(OutstandingRequest& request, std::uint64_t count, std::int64_t currentPage,
                                   std::int64_t totalPages) const {
  const std::int64_t reqId = reqIdOf(request);
  if (currentPage >= totalPages) return;
  queryStringOf(request).set(constants.currentPage, currentPage + 1);
  logger.debug("Got %lu response(s) in page %li with reqId=%li and totalPages=%li", count, currentPage, reqId,
               totalPages);
  fetchNext(request);
}

void PagedHandler::fetchNextIds(OutstandingRequest& request, std::uint64_t count, const data_t& firstId,
                                const data_t& lastId, const map_t& statistics) const {
  map_t& metadata = request.getMetadataMap();
  const std::int64_t reqId = reqIdOf(request);
  const std::string last = lastId.get<std::string>();
  const std::string baseFilter = metadata.at(constants.originalQuery).get<std::string>();
  std::string filter = "$filter=((" + baseFilter + ") and (_id gt '" + last + "')) $orderby=_id asc";
  metadata.set(constants.pagesLeft, statistics.at(constants.totalPages).copy());
  map_t& query = queryStringOf(request);
  query.set(query.contains(constants.query) ? constants.query : constants.q, filter);
  if (logger.isDebugEnabled())
    logger.debug("Got %lu response(s) after id: %s with reqId=%li", count, to_string(firstId).c_str(), reqId);
  fetchNext(request);
}

void PagedHandler::fetchNext(OutstandingRequest& request) const {
  if (logger.isDebugEnabled()) logger.debug("Fetching next page with request %s", to_string(request).c_str());
  requestSender.sendRequest(request, request.getHandler());
}

void PagedHandler::keepStatusCode(const Message& response, Message& request) const {
  const map_t& http = response.getMetadataMap().at(constants.http).get<map_t>();
  request.getMetadataMap().set(constants.statusCode, http.at(constants.statusCode).get<std::int64_t>());
}

std::int64_t PagedHandler::keptStatusCode(const Message& request) const {
  const map_t& metadata = request.getMetadataMap();
  const auto status = metadata.find(constants.statusCode);
  return status == metadata.end() ? statusOk : status->second.get<std::int64_t>();
}

std::int64_t PagedHandler::reqIdOf(const Message& request) const {
  return request.getMetadataMap().at(constants.reqId).get<std::int64_t>();
}

list_t* firstListIn(map_t& payload) {
  for (auto& [key, value] : payload)
    if (value.is(Tag::list)) return &value.get<list_t>();
  return nullptr;
}

bool isCollection(const Message& response, const DataConstants& constants) {
  const std::string_view mediaType = response.getMetadataMap().at(constants.contentType).get<std::string_view>();
  return mediaType.find(collectionMark) != std::string_view::npos;
}

}  // namespace com::tallowmere::connectivity::plugins
