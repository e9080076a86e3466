// The values of this library.
#include <utility>

#include "benchmarks/content.h"
#include "benchmarks/values/peers.h"
#include "benchmarks/values/workloads.h"
#include "connectivity/Message.h"
#include "connectivity/conversion.h"
#include "connectivity/hashed_key.h"
#include "connectivity/to_string.h"

namespace benchmarks {

namespace {

using namespace com::tallowmere::connectivity10_15_4;

std::uint64_t firstOf(const data_t& text) {
  return static_cast<unsigned char>(text.get<const char*>()[0]);
}

class Values {
 public:
  using Message = com::tallowmere::connectivity10_15_4::Message;

  Message build() const {
    map_t headers(2);
    headers.insert(keys.authorization, authorizationText);
    headers.insert(keys.accept, acceptText);
    map_t http(3);
    http.insert(keys.path, pathText);
    http.insert(keys.method, methodText);
    http.insert(keys.headers, std::move(headers));
    map_t metadata(6);
    metadata.insert(keys.type, typeText);
    metadata.insert(keys.channel, channelText);
    metadata.insert(keys.http, std::move(http));
    metadata.insert(keys.contentType, contentTypeText);
    metadata.insert(keys.reqId, std::int64_t{reqIdNumber});
    metadata.insert(keys.requiresResponse, true);

    map_t source(2);
    source.insert(keys.id, sourceIdText);
    source.insert(keys.name, sourceNameText);
    map_t payload(7);
    payload.insert(keys.source, std::move(source));
    payload.insert(keys.alarmType, alarmTypeText);
    payload.insert(keys.time, timeNumber);
    payload.insert(keys.text, textText);
    payload.insert(keys.severity, severityText);
    payload.insert(keys.status, statusText);
    payload.insert(keys.count, std::int64_t{countNumber});
    return Message(std::move(payload), std::move(metadata));
  }

  std::uint64_t find(const Message& message) const {
    const map_t& metadata = message.getMetadataMap();
    const map_t& payload = message.getPayload().get<map_t>();
    const map_t& http = metadata.at(keys.http).get<map_t>();
    const map_t& headers = http.at(keys.headers).get<map_t>();
    const map_t& source = payload.at(keys.source).get<map_t>();
    return firstOf(metadata.at(keys.type)) + firstOf(metadata.at(keys.contentType)) + firstOf(http.at(keys.path)) +
           firstOf(http.at(keys.method)) + firstOf(headers.at(keys.authorization)) + firstOf(source.at(keys.id)) +
           firstOf(payload.at(keys.severity));
  }

  std::uint64_t miss(const Message& message) const {
    const map_t& metadata = message.getMetadataMap();
    const map_t& payload = message.getPayload().get<map_t>();
    std::uint64_t found = 0;
    for (const hashed_key* key : {&keys.notificationType, &keys.sourceName, &keys.sourceValue, &keys.sourceSelf,
                                  &keys.creationTime, &keys.lastUpdated, &keys.firstOccurrenceTime, &keys.deliveryTime})
      found += payload.find(*key) != payload.end();
    for (const hashed_key* key : {&keys.requestId, &keys.individualStartTime})
      found += metadata.find(*key) != metadata.end();
    return found;
  }

  Message copy(const Message& message) const { return message.copy(); }

  bool equal(const Message& a, const Message& b) const {
    return a.getMetadataMap() == b.getMetadataMap() && a.getPayload() == b.getPayload();
  }

  std::string render(const Message& message) const { return to_string(message); }

  void checkRendering(const std::string& text) const {
    expectSame("W6 data_t", sortedCharacters(text), sortedCharacters(unquotedRendering()));
  }

  nlohmann::json content(const Message& message) const {
    return {{"metadata", contentOf(message.getMetadataMap())}, {"payload", contentOf(message.getPayload())}};
  }

 private:
  const MessageKeys<hashed_key> keys{};
};

class Table {
 public:
  using Map = map_t;

  Table() {
    for (const std::string& name : sensorNames()) keys.emplace_back(name);
  }

  void insertAll(Map& map) const {
    std::int64_t number = 0;
    for (const hashed_key& key : keys) map.insert(key, number++);
  }

  std::uint64_t findAll(const Map& map) const {
    std::int64_t sum = 0;
    for (const hashed_key& key : keys) sum += map.find(key)->second.get<std::int64_t>();
    return static_cast<std::uint64_t>(sum);
  }

 private:
  std::vector<hashed_key> keys;
};

}  // namespace

void addDataT() {
  addMessageCases<Values>("data_t");
  addTableCases<Table>("data_t");
}

}  // namespace benchmarks
