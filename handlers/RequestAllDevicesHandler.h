#pragma once

#include <unordered_map>

#include "connectivity/thread_annotations.h"
#include "handlers/FindResourceHandler.h"

namespace com::tallowmere::connectivity::plugins {

/// Walks the managed objects like a find query, delivers each one as a plain ManagedObject event on the channel that
/// the requester named, and closes with a completion event on that channel.
class RequestAllDevicesHandler final : public FindResourceHandler<managedObjectParser> {
 public:
  RequestAllDevicesHandler(const HandlerServices& services, RequestSender& requestSender);

  // Handler
  void handleRequest(Message& event, BatchSender& batch) override;
  void handleError(Message& response, OutstandingRequest& request) override;

  // FindResourceHandler
  Message makeResponseEvent(map_t&& parsed, std::int64_t reqId) const override;
  void sendAck(std::int64_t reqId, const std::string& text, Message& request) override;

 private:
  data_t channelOf(std::int64_t reqId) const EXCLUDES(channelsLock);
  data_t takeChannel(std::int64_t reqId) EXCLUDES(channelsLock);

  mutable Mutex channelsLock;
  std::unordered_map<std::int64_t, data_t> channelsByReqId GUARDED_BY(channelsLock);
};

}  // namespace com::tallowmere::connectivity::plugins
