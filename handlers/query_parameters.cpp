// What is settled on the first request of a walk: the page size, whether all pages are walked, and whether the filter
// can be rewritten for a walk in ascending id order. A filter that has an order of its own, or speaks of ids, is left
// alone; both are found as text, wherever they stand.
#include "connectivity/conversion.h"
#include "connectivity/to_string.h"
#include "handlers/PagedHandler.h"

namespace com::tallowmere::connectivity::plugins {

namespace {

constexpr const char* defaultPageSize = "1000";
constexpr std::int64_t smallPageSizeBound = 51;
constexpr std::string_view filterMark = "$filter=";

bool contains(const std::string& text, std::string_view part) {
  return text.find(part) != std::string::npos;
}

}  // namespace

map_t& PagedHandler::queryStringOf(Message& request) const {
  return request.getMetadataMap().at(constants.http).get<map_t>()[constants.queryString].get<map_t>();
}

void PagedHandler::appendToPath(Message& request, const std::string& text) const {
  data_t& path = request.getMetadataMap().at(constants.http).get<map_t>().at(constants.path);
  path = path.get<std::string>() + "/" + text;
}

void PagedHandler::addPagedQueryParams(Message& request) const {
  map_t& query = queryStringOf(request);
  if (!query.contains(constants.pageSize)) query.set(constants.pageSize, defaultPageSize);

  bool fetchAll = true;
  if (const auto wanted = query.find(constants.withTotalPages); wanted != query.end())
    fetchAll = toLowerCase(wanted->second.get<std::string>()) != "false";

  if (query.contains(constants.currentPage)) {
    setFetchAllPages(request, false);
  } else {
    setFetchAllPages(request, fetchAll);
    optimizeQuery(request);
    if (query.at(constants.pageSize).convert_to<std::int64_t>() < smallPageSizeBound && logger.isEnabled(Level::warn))
      logger.warn(
          "Setting a small pageSize without setting currentPage can result in queries that run very slow. To request "
          "the first n items, you have to set pageSize=n and currentPage=1, message = %s",
          to_string(request).c_str());
  }
  if (logger.isDebugEnabled())
    logger.debug("Added paged query params. Updated request: %s", to_string(request).c_str());
}

void PagedHandler::setFetchAllPages(Message& request, bool fetchAll) const {
  map_t& query = queryStringOf(request);
  const map_t& http = request.getMetadataMap().at(constants.http).get<map_t>();
  const auto method = http.find(constants.method);
  const bool isPlainRead = method != http.end() && method->second.get<std::string_view>() == "GET";

  bool outcome = false;
  bool isForOne = false;
  if (isPlainRead) {
    const auto id = query.find(constants.id);
    isForOne =
        query.contains(constants.currentPage) || (id != query.end() && !id->second.get<std::string_view>().empty());
  }
  if (!isPlainRead || isForOne) {
    query.erase(constants.withTotalPages);
  } else {
    query.set(constants.withTotalPages, fetchAll);
    outcome = fetchAll;
  }
  request.getMetadataMap().set(constants.getAllPages, outcome);
  // The line tells what was asked for, whatever came of it.
  if (logger.isDebugEnabled())
    logger.debug("Update request to %s fetch all pages %s", fetchAll ? "" : "not ", to_string(request).c_str());
}

bool PagedHandler::optimizeQuery(Message& request) const {
  map_t& query = queryStringOf(request);
  const hashed_key* name = query.contains(constants.q)       ? &constants.q
                           : query.contains(constants.query) ? &constants.query
                                                             : nullptr;
  if (!name) return false;
  std::string text = query.at(*name).get<std::string>();
  if (text.empty() || contains(text, "orderby") || contains(text, "_id")) return false;

  map_t& metadata = request.getMetadataMap();
  metadata.set(constants.simpleQuery, true);
  const std::string before = text;
  if (const std::size_t mark = text.find(filterMark); mark != std::string::npos)
    text.erase(0, mark + filterMark.size());
  metadata.set(constants.originalQuery, text);
  const std::string optimized = "$filter=((" + text + ") and (_id gt '0')) $orderby=_id asc";
  query.set(*name, optimized);
  logger.debug("Detected optimizable query %s, optimized as %s", before.c_str(), optimized.c_str());
  metadata.erase(constants.currentPage);
  return true;
}

}  // namespace com::tallowmere::connectivity::plugins
