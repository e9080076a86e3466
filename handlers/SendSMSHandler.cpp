#include "handlers/SendSMSHandler.h"

#include <optional>

#include "codec/BatchSender.h"
#include "codec/RequestMetrics.h"
#include "codec/exceptions.h"
#include "connectivity/conversion.h"
#include "connectivity/to_string.h"

namespace com::tallowmere::connectivity::plugins {

void SendSMSHandler::handleRequest(Message& event, BatchSender& batch) {
  checkPayloadIsMap(event);
  checkHttpMetadata(event);
  map_t& payload = event.getPayload().get<map_t>();
  if (!payload.contains(constants.address) || !payload.contains(constants.messageOfSms))
    throw DropMessage("message or receiver address is not found", event);
  const list_t receivers = std::move(payload.at(constants.address).get<list_t>());
  data_t text = std::move(payload.at(constants.messageOfSms));
  if (receivers.empty()) throw DropMessage("no receiver address is provided", event);
  if (text.is(Tag::string) && text.get<std::string_view>().empty()) throw DropMessage("no message is provided", event);
  payload.erase(constants.messageOfSms);
  payload.erase(constants.address);

  map_t textMessage;
  textMessage.insert(constants.messageOfSms, std::move(text));
  payload.insert(constants.outboundSMSTextMessage, std::move(textMessage));
  list_t addresses;
  for (const data_t& receiver : receivers) addresses.push_back(config.normaliseAddress(to_string(receiver)));
  const auto sender = payload.find(constants.senderAddress);
  if (sender != payload.end())
    sender->second = config.normaliseAddress(to_string(sender->second));
  else
    payload.set(constants.senderAddress, config.smsSenderAddress.copy());
  payload.insert(constants.senderName, config.smsSenderName);

  map_t body;
  body.insert(constants.outboundSMSMessageRequest, std::move(payload));
  Message message(std::move(body), std::move(event.getMetadataMap()));
  const std::uint64_t requestNo = metrics.startRequest(message);
  {
    // Before the first request goes out, so that a fast answer finds it.
    MutexLock lock(pendingLock);
    pendingAddresses[requestNo] = addresses.size();
  }
  sendToEach(addresses, message, requestNo, batch);
}

void SendSMSHandler::sendToEach(const list_t& addresses, const Message& message, std::uint64_t requestNo,
                                BatchSender& batch) {
  std::uint64_t unsent = addresses.size();
  for (const data_t& address : addresses) {
    std::optional<Message> request;
    try {
      request = makeRequest(message, address);
      batch.addMessage(*request, *this);
      --unsent;
    } catch (...) {
      reducePending(requestNo, request && isRecorded(*request) ? unsent - 1 : unsent);
      throw;
    }
  }
}

// A request whose hand-over failed is recorded, and finishes like any other.
bool SendSMSHandler::isRecorded(const Message& request) const {
  const map_t& metadata = request.getMetadataMap();
  return metadata.empty() || metadata.contains(constants.requestId);
}

Message SendSMSHandler::makeRequest(const Message& message, const data_t& address) const {
  Message request = message.copy();
  map_t& body = request.getPayload().get<map_t>().at(constants.outboundSMSMessageRequest).get<map_t>();
  // After a failed hand-over its presence tells that the request was recorded.
  request.getMetadataMap().erase(constants.requestId);
  data_t& path = request.getMetadataMap().at(constants.http).get<map_t>().at(constants.path);
  path = path.get<std::string>() + "/" + to_string(body.at(constants.senderAddress)) + "/requests";
  list_t receiver;
  receiver.push_back(address.copy());
  body.set(constants.address, std::move(receiver));
  addApplicationKey(request);
  addAuthorization(request);
  return request;
}

// The event can still finish with the requests that did go out.
void SendSMSHandler::reducePending(std::uint64_t requestNo, std::uint64_t unsent) {
  MutexLock lock(pendingLock);
  const auto found = pendingAddresses.find(requestNo);
  if (found == pendingAddresses.end()) return;
  found->second -= unsent;
  if (found->second == 0) pendingAddresses.erase(found);
}

void SendSMSHandler::finishedHandling(Message& request) {
  const map_t& stamp = request.getMetadataMap().at(constants.metrics).get<map_t>();
  const auto requestNo = static_cast<std::uint64_t>(stamp.at(constants.requestNo).get<std::int64_t>());
  {
    MutexLock lock(pendingLock);
    const auto found = pendingAddresses.find(requestNo);
    if (found == pendingAddresses.end() || --found->second != 0) return;
  }
  try {
    metrics.requestFinished(request);
  } catch (...) {
    reducePending(requestNo, 0);
    throw;
  }
  reducePending(requestNo, 0);
}

}  // namespace com::tallowmere::connectivity::plugins
