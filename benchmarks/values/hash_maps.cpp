// A hand-made value, a variant over the standard library's texts and lists, with absl::flat_hash_map and with
// std::unordered_map.
#include <absl/container/flat_hash_map.h>

#include <charconv>
#include <memory>
#include <unordered_map>
#include <utility>
#include <variant>

#include "benchmarks/values/peers.h"
#include "benchmarks/values/workloads.h"

namespace benchmarks {

namespace {

template <class Value>
using FlatMap = absl::flat_hash_map<std::string, Value>;
template <class Value>
using NodeMap = std::unordered_map<std::string, Value>;

template <template <class> class MapOf>
class Variant {
 public:
  using Map = MapOf<Variant>;
  using List = std::vector<Variant>;

  Variant() = default;
  Variant(bool value) : content(value) {}
  Variant(std::int64_t value) : content(value) {}
  Variant(double value) : content(value) {}
  Variant(const char* text) : content(std::in_place_type<std::string>, text) {}
  Variant(Map&& map) : content(std::make_unique<Map>(std::move(map))) {}
  Variant(Variant&&) = default;
  Variant(const Variant& other) : content(std::visit(Copier(), other.content)) {}
  Variant& operator=(Variant&&) = default;

  const Map& map() const { return **std::get_if<std::unique_ptr<Map>>(&content); }
  const std::string& text() const { return *std::get_if<std::string>(&content); }
  std::int64_t integer() const { return *std::get_if<std::int64_t>(&content); }

  friend bool operator==(const Variant& a, const Variant& b) {
    if (a.content.index() != b.content.index()) return false;
    if (std::holds_alternative<std::unique_ptr<Map>>(a.content)) return a.map() == b.map();
    return a.content == b.content;
  }

  void appendTo(std::string& out) const {
    std::visit([&out](const auto& value) { append(out, value); }, content);
  }

  static void append(std::string& out, const Map& map) {
    out += '{';
    bool isFirst = true;
    for (const auto& [key, value] : map) {
      if (!std::exchange(isFirst, false)) out += ',';
      out += key;
      out += ':';
      value.appendTo(out);
    }
    out += '}';
  }

  nlohmann::json toJson() const {
    return std::visit([](const auto& value) { return jsonOf(value); }, content);
  }

  static nlohmann::json jsonOf(const Map& map) {
    nlohmann::json members = nlohmann::json::object();
    for (const auto& [key, value] : map) members[key] = value.toJson();
    return members;
  }

 private:
  using Content = std::variant<std::monostate, bool, std::int64_t, double, std::string, List, std::unique_ptr<Map>>;

  struct Copier {
    Content operator()(const std::unique_ptr<Map>& map) const { return std::make_unique<Map>(*map); }
    template <class Value>
    Content operator()(const Value& value) const {
      return value;
    }
  };

  static void append(std::string& out, std::monostate) { out += "(null)"; }
  static void append(std::string& out, bool value) { out += value ? "true" : "false"; }
  static void append(std::string& out, std::int64_t value) { appendNumber(out, value); }
  static void append(std::string& out, double value) { appendNumber(out, value); }
  static void append(std::string& out, const std::string& text) { out += text; }
  static void append(std::string& out, const std::unique_ptr<Map>& map) { append(out, *map); }
  static void append(std::string& out, const List& list) {
    out += '[';
    bool isFirst = true;
    for (const Variant& element : list) {
      if (!std::exchange(isFirst, false)) out += ',';
      element.appendTo(out);
    }
    out += ']';
  }
  template <class Number>
  static void appendNumber(std::string& out, Number number) {
    char text[32];
    out.append(text, std::to_chars(text, text + sizeof text, number).ptr);
  }

  static nlohmann::json jsonOf(std::monostate) { return nullptr; }
  static nlohmann::json jsonOf(bool value) { return value; }
  static nlohmann::json jsonOf(std::int64_t value) { return value; }
  static nlohmann::json jsonOf(double value) { return value; }
  static nlohmann::json jsonOf(const std::string& text) { return text; }
  static nlohmann::json jsonOf(const std::unique_ptr<Map>& map) { return jsonOf(*map); }
  static nlohmann::json jsonOf(const List& list) {
    nlohmann::json elements = nlohmann::json::array();
    for (const Variant& element : list) elements.push_back(element.toJson());
    return elements;
  }

  Content content;
};

template <template <class> class MapOf>
class Values {
 public:
  using Value = Variant<MapOf>;
  using Map = typename Value::Map;
  struct Message {
    Map metadata;
    Map payload;
  };

  Message build() const {
    Map headers;
    headers.reserve(2);
    headers.try_emplace(keys.authorization, authorizationText);
    headers.try_emplace(keys.accept, acceptText);
    Map http;
    http.reserve(3);
    http.try_emplace(keys.path, pathText);
    http.try_emplace(keys.method, methodText);
    http.try_emplace(keys.headers, std::move(headers));
    Message message;
    Map& metadata = message.metadata;
    metadata.reserve(6);
    metadata.try_emplace(keys.type, typeText);
    metadata.try_emplace(keys.channel, channelText);
    metadata.try_emplace(keys.http, std::move(http));
    metadata.try_emplace(keys.contentType, contentTypeText);
    metadata.try_emplace(keys.reqId, std::int64_t{reqIdNumber});
    metadata.try_emplace(keys.requiresResponse, true);

    Map source;
    source.reserve(2);
    source.try_emplace(keys.id, sourceIdText);
    source.try_emplace(keys.name, sourceNameText);
    Map& payload = message.payload;
    payload.reserve(7);
    payload.try_emplace(keys.source, std::move(source));
    payload.try_emplace(keys.alarmType, alarmTypeText);
    payload.try_emplace(keys.time, timeNumber);
    payload.try_emplace(keys.text, textText);
    payload.try_emplace(keys.severity, severityText);
    payload.try_emplace(keys.status, statusText);
    payload.try_emplace(keys.count, std::int64_t{countNumber});
    return message;
  }

  std::uint64_t find(const Message& message) const {
    const Map& http = message.metadata.find(keys.http)->second.map();
    const Map& headers = http.find(keys.headers)->second.map();
    const Map& source = message.payload.find(keys.source)->second.map();
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
    std::string text;
    Value::append(text, message.metadata);
    text += " / ";
    Value::append(text, message.payload);
    return text;
  }

  void checkRendering(const std::string& text) const {
    expectSame("W6 hash map", sortedCharacters(text), sortedCharacters(unquotedRendering()));
  }

  nlohmann::json content(const Message& message) const {
    return {{"metadata", Value::jsonOf(message.metadata)}, {"payload", Value::jsonOf(message.payload)}};
  }

 private:
  static std::uint64_t firstOf(const Map& map, const std::string& key) {
    return static_cast<unsigned char>(map.find(key)->second.text()[0]);
  }

  const MessageKeys<std::string> keys{};
};

template <template <class> class MapOf>
class Table {
 public:
  using Map = typename Variant<MapOf>::Map;

  void insertAll(Map& map) const {
    std::int64_t number = 0;
    for (const std::string& key : keys) map.try_emplace(key, number++);
  }

  std::uint64_t findAll(const Map& map) const {
    std::int64_t sum = 0;
    for (const std::string& key : keys) sum += map.find(key)->second.integer();
    return static_cast<std::uint64_t>(sum);
  }

 private:
  const std::vector<std::string> keys = sensorNames();
};

}  // namespace

void addHashMaps() {
  addMessageCases<Values<FlatMap>>("absl");
  addTableCases<Table<FlatMap>>("absl");
  addMessageCases<Values<NodeMap>>("std");
  addTableCases<Table<NodeMap>>("std");
}

}  // namespace benchmarks
