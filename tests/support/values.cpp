#include "tests/support/values.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <mutex>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

#include "tests/support/MapBuilder.h"
#include "tests/support/TestHost.h"
#include "tests/support/blocks.h"

namespace tests {
namespace {

namespace json = boost::json;

std::string_view view(const json::string& text) {
  return {text.data(), text.size()};
}

std::string_view view(const json::string_view& text) {
  return {text.data(), text.size()};
}

// ------------------------------------------------------------------------------------------------ JSON to values

double unwritableDouble(const json::value& word) {
  if (word == "nan") return std::numeric_limits<double>::quiet_NaN();
  if (word == "inf") return std::numeric_limits<double>::infinity();
  if (word == "-inf") return -std::numeric_limits<double>::infinity();
  throw std::runtime_error("$double takes nan, inf or -inf");
}

std::string bytesOf(std::string_view hexadecimal) {
  std::string bytes;
  for (std::size_t index = 0; index + 1 < hexadecimal.size(); index += 2) {
    unsigned byte = 0;
    std::from_chars(hexadecimal.data() + index, hexadecimal.data() + index + 2, byte, 16);
    bytes += static_cast<char>(byte);
  }
  return bytes;
}

std::uint64_t capacityFor(std::size_t count) {
  std::uint64_t capacity = 8;
  while (static_cast<double>(count) > static_cast<double>(capacity) * 0.75) capacity *= 2;
  return capacity;
}

void fill(MapBuilder& map, const json::object& object) {
  for (const auto& entry : object) map.put(view(entry.key()), fromDocument(entry.value()));
}

void fillWithPairs(MapBuilder& map, const json::array& pairs) {
  for (const json::value& pair : pairs) {
    map.put(fromDocument(pair.as_array().at(0)), fromDocument(pair.as_array().at(1)));
  }
}

qel_value fromPairs(const json::array& pairs) {
  MapBuilder map(capacityFor(pairs.size()));
  fillWithPairs(map, pairs);
  return map.build();
}

qel_value namedMap(const json::object& object) {
  OwnedValue map(fromDocument(object.at("$map")));
  map_header* block = mapIn(map.get());
  block->name = qel_copy_string(object.at("$name").as_string().c_str());
  return map.release();
}

qel_value specialForm(std::string_view word, const json::object& object) {
  const json::value& content = object.begin()->value();
  if (word == "$borrowed") return borrowedString(view(content.as_string()));
  if (word == "$double") return doubleValue(unwritableDouble(content));
  if (word == "$decimal") return decimalValue(content.to_number<std::uint64_t>());
  if (word == "$buffer") return bufferValue(bytesOf(view(content.as_string())));
  if (word == "$custom") return customValue(content.to_number<std::uint64_t>());
  if (word == "$entries") return fromPairs(content.as_array());
  if (word == "$name" || word == "$map") return namedMap(object);
  throw std::runtime_error("JSON: the form " + std::string(word) + " is unknown");
}

qel_value fromObject(const json::object& object) {
  if (!object.empty() && object.begin()->key().starts_with('$')) {
    return specialForm(view(object.begin()->key()), object);
  }
  MapBuilder map(capacityFor(object.size()));
  fill(map, object);
  return map.build();
}

qel_value fromArray(const json::array& array) {
  list_header* block = qel_allocate_vector(std::max<std::uint64_t>(array.size(), 2));
  OwnedValue list(valueOf(block, QEL_LIST));
  for (const json::value& element : array) {
    elementsOf(block)[block->count] = fromDocument(element);
    ++block->count;
  }
  return list.release();
}

// ------------------------------------------------------------------------------------------------ values to JSON

json::value special(json::string_view word, json::value content) {
  return json::object{{word, std::move(content)}};
}

json::value documentOfDouble(double number) {
  if (std::isnan(number)) return special("$double", "nan");
  if (std::isinf(number)) return special("$double", number < 0 ? "-inf" : "inf");
  return number;
}

json::value documentOfBuffer(const buffer_header* block) {
  std::string hexadecimal;
  const auto* bytes = reinterpret_cast<const unsigned char*>(block + 1);
  for (std::uint64_t index = 0; block && index < block->length; ++index) {
    hexadecimal += "0123456789abcdef"[bytes[index] >> 4];
    hexadecimal += "0123456789abcdef"[bytes[index] & 15];
  }
  return special("$buffer", json::string(hexadecimal));
}

json::value documentOfList(const list_header* block) {
  json::array array;
  for (std::uint64_t index = 0; block && index < block->count; ++index) {
    array.push_back(toDocument(elementsOf(block)[index]));
  }
  return array;
}

std::vector<const map_slot*> entriesOf(const map_header* block) {
  std::vector<const map_slot*> entries;
  for (std::uint64_t index = 0; block && index < block->capacity; ++index) {
    if (isOccupied(slotsOf(block)[index])) entries.push_back(&slotsOf(block)[index]);
  }
  return entries;
}

json::value documentOfEntries(const std::vector<const map_slot*>& entries) {
  std::vector<std::pair<std::string, json::value>> sorted;
  for (const map_slot* entry : entries) {
    sorted.emplace_back(toJson(entry->key), json::array{toDocument(entry->key), toDocument(entry->value)});
  }
  std::stable_sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  json::array pairs;
  for (auto& [key, pair] : sorted) pairs.push_back(std::move(pair));
  return special("$entries", std::move(pairs));
}

/// Whether an object can show the keys: all owned strings, no two alike, none that looks like a form of ours.
bool arePlain(const std::vector<const map_slot*>& entries) {
  std::set<std::string_view> seen;
  return std::all_of(entries.begin(), entries.end(), [&seen](const map_slot* entry) {
    if (entry->key.tag != QEL_STRING) return false;
    const std::string_view key = pointerIn<const char>(entry->key);
    return !key.starts_with('$') && seen.insert(key).second;
  });
}

json::value documentOfMap(const map_header* block) {
  const std::vector<const map_slot*> entries = entriesOf(block);
  json::value document;
  if (arePlain(entries)) {
    json::object& object = document.emplace_object();
    for (const map_slot* entry : entries) object.emplace(pointerIn<const char>(entry->key), toDocument(entry->value));
  } else {
    document = documentOfEntries(entries);
  }
  if (!block || !block->name) return document;
  return json::object{{"$name", block->name}, {"$map", std::move(document)}};
}

}  // namespace

qel_value emptyValue() {
  return {0, QEL_EMPTY, 0};
}

qel_value booleanValue(bool boolean) {
  return {boolean ? 1u : 0u, QEL_BOOLEAN, 0};
}

qel_value doubleValue(double number) {
  return {std::bit_cast<std::uint64_t>(number), QEL_DOUBLE, 0};
}

qel_value integerValue(std::int64_t number) {
  return {static_cast<std::uint64_t>(number), QEL_INTEGER, 0};
}

qel_value decimalValue(std::uint64_t bits) {
  return {bits, QEL_DECIMAL, 0};
}

qel_value stringValue(std::string_view text) {
  return valueOf(qel_copy_string(std::string(text).c_str()), QEL_STRING);
}

qel_value borrowedString(std::string_view text) {
  static std::mutex mutex;
  static auto& texts = *new std::set<std::string, std::less<>>;
  std::lock_guard lock(mutex);
  return valueOf(texts.emplace(text).first->c_str(), QEL_BORROWED_STRING);
}

qel_value bufferValue(std::string_view bytes) {
  return valueOf(TestHost::makeBuffer(bytes), QEL_BUFFER);
}

qel_value customValue(std::uint64_t id) {
  return valueOf(TestHost::makeCustom(id), QEL_CUSTOM);
}

qel_value listValue(std::initializer_list<qel_value> elements) {
  list_header* block = qel_allocate_vector(std::max<std::uint64_t>(elements.size(), 2));
  std::copy(elements.begin(), elements.end(), elementsOf(block));
  block->count = elements.size();
  return valueOf(block, QEL_LIST);
}

qel_value withoutBlock(qel_tag tag) {
  return {0, tag, 0};
}

qel_value mapValue(map_header* block) {
  return valueOf(block, QEL_MAP);
}

map_header* mapIn(const qel_value& map) {
  return pointerIn<map_header>(map);
}

qel_value fromJson(std::string_view text) {
  return fromDocument(parseJson(text));
}

qel_value fromDocument(const json::value& document) {
  switch (document.kind()) {
    case json::kind::null:
      return emptyValue();
    case json::kind::bool_:
      return booleanValue(document.get_bool());
    case json::kind::int64:
      return integerValue(document.get_int64());
    case json::kind::uint64:
      throw std::runtime_error("JSON: the integer " + std::to_string(document.get_uint64()) + " has over 63 bits");
    case json::kind::double_:
      return doubleValue(document.get_double());
    case json::kind::string:
      return stringValue(view(document.get_string()));
    case json::kind::array:
      return fromArray(document.get_array());
    case json::kind::object:
      return fromObject(document.get_object());
  }
  return emptyValue();
}

json::value toDocument(const qel_value& value) {
  switch (value.tag) {
    case QEL_EMPTY:
      return nullptr;
    case QEL_BOOLEAN:
      return (value.payload & 0xFF) != 0;
    case QEL_DOUBLE:
      return documentOfDouble(std::bit_cast<double>(value.payload));
    case QEL_INTEGER:
      return static_cast<std::int64_t>(value.payload);
    case QEL_DECIMAL:
      return special("$decimal", value.payload);
    case QEL_STRING:
      return json::value(pointerIn<const char>(value));
    case QEL_LIST:
      return documentOfList(pointerIn<const list_header>(value));
    case QEL_MAP:
      return documentOfMap(pointerIn<const map_header>(value));
    case QEL_BUFFER:
      return documentOfBuffer(pointerIn<const buffer_header>(value));
    case QEL_CUSTOM:
      return special("$custom", value.payload ? TestHost::idOfCustom(pointerIn<const void>(value)) : 0);
    case QEL_BORROWED_STRING:
      return special("$borrowed", pointerIn<const char>(value));
    default:
      return special("$tag", value.tag);
  }
}

json::value toDocument(const RawMessage& message) {
  return json::object{{"metadata", toDocument(mapValue(message.metadata))}, {"payload", toDocument(message.payload)}};
}

std::string toJson(const qel_value& value) {
  return textOf(toDocument(value));
}

std::string toJson(const RawMessage& message) {
  return textOf(toDocument(message));
}

void freeValue(const qel_value& value) {
  switch (value.tag) {
    case QEL_STRING:
      qel_free_string(pointerIn<char>(value));
      break;
    case QEL_LIST:
      qel_free_vector(pointerIn<list_header>(value));
      break;
    case QEL_MAP:
      qel_free_map(pointerIn<map_header>(value));
      break;
    case QEL_BUFFER:
      qel_free_buffer(pointerIn<buffer_header>(value));
      break;
    case QEL_CUSTOM:
      qel_free_custom(pointerIn<void>(value));
      break;
    default:
      break;
  }
}

qel_value OwnedValue::release() {
  return std::exchange(value, emptyValue());
}

}  // namespace tests
