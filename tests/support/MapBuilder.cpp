#include "tests/support/MapBuilder.h"

#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>

#include "tests/support/blocks.h"
#include "tests/support/values.h"

namespace tests {
namespace {

const char* textIn(const qel_value& string) {
  return pointerIn<const char>(string);
}

bool isString(const qel_value& value) {
  return value.tag == QEL_STRING || value.tag == QEL_BORROWED_STRING;
}

}  // namespace

MapBuilder::MapBuilder(std::uint64_t capacity) : block(qel_allocate_map(capacity)) {}

MapBuilder::~MapBuilder() {
  qel_free_map(block);
}

MapBuilder& MapBuilder::name(std::string_view text) {
  if (block->name) qel_free_string(block->name);
  block->name = qel_copy_string(std::string(text).c_str());
  return *this;
}

MapBuilder& MapBuilder::put(const qel_value& key, const qel_value& value) {
  if (!isString(key)) throw std::runtime_error("MapBuilder: a key that isn't a string needs a chosen hash");
  const std::uint64_t hash = qel_hash_string(textIn(key));
  map_slot* slot = find(hash, key);
  if (!slot) return putHashed(hash, key, value);
  freeValue(key);
  freeValue(slot->value);
  slot->value = value;
  return *this;
}

MapBuilder& MapBuilder::put(std::string_view key, const qel_value& value) {
  return put(stringValue(key), value);
}

MapBuilder& MapBuilder::putHashed(std::uint64_t hash, const qel_value& key, const qel_value& value) {
  if (block->count == block->capacity) throw std::runtime_error("MapBuilder: every slot is occupied");
  std::uint64_t position = hash % block->capacity;
  while (isOccupied(slotsOf(block)[position])) position = (position + 1) % block->capacity;
  slotsOf(block)[position] = map_slot{hash, key, value};
  ++block->count;
  return *this;
}

MapBuilder& MapBuilder::erase(std::string_view key) {
  const std::string text(key);
  const qel_value sought = valueOf(text.c_str(), QEL_STRING);
  map_slot* slot = find(qel_hash_string(text.c_str()), sought);
  if (!slot) throw std::runtime_error("MapBuilder: no entry with the key " + text);
  freeValue(slot->key);
  freeValue(slot->value);
  *slot = map_slot{1, emptyValue(), emptyValue()};
  --block->count;
  ++block->tombstones;
  return *this;
}

qel_value MapBuilder::build() {
  return mapValue(std::exchange(block, nullptr));
}

map_slot* MapBuilder::find(std::uint64_t hash, const qel_value& key) {
  for (std::uint64_t index = 0; index < block->capacity; ++index) {
    map_slot& slot = slotsOf(block)[index];
    if (slot.hash == hash && slot.key.tag == key.tag && isString(key) &&
        std::strcmp(textIn(slot.key), textIn(key)) == 0) {
      return &slot;
    }
  }
  return nullptr;
}

}  // namespace tests
