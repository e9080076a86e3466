// Boost.JSON on the heap.
#include <boost/json.hpp>
#include <utility>

#include "benchmarks/values/peers.h"
#include "benchmarks/values/workloads.h"

namespace benchmarks {

namespace {

namespace json = boost::json;

struct BoostMessage {
  json::object metadata;
  json::object payload;
};

class Values {
 public:
  using Message = BoostMessage;

  Message build() const {
    json::object headers;
    headers.reserve(2);
    headers.emplace(keys.authorization, authorizationText);
    headers.emplace(keys.accept, acceptText);
    json::object http;
    http.reserve(3);
    http.emplace(keys.path, pathText);
    http.emplace(keys.method, methodText);
    http.emplace(keys.headers, std::move(headers));
    Message message;
    json::object& metadata = message.metadata;
    metadata.reserve(6);
    metadata.emplace(keys.type, typeText);
    metadata.emplace(keys.channel, channelText);
    metadata.emplace(keys.http, std::move(http));
    metadata.emplace(keys.contentType, contentTypeText);
    metadata.emplace(keys.reqId, reqIdNumber);
    metadata.emplace(keys.requiresResponse, true);

    json::object source;
    source.reserve(2);
    source.emplace(keys.id, sourceIdText);
    source.emplace(keys.name, sourceNameText);
    json::object& payload = message.payload;
    payload.reserve(7);
    payload.emplace(keys.source, std::move(source));
    payload.emplace(keys.alarmType, alarmTypeText);
    payload.emplace(keys.time, timeNumber);
    payload.emplace(keys.text, textText);
    payload.emplace(keys.severity, severityText);
    payload.emplace(keys.status, statusText);
    payload.emplace(keys.count, countNumber);
    return message;
  }

  std::uint64_t find(const Message& message) const {
    const json::object& http = message.metadata.find(keys.http)->value().get_object();
    const json::object& headers = http.find(keys.headers)->value().get_object();
    const json::object& source = message.payload.find(keys.source)->value().get_object();
    return firstOf(message.metadata, keys.type) + firstOf(message.metadata, keys.contentType) +
           firstOf(http, keys.path) + firstOf(http, keys.method) + firstOf(headers, keys.authorization) +
           firstOf(source, keys.id) + firstOf(message.payload, keys.severity);
  }

  std::uint64_t miss(const Message& message) const {
    std::uint64_t found = 0;
    for (const json::string_view key :
         {keys.notificationType, keys.sourceName, keys.sourceValue, keys.sourceSelf, keys.creationTime,
          keys.lastUpdated, keys.firstOccurrenceTime, keys.deliveryTime})
      found += message.payload.find(key) != message.payload.end();
    for (const json::string_view key : {keys.requestId, keys.individualStartTime})
      found += message.metadata.find(key) != message.metadata.end();
    return found;
  }

  Message copy(const Message& message) const { return message; }

  bool equal(const Message& a, const Message& b) const { return a.metadata == b.metadata && a.payload == b.payload; }

  std::string render(const Message& message) const {
    std::string text = json::serialize(message.metadata);
    text += " / ";
    text += json::serialize(message.payload);
    return text;
  }

  void checkRendering(const std::string& text) const { checkSerialisation("W6 boost_json", text); }

  nlohmann::json content(const Message& message) const {
    return {{"metadata", nlohmann::json::parse(json::serialize(message.metadata))},
            {"payload", nlohmann::json::parse(json::serialize(message.payload))}};
  }

 private:
  static std::uint64_t firstOf(const json::object& object, json::string_view key) {
    return static_cast<unsigned char>(object.find(key)->value().get_string()[0]);
  }

  const MessageKeys<json::string_view> keys{};
};

class Table {
 public:
  using Map = json::object;

  void insertAll(Map& map) const {
    std::int64_t number = 0;
    for (const std::string& key : keys) map.emplace(key, number++);
  }

  std::uint64_t findAll(const Map& map) const {
    std::int64_t sum = 0;
    for (const std::string& key : keys) sum += map.find(key)->value().get_int64();
    return static_cast<std::uint64_t>(sum);
  }

 private:
  const std::vector<std::string> keys = sensorNames();
};

}  // namespace

void addBoostJson() {
  addMessageCases<Values>("boost_json");
  addTableCases<Table>("boost_json");
}

}  // namespace benchmarks
