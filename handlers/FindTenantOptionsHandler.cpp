#include "handlers/FindTenantOptionsHandler.h"

#include "codec/BatchSender.h"
#include "codec/OutstandingRequest.h"
#include "codec/RequestMetrics.h"
#include "codec/ResponseSender.h"
#include "connectivity/conversion.h"
#include "parsers/Time.h"

namespace com::tallowmere::connectivity::plugins {

namespace {

constexpr std::string_view optionCollectionMark = "optioncollection";

}  // namespace

void FindTenantOptionsHandler::handleRequest(Message& event, BatchSender& batch) {
  addApplicationKey(event);
  addAuthorization(event);
  addPagedQueryParams(event);
  metrics.startRequest(event);
  time.convertMessageTimes(event);
  buildPath(event);
  batch.addMessage(event, *this);
}

// A key without a category never reaches the path: its options are picked out of the answer.
void FindTenantOptionsHandler::buildPath(Message& request) const {
  map_t& query = queryStringOf(request);
  std::string path = "/tenant";
  if (query[constants.system].get<bool>()) path += "/system";
  query.erase(constants.system);
  path += "/options";
  moveToMetadata(request, constants.category);
  moveToMetadata(request, constants.key);

  const map_t& metadata = request.getMetadataMap();
  const data_t& category = metadata.at(constants.category);
  const data_t& key = metadata.at(constants.key);
  if (!category.empty()) {
    path += "/" + category.convert_to<std::string>();
    if (!key.empty()) path += "/" + key.convert_to<std::string>();
    setFetchAllPages(request, false);
  }
  request.getMetadataMap().at(constants.http).get<map_t>().set(constants.path, path);
}

void FindTenantOptionsHandler::moveToMetadata(Message& request, const hashed_key& key) const {
  data_t value = queryStringOf(request).take(key);
  if (value.isString() && value.get<std::string_view>().empty()) value = data_t();
  request.getMetadataMap().set(key, std::move(value));
}

void FindTenantOptionsHandler::handleResponse(Message& response, OutstandingRequest& request) {
  keepStatusCode(response, request);
  PagedHandler::handleResponse(response, request);
}

std::uint64_t FindTenantOptionsHandler::handlePage(Message& response, OutstandingRequest& request) {
  const std::int64_t reqId = reqIdOf(request);
  list_t collected = takeOptions(reqId);
  try {
    const std::uint64_t count = collect(response, request, collected);
    keepOptions(reqId, std::move(collected));
    return count;
  } catch (...) {
    // What earlier pages brought still goes out with the end of the walk.
    keepOptions(reqId, std::move(collected));
    throw;
  }
}

std::uint64_t FindTenantOptionsHandler::collect(Message& response, const Message& request, list_t& collected) const {
  const map_t& metadata = request.getMetadataMap();
  const std::string_view mediaType =
      std::as_const(response).getMetadataMap().at(constants.contentType).get<std::string_view>();
  const data_t& key = metadata.at(constants.key);
  const data_t& category = metadata.at(constants.category);
  map_t& payload = response.getPayload().get<map_t>();

  if (mediaType.find(optionCollectionMark) != std::string_view::npos) {
    list_t& options = payload.at(constants.options).get<list_t>();
    for (data_t& option : options) {
      const map_t& fields = option.get<map_t>();
      const auto found = fields.find(constants.key);
      const bool isWanted = key.empty() || (found != fields.end() && found->second == key);
      if (isWanted) collected.push_back(std::move(option));
    }
    return options.size();
  }
  if (key.empty()) {
    for (auto& [name, value] : payload) collected.push_back(makeOption(category, name, std::move(value)));
    return payload.size();
  }
  collected.push_back(makeOption(category, key, std::move(payload.at(constants.value))));
  return 1;
}

map_t FindTenantOptionsHandler::makeOption(const data_t& category, const data_t& key, data_t&& value) const {
  map_t option;
  option.insert(constants.category, category.copy());
  option.insert(constants.key, key.copy());
  option.insert(constants.value, std::move(value));
  return option;
}

list_t FindTenantOptionsHandler::takeOptions(std::int64_t reqId) {
  MutexLock lock(optionsLock);
  const auto found = optionsByReqId.find(reqId);
  if (found == optionsByReqId.end()) return {};
  list_t options = std::move(found->second);
  optionsByReqId.erase(found);
  return options;
}

void FindTenantOptionsHandler::keepOptions(std::int64_t reqId, list_t&& collected) {
  MutexLock lock(optionsLock);
  optionsByReqId[reqId] = std::move(collected);
}

void FindTenantOptionsHandler::finishedHandling(Message& request) {
  const std::int64_t reqId = reqIdOf(request);
  map_t payload;
  payload.insert(constants.reqId, reqId);
  payload.insert(constants.optionsOfTenant, takeOptions(reqId));
  payload.insert(constants.statusCode, keptStatusCode(request));

  Message event(std::move(payload));
  address(event, constants.typeFindTenantOptionsResponse,
          config.prefixQueryChannel(constants.channelFindTenant.ownedCopy()));
  responseSender.sendResponse(event);
  metrics.requestFinished(request);
}

void FindTenantOptionsHandler::handleError(Message& response, OutstandingRequest& request) {
  logErrorResponse(response, request);
  Message event =
      makeFailureEvent(constants.typeFindTenantOptionsResponse, constants.channelFindTenant, response, request);
  responseSender.sendResponse(event);
}

}  // namespace com::tallowmere::connectivity::plugins
