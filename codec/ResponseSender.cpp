#include "codec/ResponseSender.h"

#include <stdexcept>

#include "connectivity/to_string.h"

namespace com::tallowmere::connectivity::plugins {

void ResponseSender::sendResponse(Message& message) const {
  send(&message, &message + 1);
}

void ResponseSender::sendResponses(std::vector<Message>& messages) const {
  if (messages.empty())
    send(nullptr, nullptr);
  else
    send(messages.data(), messages.data() + messages.size());
}

void ResponseSender::send(Message* begin, Message* end) const {
  if (logger.isDebugEnabled())
    for (const Message* message = begin; message != end; ++message)
      logger.debug("Sending response: %s", to_string(*message).c_str());
  if (!hostSide) throw std::runtime_error("No host side is connected");
  hostSide->sendBatchTowardsHost(begin, end);
}

}  // namespace com::tallowmere::connectivity::plugins
