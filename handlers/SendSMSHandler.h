#pragma once

#include <cstdint>
#include <unordered_map>

#include "connectivity/thread_annotations.h"
#include "handlers/MessagingHandler.h"

namespace com::tallowmere::connectivity::plugins {

/// Sends an SMS. The platform takes one receiver per request, so an event becomes one request per receiver, all with
/// the event's requestNo; the event is finished when the last of them is.
class SendSMSHandler final : public MessagingHandler {
 public:
  explicit SendSMSHandler(const HandlerServices& services)
      : MessagingHandler(services, "An error occurred in SMS handling") {}

  // Handler

  /// Throws also `DropMessage` "message or receiver address is not found", "no receiver address is provided" and "no
  /// message is provided".
  void handleRequest(Message& event, BatchSender& batch) override;

  /// Counts one request of the event off; the last one ends the event.
  void finishedHandling(Message& request) override;

 private:
  void sendToEach(const list_t& addresses, const Message& message, std::uint64_t requestNo, BatchSender& batch);
  Message makeRequest(const Message& message, const data_t& address) const;
  bool isRecorded(const Message& request) const;
  void reducePending(std::uint64_t requestNo, std::uint64_t unsent) EXCLUDES(pendingLock);

  Mutex pendingLock;
  std::unordered_map<std::uint64_t, std::uint64_t> pendingAddresses GUARDED_BY(pendingLock);
};

}  // namespace com::tallowmere::connectivity::plugins
