#include "chainrunner/EventSink.h"

#include <cerrno>
#include <exception>
#include <utility>

#include "chainrunner/json_writer.h"
#include "chainrunner/log.h"

namespace chainrunner {

namespace {

constexpr const char* logCategory = "marlovance-chain.sink";
constexpr std::size_t writtenAtOnce = 65536;

std::string typeOf(const Message& event) {
  const map_t& metadata = event.getMetadataMap();
  const auto type = metadata.find(data_t(HOST_MESSAGE_TYPE));
  return type != metadata.end() && type->second.isString() ? type->second.get<std::string>() : "(none)";
}

const data_t* find(const map_t& map, const char* key) {
  const auto entry = map.find(data_t(key));
  return entry == map.end() ? nullptr : &entry->second;
}

void appendEntry(std::string& line, const char* name, const data_t* value) {
  if (!value) return;
  line.append(",\"").append(name).append("\":");
  appendJson(line, *value);
}

}  // namespace

std::string eventLine(const Message& event) {
  const map_t& metadata = event.getMetadataMap();
  std::string line = "{\"type\":";
  appendJsonString(line, typeOf(event));
  const data_t& payload = event.getPayload();
  appendEntry(line, "channel", find(metadata, HOST_MESSAGE_CHANNEL));
  const data_t* reqId = find(metadata, "reqId");
  if (!reqId && payload.is(Tag::map)) reqId = find(payload.get<map_t>(), "reqId");
  appendEntry(line, "reqId", reqId);
  if (payload.is(Tag::map) && payload.get<map_t>().name()) {
    line += ",\"object\":";
    appendJsonString(line, payload.get<map_t>().name());
  }
  line += ",\"payload\":";
  appendJson(line, payload);
  line += '}';
  return line;
}

int EventSink::receiveBatch(void* self, qel_message* begin, qel_message* end) noexcept {
  auto& sink = *static_cast<EventSink*>(self);
  try {
    std::string lines;
    for (Message* event = begin; event != end; ++event) {
      sink.receive(*event, lines);
      if (lines.size() >= writtenAtOnce) sink.write(std::exchange(lines, {}));
    }
    if (!lines.empty()) sink.write(lines);
    return 0;
  } catch (const std::exception& error) {
    log(logCategory, LogLevel::error, "Events are lost: %s", error.what());
    return 1;
  }
}

void EventSink::receive(Message& event, std::string& lines) {
  const Message taken(std::move(event));
  const std::string type = typeOf(taken);
  record.countEventOut(type);
  try {
    lines += eventLine(taken) + "\n";
  } catch (const std::runtime_error& error) {
    log(logCategory, LogLevel::error, "An event of type %s can't be written: %s", type.c_str(), error.what());
  }
}

void EventSink::write(const std::string& lines) {
  const com::tallowmere::connectivity10_15_4::MutexLock lock(mutex);
  if (firstError != 0) return;
  const bool written = std::fwrite(lines.data(), 1, lines.size(), out) == lines.size() && std::fflush(out) == 0;
  if (!written) firstError = errno;
}

}  // namespace chainrunner
