#include "codec/MarlovanceCodec.h"

#include "codec/exceptions.h"
#include "codec/frame_keys.h"
#include "connectivity/barrier.h"
#include "connectivity/conversion.h"
#include "connectivity/to_string.h"
#include "handlers/Handler.h"

namespace com::tallowmere::connectivity::plugins {

MarlovanceCodec::MarlovanceCodec(const createPluginParams& params)
    : AbstractCodec(params),
      config(Plugin::config, logger),
      metrics(constants, config, *getStatusReporter(), chainId + "." + pluginName, logger, time),
      outstanding(constants),
      sender(outstanding, transportSide, logger, constants, config),
      responder(hostSide, logger),
      time(constants, logger) {
  fillHandlerTable(handlers, {constants, config, time, metrics, logger, responder}, sender);
}

MarlovanceCodec::~MarlovanceCodec() {
  swallow([&] { metrics.abandonAllBatches(); });
  swallow([&] { outstanding.finishAll(); });
}

void MarlovanceCodec::sendBatchTowardsTransport(Message* begin, Message* end) {
  BatchSender batch(sender, config.maxBatchSize, metrics, logger, constants);
  if (begin)
    for (Message* event = begin; event != end; ++event) {
      try {
        processEvent(*event, batch);
      } catch (const std::exception& failure) {
        warnOfDrop(failure, *event);
      }
    }
  batch.finish();
}

// A bad message never stops its batch: it costs one error event, or a line where its type is unknown.
void MarlovanceCodec::processEvent(Message& event, BatchSender& batch) {
  if (shuttingDown) return;
  try {
    translateEvent(event, batch);
  } catch (const NoTypeFound& failure) {
    swallow([&] { logger.error("NoTypeFound: %s", failure.what()); });
  } catch (const std::exception& failure) {
    if (!config.isMultitenantIsolation)
      swallow([&] { logger.error("Error while transforming message: %s", failure.what()); });
    sendError(failure.what());
  }
}

void MarlovanceCodec::translateEvent(Message& event, BatchSender& batch) {
  if (logger.isDebugEnabled()) logger.debug("Processing request: %s", to_string(event).c_str());
  if (isControlObject(event)) {
    batch.flush();
    sender.passOn(event);
    return;
  }
  findHandler(event).handleRequest(event, batch);
}

bool MarlovanceCodec::isControlObject(const Message& event) const {
  return event.getPayload().empty() && event.getMetadataMap().contains(frameKeys.controlObject);
}

Handler& MarlovanceCodec::findHandler(Message& event) const {
  const map_t& metadata = event.getMetadataMap();
  const auto type = metadata.find(frameKeys.type);
  if (type == metadata.end()) throw NoTypeFound(std::move(event));
  const auto handler = handlers.find(type->second.get<std::string_view>());
  if (handler == handlers.end()) throw NoTypeFound(std::move(event));
  return *handler->second;
}

void MarlovanceCodec::sendError(const char* text) {
  map_t payload;
  payload.insert(constants.message, text);
  Message event(std::move(payload));
  event.putMetadataValue(frameKeys.type, constants.typeError.ownedCopy());
  responder.sendResponse(event);
}

void MarlovanceCodec::sendBatchTowardsHost(Message* begin, Message* end) {
  if (!begin) return;
  for (Message* response = begin; response != end; ++response) {
    try {
      processResponse(*response);
    } catch (const std::exception& failure) {
      warnOfDrop(failure, *response);
    }
  }
}

// The record of the request dies at the end of this function, also when the response can't be handled: unless the
// handler has sent its message on, that ends the request.
void MarlovanceCodec::processResponse(Message& response) {
  if (shuttingDown) return;
  OutstandingRequest request = outstanding.take(response);
  moveSentTime(response, request);
  metrics.requestResponded(request);

  Handler& handler = request.getHandler();
  if (handler.getLogger().isDebugEnabled())
    handler.getLogger().debug("Received response: {%s} for request: {%s}", to_string(response).c_str(),
                              to_string(request).c_str());
  if (handler.isErrorResponse(response))
    handler.handleError(response, request);
  else
    handler.handleResponse(response, request);
}

void MarlovanceCodec::moveSentTime(Message& response, OutstandingRequest& request) const {
  request.getMetadataMap().set(constants.requestSentTime, response.getMetadataMap().take(constants.requestSentTime));
}

void MarlovanceCodec::warnOfDrop(const std::exception& failure, const Message& message) const noexcept {
  swallow([&] {
    if (logger.isEnabled(Level::warn))
      logger.warn("Error while transforming message: %s; %s will be dropped.", failure.what(),
                  to_string(message).c_str());
  });
}

}  // namespace com::tallowmere::connectivity::plugins
