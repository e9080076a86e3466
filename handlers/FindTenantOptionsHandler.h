#pragma once

#include <unordered_map>

#include "connectivity/thread_annotations.h"
#include "handlers/PagedHandler.h"

namespace com::tallowmere::connectivity::plugins {

/// Reads tenant options: all of them, one category or one option. Builds the path from the event, collects the options
/// of all pages and delivers them in one event. A failure gives an event of its own, and then that one as well.
class FindTenantOptionsHandler final : public PagedHandler {
 public:
  using PagedHandler::PagedHandler;

  // Handler
  void handleRequest(Message& event, BatchSender& batch) override;
  void handleResponse(Message& response, OutstandingRequest& request) override;
  void handleError(Message& response, OutstandingRequest& request) override;
  data_t getConcurrencyKey(const Message&) const override { return {}; }
  void finishedHandling(Message& request) override;

  // PagedHandler
  std::uint64_t handlePage(Message& response, OutstandingRequest& request) override;

 private:
  void buildPath(Message& request) const;
  void moveToMetadata(Message& request, const hashed_key& key) const;
  std::uint64_t collect(Message& response, const Message& request, list_t& collected) const;
  map_t makeOption(const data_t& category, const data_t& key, data_t&& value) const;
  list_t takeOptions(std::int64_t reqId) EXCLUDES(optionsLock);
  void keepOptions(std::int64_t reqId, list_t&& collected) EXCLUDES(optionsLock);

  Mutex optionsLock;
  std::unordered_map<std::int64_t, list_t> optionsByReqId GUARDED_BY(optionsLock);
};

}  // namespace com::tallowmere::connectivity::plugins
