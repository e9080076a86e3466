#include "parsers/error_response.h"

#include "connectivity/conversion.h"
#include "connectivity/to_string.h"

namespace com::tallowmere::connectivity::plugins {

const data_t errorMediaType("application/vnd.com.rdx.marlovance.error+json");

namespace {

const map_t& httpOf(const Message& message, const DataConstants& constants) {
  return message.getMetadataMap().at(constants.http).get<map_t>();
}

}  // namespace

FailedExchange::FailedExchange(const Message& response, const Message& request, const DataConstants& constants)
    : statusCode(httpOf(response, constants).at(constants.statusCode).get<std::int64_t>()),
      method(httpOf(request, constants).at(constants.method).get<std::string>()),
      path(httpOf(request, constants).at(constants.path).get<std::string>()) {
  const map_t& http = httpOf(request, constants);
  if (const auto query = http.find(constants.queryString); query != http.end()) params = to_string(query->second);
}

std::string statusReasonOf(const Message& response, const DataConstants& constants) {
  const map_t& http = httpOf(response, constants);
  const auto reason = http.find(constants.statusReason);
  return reason == http.end() ? std::string() : reason->second.get<std::string>();
}

std::string platformErrorText(const Message& response, const DataConstants& constants) {
  const map_t& metadata = response.getMetadataMap();
  const auto contentType = metadata.find(constants.contentType);
  if (contentType == metadata.end() || !(contentType->second == errorMediaType)) return {};
  const map_t& body = response.getPayload().get<map_t>();
  const auto text = body.find(constants.messageOfError);
  return text == body.end() ? std::string() : text->second.get<std::string>();
}

std::string composedErrorText(const Message& response, const Message& request, const DataConstants& constants) {
  const FailedExchange exchange(response, request, constants);
  std::string body = to_string(response.getPayload());
  std::erase(body, '\n');
  std::erase(body, '\r');
  return "Error " + std::to_string(exchange.statusCode) + " received: " + body + "  while performing " +
         exchange.method + " " + exchange.path + ", params: " + exchange.params;
}

std::string indentNewlines(const std::string& text) {
  std::string indented;
  indented.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isCarriageReturn = text[i] == '\r';
    if (!isCarriageReturn && text[i] != '\n') {
      indented += text[i];
      continue;
    }
    indented += "\n\t---> ";
    if (isCarriageReturn && i + 1 < text.size() && text[i + 1] == '\n') ++i;  // both are one line break
  }
  return indented;
}

}  // namespace com::tallowmere::connectivity::plugins
