// nlohmann::json with its ordered maps.
#include <nlohmann/json.hpp>
#include <utility>

#include "benchmarks/values/peers.h"
#include "benchmarks/values/workloads.h"

namespace benchmarks {

namespace {

using nlohmann::json;

struct NlohmannMessage {
  json metadata;
  json payload;
};

class Values {
 public:
  using Message = NlohmannMessage;

  Message build() const {
    json headers = json::object();
    headers.emplace(keys.authorization, authorizationText);
    headers.emplace(keys.accept, acceptText);
    json http = json::object();
    http.emplace(keys.path, pathText);
    http.emplace(keys.method, methodText);
    http.emplace(keys.headers, std::move(headers));
    Message message{json::object(), json::object()};
    json& metadata = message.metadata;
    metadata.emplace(keys.type, typeText);
    metadata.emplace(keys.channel, channelText);
    metadata.emplace(keys.http, std::move(http));
    metadata.emplace(keys.contentType, contentTypeText);
    metadata.emplace(keys.reqId, reqIdNumber);
    metadata.emplace(keys.requiresResponse, true);

    json source = json::object();
    source.emplace(keys.id, sourceIdText);
    source.emplace(keys.name, sourceNameText);
    json& payload = message.payload;
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
    const json& http = *message.metadata.find(keys.http);
    const json& headers = *http.find(keys.headers);
    const json& source = *message.payload.find(keys.source);
    return firstOf(message.metadata, keys.type) + firstOf(message.metadata, keys.contentType) +
           firstOf(http, keys.path) + firstOf(http, keys.method) + firstOf(headers, keys.authorization) +
           firstOf(source, keys.id) + firstOf(message.payload, keys.severity);
  }

  std::uint64_t miss(const Message& message) const {
    std::uint64_t found = 0;
    for (const std::string* key :
         {&keys.notificationType, &keys.sourceName, &keys.sourceValue, &keys.sourceSelf, &keys.creationTime,
          &keys.lastUpdated, &keys.firstOccurrenceTime, &keys.deliveryTime})
      found += message.payload.find(*key) != message.payload.end();
    for (const std::string* key : {&keys.requestId, &keys.individualStartTime})
      found += message.metadata.find(*key) != message.metadata.end();
    return found;
  }

  Message copy(const Message& message) const { return message; }

  bool equal(const Message& a, const Message& b) const { return a.metadata == b.metadata && a.payload == b.payload; }

  std::string render(const Message& message) const {
    std::string text = message.metadata.dump();
    text += " / ";
    text += message.payload.dump();
    return text;
  }

  void checkRendering(const std::string& text) const { checkSerialisation("W6 nlohmann", text); }

  json content(const Message& message) const { return {{"metadata", message.metadata}, {"payload", message.payload}}; }

 private:
  static std::uint64_t firstOf(const json& object, const std::string& key) {
    return static_cast<unsigned char>(object.find(key)->get_ref<const std::string&>()[0]);
  }

  const MessageKeys<std::string> keys{};
};

class Table {
 public:
  using Map = json;

  void insertAll(Map& map) const {
    std::int64_t number = 0;
    for (const std::string& key : keys) map.emplace(key, number++);
  }

  std::uint64_t findAll(const Map& map) const {
    std::int64_t sum = 0;
    for (const std::string& key : keys) sum += map.find(key)->get<std::int64_t>();
    return static_cast<std::uint64_t>(sum);
  }

 private:
  const std::vector<std::string> keys = sensorNames();
};

}  // namespace

void addNlohmann() {
  addMessageCases<Values>("nlohmann");
  addTableCases<Table>("nlohmann");
}

}  // namespace benchmarks
