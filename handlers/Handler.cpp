#include "handlers/Handler.h"

#include "codec/RequestMetrics.h"
#include "codec/exceptions.h"
#include "codec/frame_keys.h"
#include "connectivity/conversion.h"
#include "parsers/error_response.h"

namespace com::tallowmere::connectivity::plugins {

namespace {

/// The map under `key`, which is made if there is none.
map_t& mapAt(map_t& parent, const hashed_key& key) {
  const auto found = parent.find(key);
  return (found != parent.end() ? found->second : parent.set(key, map_t())).get<map_t>();
}

/// Whether the map has the key, with anything but the empty string under it.
bool hasText(const map_t& map, const hashed_key& key) {
  const auto found = map.find(key);
  return found != map.end() && !(found->second.isString() && found->second.get<std::string_view>().empty());
}

}  // namespace

Handler::Handler(const HandlerServices& services) noexcept
    : constants(services.constants),
      config(services.config),
      time(services.time),
      metrics(services.metrics),
      logger(services.logger),
      responseSender(services.responseSender) {}

Message Handler::sendBatch(BatchSender&) {
  throw BatchingNotSupported();
}

void Handler::finishedHandling(Message& request) {
  metrics.requestFinished(request);
}

void Handler::addTenantId(map_t& parsed) const {
  if (!config.tenantId.empty()) parsed.set(constants.tenantId, config.tenantId);
}

bool Handler::isErrorResponse(const Message& response) const {
  const map_t& metadata = response.getMetadataMap();
  const auto contentType = metadata.find(constants.contentType);
  if (contentType == metadata.end()) return true;
  const bool badStatus = hasErrorStatus(response, constants);
  return badStatus || contentType->second == errorMediaType;
}

void Handler::checkHttpMetadata(const Message& event) const {
  const map_t& metadata = event.getMetadataMap();
  const auto http = metadata.find(constants.http);
  if (http == metadata.end()) throw DropMessage("metadata does not have an HTTP mapping", event);
  if (!http->second.get<map_t>().contains(constants.path))
    throw DropMessage("metadata.http does not have path value", event);
}

void Handler::checkPayloadIsMap(const Message& event) const {
  if (!event.getPayload().is(Tag::map)) throw DropMessage("payload is not a map", event);
}

void Handler::addApplicationKey(Message& request) const {
  if (config.appKey.empty()) return;
  map_t& headers = mapAt(request.getMetadataMap().at(constants.http).get<map_t>(), constants.headers);
  if (!headers.contains(constants.headerApplicationKey))
    headers.set(constants.headerApplicationKey, config.appKey.copy());
  const auto key = headers.find(constants.headerApplicationKey);
  if (!key->second.get<std::string_view>().empty()) return;
  logger.debug("X-Marlovance-Application-Key is empty so removing it from headers");
  headers.erase(key);
}

void Handler::addAuthorization(Message& request) const {
  map_t& http = request.getMetadataMap().at(constants.http).get<map_t>();
  mapAt(http, constants.headers).set(constants.authorization, config.authorization.copy());
}

void Handler::addAuthorizationUnlessCookie(Message& request) const {
  map_t& http = request.getMetadataMap().at(constants.http).get<map_t>();
  const auto found = http.find(constants.headers);
  if (found == http.end()) return addAuthorization(request);
  map_t& headers = found->second.get<map_t>();
  const auto own = headers.find(constants.authorization);
  if (own != headers.end() && !own->second.empty() && hasText(headers, constants.authorization)) return;

  const auto jar = http.find(constants.cookies);
  if (jar == http.end()) return addAuthorization(request);
  map_t& cookies = jar->second.get<map_t>();
  if (cookies.empty()) return addAuthorization(request);

  if (hasText(cookies, constants.authorization) && hasText(headers, constants.headerXsrfToken)) return;
  cookies.erase(constants.authorization);
  headers.erase(constants.headerXsrfToken);
  addAuthorization(request);
}

void Handler::address(Message& event, const data_t& type, data_t channel) {
  event.putMetadataValue(frameKeys.type, type.copy());
  event.putMetadataValue(frameKeys.channel, std::move(channel));
}

bool Handler::requiresResponse(const Message& request) const {
  return request.getMetadataMap().contains(constants.requiresResponse);
}

data_t Handler::responseChannelOf(const Message& request) const {
  const map_t& metadata = request.getMetadataMap();
  const auto channel = metadata.find(constants.responseChannel);
  return channel == metadata.end() ? data_t("") : channel->second.copy();
}

bool hasErrorStatus(const Message& response, const DataConstants& constants) {
  const map_t& http = response.getMetadataMap().at(constants.http).get<map_t>();
  const std::int64_t status = http.at(constants.statusCode).get<std::int64_t>();
  // One unsigned test: a negative status is no error.
  return static_cast<std::uint64_t>(status) - 400 <= 199;
}

}  // namespace com::tallowmere::connectivity::plugins
