#include "tests/support/messages.h"

#include "tests/support/TestHost.h"

namespace tests {
namespace {

boost::json::string_view view(std::string_view text) {
  return {text.data(), text.size()};
}

boost::json::value textValue(std::string_view text) {
  return boost::json::string(view(text));
}

}  // namespace

MessageBuilder& MessageBuilder::metadata(std::string_view key, std::string_view json) {
  metadataMap[view(key)] = parseJson(json);
  return *this;
}

MessageBuilder& MessageBuilder::type(std::string_view type) {
  return metadata("qel.type", quoted(type));
}

MessageBuilder& MessageBuilder::channel(std::string_view channel) {
  return metadata("qel.channel", quoted(channel));
}

MessageBuilder& MessageBuilder::contentType(std::string_view mediaType) {
  return metadata("contentType", quoted(mediaType));
}

MessageBuilder& MessageBuilder::reqId(std::int64_t id) {
  return metadata("reqId", std::to_string(id));
}

MessageBuilder& MessageBuilder::requiresResponse() {
  return metadata("requiresResponse", "true");
}

MessageBuilder& MessageBuilder::responseChannel(std::string_view channel) {
  return metadata("responseChannel", quoted(channel));
}

MessageBuilder& MessageBuilder::http(std::string_view key, std::string_view json) {
  httpMap()[view(key)] = parseJson(json);
  return *this;
}

MessageBuilder& MessageBuilder::path(std::string_view path) {
  return http("path", quoted(path));
}

MessageBuilder& MessageBuilder::method(std::string_view method) {
  return http("method", quoted(method));
}

MessageBuilder& MessageBuilder::query(std::string_view key, std::string_view value) {
  return putIntoHttp("queryString", key, value);
}

MessageBuilder& MessageBuilder::header(std::string_view name, std::string_view value) {
  return putIntoHttp("headers", name, value);
}

MessageBuilder& MessageBuilder::cookie(std::string_view name, std::string_view value) {
  return putIntoHttp("cookies", name, value);
}

MessageBuilder& MessageBuilder::status(std::int64_t code) {
  return http("statusCode", std::to_string(code));
}

MessageBuilder& MessageBuilder::reason(std::string_view reason) {
  return http("statusReason", quoted(reason));
}

MessageBuilder& MessageBuilder::payload(std::string_view json) {
  payloadValue = parseJson(json);
  return *this;
}

MessageBuilder& MessageBuilder::without(std::string_view key) {
  metadataMap.erase(view(key));
  return *this;
}

RawMessage MessageBuilder::build() const {
  OwnedValue metadata(metadataMap.empty() ? withoutBlock(QEL_MAP) : fromDocument(metadataMap));
  const qel_value payload = fromDocument(payloadValue);
  return {payload, mapIn(metadata.release())};
}

boost::json::object& MessageBuilder::httpMap() {
  boost::json::value& http = metadataMap["http"];
  if (!http.is_object()) http.emplace_object();
  return http.get_object();
}

MessageBuilder& MessageBuilder::putIntoHttp(std::string_view map, std::string_view key, std::string_view value) {
  boost::json::value& entries = httpMap()[view(map)];
  if (!entries.is_object()) entries.emplace_object();
  entries.get_object()[view(key)] = textValue(value);
  return *this;
}

MessageBuilder event(std::string_view type) {
  return MessageBuilder().type(type);
}

MessageBuilder controlObject() {
  return MessageBuilder().metadata("qel.controlObject", "true");
}

MessageBuilder response(std::int64_t requestId) {
  return MessageBuilder()
      .metadata("requestId", std::to_string(requestId))
      .metadata("requestSentTime", textOfDouble(TestHost::clock()))
      .status(200)
      .reason("OK");
}

Batch::Batch(const std::vector<MessageBuilder>& builders) {
  messages.reserve(builders.size());
  for (const MessageBuilder& builder : builders) messages.push_back(builder.build());
}

Batch::~Batch() {
  for (const RawMessage& message : messages) {
    qel_free_map(message.metadata);
    freeValue(message.payload);
  }
}

}  // namespace tests
