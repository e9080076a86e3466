// How handlers tell a failed exchange: one log line, one text, one Error event.
#include "codec/frame_keys.h"
#include "connectivity/conversion.h"
#include "connectivity/to_string.h"
#include "handlers/Handler.h"
#include "parsers/error_response.h"

namespace com::tallowmere::connectivity::plugins {

void Handler::logErrorResponse(const Message& response, const Message& request) const {
  if (logger.isDebugEnabled()) logger.debug("Got error response %s", to_string(response).c_str());
  if (config.isMultitenantIsolation) return;
  const FailedExchange exchange(response, request, constants);
  logger.error(
      "Marlovance returned error \"%I64d %s\" while performing \"%s %s\" (params: %s); request payload is %s; response "
      "payload is: %s",
      exchange.statusCode, indentNewlines(statusReasonOf(response, constants)).c_str(), exchange.method.c_str(),
      exchange.path.c_str(), exchange.params.empty() ? "None" : exchange.params.c_str(),
      indentNewlines(to_string(request.getPayload())).c_str(),
      indentNewlines(to_string(response.getPayload())).c_str());
}

std::string Handler::errorTextOf(const Message& response, const Message& request) const {
  const std::string ownText = platformErrorText(response, constants);
  if (!ownText.empty()) return ownText;
  return composedErrorText(response, request, constants);
}

Message Handler::makeErrorEvent(Message& response, const Message& request) const {
  const std::string text = errorTextOf(response, request);
  response.putMetadataValue(frameKeys.type, constants.typeError.ownedCopy());
  map_t payload;
  payload.insert(constants.messageOfError, text);
  payload.insert(constants.reqId, request.getMetadataMap().at(constants.reqId).copy());
  response.setPayload(std::move(payload));
  return std::move(response);
}

Message Handler::makeFailureEvent(const data_t& type, const data_t& channel, const Message& response,
                                  const Message& request) const {
  const std::string text = errorTextOf(response, request);
  const map_t& http = response.getMetadataMap().at(constants.http).get<map_t>();
  map_t payload;
  payload.insert(constants.error, true);
  payload.insert(constants.statusCode, http.at(constants.statusCode).get<std::int64_t>());
  payload.insert(constants.errorDetails, text);
  payload.insert(constants.reqId, request.getMetadataMap().at(constants.reqId).copy());

  Message event(std::move(payload));
  address(event, type, config.prefixQueryChannel(channel.copy()));
  return event;
}

}  // namespace com::tallowmere::connectivity::plugins
