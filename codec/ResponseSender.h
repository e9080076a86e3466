#pragma once

#include <memory>
#include <vector>

#include "connectivity/Logger.h"
#include "connectivity/Message.h"
#include "connectivity/sides.h"

namespace com::tallowmere::connectivity::plugins {

using namespace com::tallowmere::connectivity10_15_4;

/// Hands events to the host, which takes their contents. Has no state. [any thread]
class ResponseSender {
 public:
  /// Both referred objects must outlive this one; `hostSide` is the codec's field, filled while the chain is built.
  ResponseSender(const std::unique_ptr<HostSide>& hostSide, const Logger& logger) noexcept
      : hostSide(hostSide), logger(logger) {}

  /// One event. Throws std::runtime_error "No host side is connected".
  void sendResponse(Message& message) const;

  /// Many events in one call; without any, the call is made with two null pointers. Throws std::runtime_error "No host
  /// side is connected".
  void sendResponses(std::vector<Message>& messages) const;

 private:
  void send(Message* begin, Message* end) const;

  const std::unique_ptr<HostSide>& hostSide;
  const Logger& logger;
};

}  // namespace com::tallowmere::connectivity::plugins
