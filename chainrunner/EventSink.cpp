#include "chainrunner/EventSink.h"

#include <cerrno>
#include <exception>

#include "chainrunner/json_writer.h"
#include "chainrunner/log.h"

namespace chainrunner {

using com::tallowmere::connectivity10_15_4::MutexLock;

namespace {

constexpr const char* logCategory = "marlovance-chain.sink";
constexpr std::size_t writtenAtOnce = 65536;

const data_t* find(const map_t& map, const hashed_key& key) {
  const auto entry = map.find(key);
  return entry == map.end() ? nullptr : &entry->second;
}

void appendEntry(std::string& line, std::string_view name, const data_t* value) {
  if (!value) return;
  line += name;
  appendJson(line, *value);
}

}  // namespace

std::string_view EventLines::typeOf(const Message& event) const {
  const data_t* const name = find(event.getMetadataMap(), type);
  return name && name->isString() ? name->get<std::string_view>() : "(none)";
}

const data_t* EventLines::reqIdOf(const Message& event) const {
  const data_t* const ofMetadata = find(event.getMetadataMap(), reqId);
  if (ofMetadata || !event.getPayload().is(Tag::map)) return ofMetadata;
  return find(event.getPayload().get<map_t>(), reqId);
}

void EventLines::append(std::string& out, const Message& event) const {
  const data_t& payload = event.getPayload();
  out += "{\"type\":";
  appendJsonString(out, typeOf(event));
  appendEntry(out, ",\"channel\":", find(event.getMetadataMap(), channel));
  appendEntry(out, ",\"reqId\":", reqIdOf(event));
  if (payload.is(Tag::map) && payload.get<map_t>().name()) {
    out += ",\"object\":";
    appendJsonString(out, payload.get<map_t>().name());
  }
  appendEntry(out, ",\"payload\":", &payload);
  out += '}';
}

int EventSink::receiveBatch(void* self, qel_message* begin, qel_message* end) noexcept {
  try {
    static_cast<EventSink*>(self)->receiveAll(begin, end);
    return 0;
  } catch (const std::exception& error) {
    log(logCategory, LogLevel::error, "Events are lost: %s", error.what());
    return 1;
  }
}

void EventSink::receiveAll(Message* begin, Message* end) {
  const MutexLock lock(mutex);
  for (Message* event = begin; event != end; ++event) {
    receive(*event);
    if (lines.size() >= writtenAtOnce) write();
  }
  if (gatherings == 0) write();
}

void EventSink::receive(Message& event) {
  const Message taken(std::move(event));
  lastType = lineOf.typeOf(taken);
  record.countEventOut(lastType);
  const std::size_t before = lines.size();
  try {
    lineOf.append(lines, taken);
    lines += '\n';
  } catch (const std::runtime_error& error) {
    lines.resize(before);
    log(logCategory, LogLevel::error, "An event of type %s can't be written: %s", lastType.c_str(), error.what());
  }
}

void EventSink::flush() noexcept {
  const MutexLock lock(mutex);
  write();
}

void EventSink::write() {
  if (lines.empty()) return;
  if (firstError == 0) {
    const bool written = std::fwrite(lines.data(), 1, lines.size(), out) == lines.size() && std::fflush(out) == 0;
    if (!written) firstError = errno;
  }
  // An uncommonly long line doesn't keep its memory.
  if (lines.capacity() > 16 * writtenAtOnce) lines = {};
  lines.clear();
}

}  // namespace chainrunner
