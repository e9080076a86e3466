#include "handlers/SendEmailHandler.h"

#include <algorithm>

#include "codec/BatchSender.h"
#include "codec/RequestMetrics.h"
#include "codec/exceptions.h"
#include "connectivity/conversion.h"
#include "connectivity/to_string.h"

namespace com::tallowmere::connectivity::plugins {

namespace {

const hashed_key toKey("to");
const hashed_key bccKey("bcc");

/// The pieces between commas, as they are; empty ones are dropped.
list_t splitAtCommas(const std::string& text) {
  list_t pieces;
  std::size_t begin = 0;
  while (begin < text.size()) {
    const std::size_t end = std::min(text.find(',', begin), text.size());
    if (end > begin) pieces.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return pieces;
}

}  // namespace

void SendEmailHandler::handleRequest(Message& event, BatchSender& batch) {
  checkHttpMetadata(event);
  checkPayloadIsMap(event);
  checkReceivers(event);
  metrics.startRequest(event);
  map_t& payload = event.getPayload().get<map_t>();
  if (const auto bcc = payload.find(bccKey); bcc != payload.end()) {
    list_t receivers = splitAtCommas(to_string(bcc->second));
    payload.erase(bcc);
    if (!receivers.empty()) payload.set(bccKey, std::move(receivers));
  }
  addApplicationKey(event);
  addAuthorization(event);
  batch.addMessage(event, *this);
}

void SendEmailHandler::checkReceivers(const Message& event) const {
  const map_t& payload = event.getPayload().get<map_t>();
  const auto to = payload.find(toKey);
  if (to == payload.end() || to->second.get<list_t>().empty())
    throw DropMessage("receiver address is not provided", event);
}

}  // namespace com::tallowmere::connectivity::plugins
