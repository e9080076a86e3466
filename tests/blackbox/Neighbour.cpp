#include "tests/blackbox/Neighbour.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace tests {
namespace {

const boost::json::value* entry(const boost::json::value& map, std::string_view key) {
  const auto* object = map.if_object();
  return object ? object->if_contains({key.data(), key.size()}) : nullptr;
}

std::string textOrAbsent(const boost::json::value* value) {
  return value ? textOf(*value) : "absent";
}

}  // namespace

std::string Received::metadata(std::string_view key) const {
  return textOrAbsent(entry(document.at("metadata"), key));
}

std::string Received::http(std::string_view key) const {
  const boost::json::value* http = entry(document.at("metadata"), "http");
  return textOrAbsent(http ? entry(*http, key) : nullptr);
}

std::string Received::type() const {
  const boost::json::value* type = entry(document.at("metadata"), "qel.type");
  return type && type->is_string() ? type->get_string().c_str() : "absent";
}

std::int64_t Received::requestId() const {
  const boost::json::value* id = entry(document.at("metadata"), "requestId");
  if (!id || !id->is_int64()) throw std::runtime_error("a request without a requestId: " + json());
  return id->get_int64();
}

int Neighbour::receive(void* self, qel_message* begin, qel_message* end) {
  auto& neighbour = *static_cast<Neighbour*>(self);
  auto* first = reinterpret_cast<RawMessage*>(begin);
  auto* last = reinterpret_cast<RawMessage*>(end);
  {
    std::lock_guard lock(neighbour.mutex);
    neighbour.batchSizes.push_back(static_cast<std::size_t>(last - first));
  }
  for (; first != last; ++first) neighbour.receiveOne(*first);
  return neighbour.result;
}

void Neighbour::receiveOne(RawMessage& message) {
  const Received received{toDocument(recordsContents ? message : RawMessage{emptyValue(), nullptr})};
  {
    std::lock_guard lock(mutex);
    record.push_back(received);
  }
  if (beforeTaking) beforeTaking(received);
  if (takesContents) {
    freeValue(std::exchange(message.payload, emptyValue()));
    qel_free_map(std::exchange(message.metadata, nullptr));
  }
  if (onMessage) onMessage(received);
}

std::optional<Received> Neighbour::take() {
  std::lock_guard lock(mutex);
  if (record.empty()) return std::nullopt;
  Received oldest = std::move(record.front());
  record.pop_front();
  return oldest;
}

std::vector<Received> Neighbour::takeAll() {
  std::lock_guard lock(mutex);
  std::vector<Received> all(std::make_move_iterator(record.begin()), std::make_move_iterator(record.end()));
  record.clear();
  return all;
}

std::vector<std::size_t> Neighbour::takeBatchSizes() {
  std::lock_guard lock(mutex);
  return std::exchange(batchSizes, {});
}

std::vector<std::string> types(const std::vector<Received>& events) {
  std::vector<std::string> names;
  for (const Received& event : events) names.push_back(event.type());
  return names;
}

std::vector<std::string> jsons(const std::vector<Received>& messages) {
  std::vector<std::string> texts;
  for (const Received& message : messages) texts.push_back(message.json());
  return texts;
}

}  // namespace tests
