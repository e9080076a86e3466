#include "tests/unit/devhost/values.h"

#include <atomic>
#include <bit>

#include "devhost/devhost.h"

namespace values {
namespace {

std::atomic<int> customObjects = 0;

int* newNumber(int number) {
  ++customObjects;
  return new int(number);
}

qel_value owning(const void* block, qel_tag tag) {
  return {reinterpret_cast<std::uint64_t>(block), tag, 0};
}

}  // namespace

qel_value empty() {
  return {0, QEL_EMPTY, 0};
}
qel_value boolean(bool flag) {
  return {flag ? 1u : 0u, QEL_BOOLEAN, 0};
}
qel_value number(double number) {
  return {std::bit_cast<std::uint64_t>(number), QEL_DOUBLE, 0};
}
qel_value integer(std::int64_t number) {
  return {static_cast<std::uint64_t>(number), QEL_INTEGER, 0};
}
qel_value string(const char* text) {
  return owning(qel_copy_string(text), QEL_STRING);
}
qel_value borrowed(const char* text) {
  return owning(text, QEL_BORROWED_STRING);
}

qel_value custom(int number) {
  return devhost::makeCustom(
      newNumber(number), [](const void* object) -> void* { return newNumber(*static_cast<const int*>(object)); },
      [](void* object) {
        --customObjects;
        delete static_cast<int*>(object);
      });
}

qel_value list(std::initializer_list<qel_value> elements) {
  const qel_value value = owning(qel_allocate_vector(elements.size() + 2), QEL_LIST);
  for (const qel_value& element : elements) elementOf(value, listOf(value)->count++) = element;
  return value;
}

qel_value nested(std::uint64_t depth, qel_value innermost) {
  qel_value value = innermost;
  for (std::uint64_t i = 0; i < depth; ++i) {
    if (i % 2 == 0) {
      value = list({value});
      continue;
    }
    const qel_value outer = map(8);
    occupy(outer, 3, 3, integer(3), value);
    value = outer;
  }
  return value;
}

qel_value map(std::uint64_t capacity, const char* name) {
  const qel_value value = owning(qel_allocate_map(capacity), QEL_MAP);
  if (name != nullptr) mapOf(value)->name = qel_copy_string(name);
  return value;
}

void occupy(const qel_value& map, std::uint64_t slot, std::uint64_t hash, qel_value key, qel_value value) {
  slotOf(map, slot) = {hash, key, value};
  ++mapOf(map)->count;
}

void entomb(const qel_value& map, std::uint64_t slot) {
  slotOf(map, slot) = {1, empty(), empty()};
  ++mapOf(map)->tombstones;
}

list_header* listOf(const qel_value& value) {
  return reinterpret_cast<list_header*>(value.payload);
}
map_header* mapOf(const qel_value& value) {
  return reinterpret_cast<map_header*>(value.payload);
}
buffer_header* bufferOf(const qel_value& value) {
  return reinterpret_cast<buffer_header*>(value.payload);
}

qel_value& elementOf(const qel_value& list, std::uint64_t index) {
  return reinterpret_cast<qel_value*>(listOf(list) + 1)[index];
}

map_slot& slotOf(const qel_value& map, std::uint64_t index) {
  return reinterpret_cast<map_slot*>(mapOf(map) + 1)[index];
}

std::string textOf(const qel_value& string) {
  return reinterpret_cast<const char*>(string.payload);
}

std::string bytesOf(const qel_value& buffer) {
  return {reinterpret_cast<const char*>(bufferOf(buffer) + 1), bufferOf(buffer)->length};
}

int numberOf(const qel_value& custom) {
  return *static_cast<int*>(devhost::customObject(custom));
}

void release(const qel_value& value) {
  switch (value.tag) {
    case QEL_STRING:
      return qel_free_string(reinterpret_cast<char*>(value.payload));
    case QEL_LIST:
      return qel_free_vector(listOf(value));
    case QEL_MAP:
      return qel_free_map(mapOf(value));
    case QEL_BUFFER:
      return qel_free_buffer(bufferOf(value));
    case QEL_CUSTOM:
      return qel_free_custom(reinterpret_cast<void*>(value.payload));
    default:
      return;
  }
}

int liveCustomObjects() {
  return customObjects;
}

}  // namespace values
