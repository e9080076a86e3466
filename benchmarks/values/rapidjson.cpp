// RapidJSON, each message in a pool of its own, with borrowed keys. Its objects are arrays: there is no W7.
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <memory>
#include <utility>

#include "benchmarks/values/peers.h"
#include "benchmarks/values/workloads.h"

namespace benchmarks {

namespace {

using rapidjson::StringRef;
using rapidjson::Value;
using Pool = rapidjson::MemoryPoolAllocator<>;

// The message fits into one chunk.
constexpr std::size_t chunkSize = 4096;

struct PooledMessage {
  std::unique_ptr<Pool> pool = std::make_unique<Pool>(chunkSize);
  Value metadata{rapidjson::kObjectType};
  Value payload{rapidjson::kObjectType};
};

std::string textOf(const Value& value) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  value.Accept(writer);
  return {buffer.GetString(), buffer.GetSize()};
}

class Values {
 public:
  using Message = PooledMessage;

  Message build() const {
    Message message;
    Pool& pool = *message.pool;
    const auto put = [&pool](Value& object, const Value& key, Value value) {
      object.AddMember(StringRef(key.GetString(), key.GetStringLength()), value, pool);
    };
    const auto text = [&pool](const char* characters) { return Value(characters, pool); };

    Value headers(rapidjson::kObjectType);
    put(headers, keys.authorization, text(authorizationText));
    put(headers, keys.accept, text(acceptText));
    Value http(rapidjson::kObjectType);
    put(http, keys.path, text(pathText));
    put(http, keys.method, text(methodText));
    put(http, keys.headers, std::move(headers));
    Value& metadata = message.metadata;
    put(metadata, keys.type, text(typeText));
    put(metadata, keys.channel, text(channelText));
    put(metadata, keys.http, std::move(http));
    put(metadata, keys.contentType, text(contentTypeText));
    put(metadata, keys.reqId, Value(std::int64_t{reqIdNumber}));
    put(metadata, keys.requiresResponse, Value(true));

    Value source(rapidjson::kObjectType);
    put(source, keys.id, text(sourceIdText));
    put(source, keys.name, text(sourceNameText));
    Value& payload = message.payload;
    put(payload, keys.source, std::move(source));
    put(payload, keys.alarmType, text(alarmTypeText));
    put(payload, keys.time, Value(timeNumber));
    put(payload, keys.text, text(textText));
    put(payload, keys.severity, text(severityText));
    put(payload, keys.status, text(statusText));
    put(payload, keys.count, Value(std::int64_t{countNumber}));
    return message;
  }

  std::uint64_t find(const Message& message) const {
    const Value& http = message.metadata.FindMember(keys.http)->value;
    const Value& headers = http.FindMember(keys.headers)->value;
    const Value& source = message.payload.FindMember(keys.source)->value;
    return firstOf(message.metadata, keys.type) + firstOf(message.metadata, keys.contentType) +
           firstOf(http, keys.path) + firstOf(http, keys.method) + firstOf(headers, keys.authorization) +
           firstOf(source, keys.id) + firstOf(message.payload, keys.severity);
  }

  std::uint64_t miss(const Message& message) const {
    std::uint64_t found = 0;
    for (const Value* key : {&keys.notificationType, &keys.sourceName, &keys.sourceValue, &keys.sourceSelf,
                             &keys.creationTime, &keys.lastUpdated, &keys.firstOccurrenceTime, &keys.deliveryTime})
      found += message.payload.FindMember(*key) != message.payload.MemberEnd();
    for (const Value* key : {&keys.requestId, &keys.individualStartTime})
      found += message.metadata.FindMember(*key) != message.metadata.MemberEnd();
    return found;
  }

  Message copy(const Message& message) const {
    Message copied;
    copied.metadata.CopyFrom(message.metadata, *copied.pool);
    copied.payload.CopyFrom(message.payload, *copied.pool);
    return copied;
  }

  bool equal(const Message& a, const Message& b) const { return a.metadata == b.metadata && a.payload == b.payload; }

  std::string render(const Message& message) const {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    message.metadata.Accept(writer);
    std::string text(buffer.GetString(), buffer.GetSize());
    text += " / ";
    buffer.Clear();
    writer.Reset(buffer);
    message.payload.Accept(writer);
    text.append(buffer.GetString(), buffer.GetSize());
    return text;
  }

  void checkRendering(const std::string& text) const { checkSerialisation("W6 rapidjson", text); }

  nlohmann::json content(const Message& message) const {
    return {{"metadata", nlohmann::json::parse(textOf(message.metadata))},
            {"payload", nlohmann::json::parse(textOf(message.payload))}};
  }

 private:
  /// A key with its length known, as FindMember likes it.
  struct Key : Value {
    explicit Key(const char* text) : Value(StringRef(text)) {}
  };

  static std::uint64_t firstOf(const Value& object, const Value& key) {
    return static_cast<unsigned char>(object.FindMember(key)->value.GetString()[0]);
  }

  const MessageKeys<Key> keys{};
};

}  // namespace

void addRapidJson() {
  addMessageCases<Values>("rapidjson");
}

}  // namespace benchmarks
