// The host's value operations. Blocks never stay in place when they are reallocated, unused room is never clean, and
// nothing recurses, so that values may be nested as deep as memory allows.
#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "connectivity/host_abi.h"
#include "tests/support/HostState.h"
#include "tests/support/TestHost.h"
#include "tests/support/blocks.h"

namespace tests {
namespace {

Ledger& ledger() {
  return host().ledger;
}

char* copyString(const char* text) {
  const std::size_t size = std::strlen(text) + 1;
  auto* copy = static_cast<char*>(ledger().allocate(BlockKind::string, size));
  std::memcpy(copy, text, size);
  return copy;
}

map_header* allocateMap(uint64_t capacity) {
  const std::size_t size = sizeof(map_header) + capacity * sizeof(map_slot);
  auto* block = static_cast<map_header*>(ledger().allocate(BlockKind::map, size));
  std::memset(block, 0, size);
  block->capacity = capacity;
  return block;
}

list_header* allocateList(uint64_t capacity) {
  const std::size_t size = sizeof(list_header) + capacity * sizeof(qel_value);
  auto* block = static_cast<list_header*>(ledger().allocate(BlockKind::list, size));
  block->count = 0;
  block->capacity = capacity;
  return block;
}

/// Notes a fault when the header of a map contradicts its slots or its size; false when the slots can't be walked.
bool checkMap(const map_header* block, const char* operation) {
  if (ledger().sizeOf(block) != sizeof(map_header) + block->capacity * sizeof(map_slot)) {
    ledger().addFault(std::string(operation) + " was given a map whose capacity is not the one it was made with");
    return false;
  }
  const map_slot* slots = slotsOf(block);
  const auto occupied = static_cast<uint64_t>(std::count_if(slots, slots + block->capacity, isOccupied));
  if (occupied != block->count) {
    ledger().addFault(std::string(operation) + " was given a map that counts " + std::to_string(block->count) +
                      " entries and holds " + std::to_string(occupied));
  }
  return true;
}

/// Notes a fault when the header of a list contradicts its size.
bool checkList(const list_header* block, const char* operation) {
  const std::size_t size = sizeof(list_header) + block->capacity * sizeof(qel_value);
  if (ledger().sizeOf(block) == size && block->count <= block->capacity) return true;
  ledger().addFault(std::string(operation) + " was given a list whose count or capacity is impossible");
  return false;
}

/// Frees values and all that is in them.
class Undertaker {
 public:
  explicit Undertaker(const char* operation) : operation(operation) {}

  void add(const qel_value& value) { waiting.push_back(value); }

  void run() {
    while (!waiting.empty()) {
      const qel_value value = waiting.back();
      waiting.pop_back();
      freeOne(value);
    }
  }

 private:
  void freeOne(const qel_value& value) {
    if (value.payload == 0) return;
    void* block = pointerIn<void>(value);
    switch (value.tag) {
      case QEL_STRING:
        if (ledger().check(block, BlockKind::string, operation)) ledger().bury(block, operation);
        break;
      case QEL_LIST:
        if (ledger().check(block, BlockKind::list, operation)) freeList(static_cast<list_header*>(block));
        break;
      case QEL_MAP:
        if (ledger().check(block, BlockKind::map, operation)) freeMap(static_cast<map_header*>(block));
        break;
      case QEL_BUFFER:
        if (ledger().check(block, BlockKind::buffer, operation)) ledger().bury(block, operation);
        break;
      case QEL_CUSTOM:
        if (ledger().check(block, BlockKind::custom, operation)) ledger().bury(block, operation);
        break;
      default:
        break;
    }
  }

  void freeList(list_header* block) {
    if (!checkList(block, operation)) return;
    waiting.insert(waiting.end(), elementsOf(block), elementsOf(block) + block->count);
    ledger().bury(block, operation);
  }

  void freeMap(map_header* block) {
    if (!checkMap(block, operation)) return;
    if (block->name) waiting.push_back(valueOf(block->name, QEL_STRING));
    for (uint64_t index = 0; index < block->capacity; ++index) {
      waiting.push_back(slotsOf(block)[index].key);
      waiting.push_back(slotsOf(block)[index].value);
    }
    ledger().bury(block, operation);
  }

  const char* operation;
  std::vector<qel_value> waiting;
};

void freeBlock(void* block, uint32_t tag, const char* operation) {
  Undertaker undertaker(operation);
  undertaker.add(valueOf(block, tag));
  undertaker.run();
}

/// Copies values and all that is in them.
class Copier {
 public:
  qel_value copy(const qel_value& value) {
    qel_value result{};
    waiting.emplace_back(value, &result);
    while (!waiting.empty()) {
      const auto [source, target] = waiting.back();
      waiting.pop_back();
      *target = copyOne(source);
    }
    return result;
  }

 private:
  qel_value copyOne(const qel_value& value) {
    const auto made = [&value](const void* block) { return valueOf(block, value.tag); };
    switch (value.tag) {
      case QEL_STRING:
        return made(copyString(pointerIn<const char>(value)));
      case QEL_BORROWED_STRING:
        if (!host().ownedCopies) return value;
        return valueOf(copyString(pointerIn<const char>(value)), QEL_STRING);
      case QEL_LIST:
        return made(value.payload ? copyList(pointerIn<list_header>(value)) : nullptr);
      case QEL_MAP:
        return made(value.payload ? copyMap(pointerIn<map_header>(value)) : nullptr);
      case QEL_BUFFER:
        return made(value.payload ? copyBuffer(pointerIn<buffer_header>(value)) : nullptr);
      case QEL_CUSTOM:
        return made(value.payload ? TestHost::makeCustom(TestHost::idOfCustom(pointerIn<void>(value))) : nullptr);
      default:
        return value;
    }
  }

  list_header* copyList(list_header* source) {
    list_header* copy = allocateList(source->capacity);
    copy->count = source->count;
    for (uint64_t index = 0; index < source->count; ++index) {
      waiting.emplace_back(elementsOf(source)[index], &elementsOf(copy)[index]);
    }
    return copy;
  }

  map_header* copyMap(map_header* source) {
    checkMap(source, "qel_copy_data");
    map_header* copy = allocateMap(source->capacity);
    copy->name = source->name ? copyString(source->name) : nullptr;
    copy->count = source->count;
    copy->tombstones = source->tombstones;
    for (uint64_t index = 0; index < source->capacity; ++index) {
      slotsOf(copy)[index].hash = slotsOf(source)[index].hash;
      waiting.emplace_back(slotsOf(source)[index].key, &slotsOf(copy)[index].key);
      waiting.emplace_back(slotsOf(source)[index].value, &slotsOf(copy)[index].value);
    }
    return copy;
  }

  buffer_header* copyBuffer(const buffer_header* source) {
    return TestHost::makeBuffer({reinterpret_cast<const char*>(source + 1), source->length});
  }

  std::vector<std::pair<qel_value, qel_value*>> waiting;
};

map_header* rebuildMap(map_header* old, uint64_t capacity) {
  map_header* block = allocateMap(capacity);
  block->name = old->name;
  for (uint64_t index = 0; index < old->capacity; ++index) {
    const map_slot& slot = slotsOf(old)[index];
    if (!isOccupied(slot)) continue;
    if (block->count == capacity) {
      ledger().addFault("qel_reallocate_map was given too small a capacity, " + std::to_string(capacity));
      break;
    }
    uint64_t position = slot.hash % capacity;
    while (isOccupied(slotsOf(block)[position])) position = (position + 1) % capacity;
    slotsOf(block)[position] = slot;
    ++block->count;
  }
  return block;
}

}  // namespace
}  // namespace tests

using tests::BlockKind;
using tests::host;
using tests::HostCall;

char* qel_copy_string(const char* text) {
  host().calls.entered(HostCall::qel_copy_string);
  return tests::copyString(text);
}

qel_value qel_copy_data(qel_value value) {
  host().calls.entered(HostCall::qel_copy_data);
  return tests::Copier().copy(value);
}

map_header* qel_allocate_map(uint64_t capacity) {
  host().calls.entered(HostCall::qel_allocate_map, capacity);
  if (capacity < 8) host().ledger.addFault("qel_allocate_map was asked for " + std::to_string(capacity) + " slots");
  return tests::allocateMap(capacity);
}

map_header* qel_reallocate_map(map_header* block, uint64_t capacity) {
  host().calls.entered(HostCall::qel_reallocate_map, capacity);
  if (!host().ledger.check(block, BlockKind::map, "qel_reallocate_map")) return block;
  if (!tests::checkMap(block, "qel_reallocate_map")) return block;
  map_header* rebuilt = tests::rebuildMap(block, capacity);
  host().ledger.bury(block, "qel_reallocate_map");
  return rebuilt;
}

void qel_free_map(map_header* block) {
  host().calls.entered(HostCall::qel_free_map);
  tests::freeBlock(block, QEL_MAP, "qel_free_map");
}

list_header* qel_allocate_vector(uint64_t capacity) {
  host().calls.entered(HostCall::qel_allocate_vector, capacity);
  if (capacity < 2) host().ledger.addFault("qel_allocate_vector was asked for " + std::to_string(capacity));
  return tests::allocateList(capacity);
}

list_header* qel_reallocate_vector(list_header* block, uint64_t capacity) {
  host().calls.entered(HostCall::qel_reallocate_vector, capacity);
  if (!host().ledger.check(block, BlockKind::list, "qel_reallocate_vector")) return block;
  if (!tests::checkList(block, "qel_reallocate_vector")) return block;
  if (capacity < block->count) {
    host().ledger.addFault("qel_reallocate_vector was given too small a capacity, " + std::to_string(capacity));
    return block;
  }
  list_header* moved = tests::allocateList(capacity);
  moved->count = block->count;
  std::copy_n(tests::elementsOf(block), block->count, tests::elementsOf(moved));
  host().ledger.bury(block, "qel_reallocate_vector");
  return moved;
}

void qel_free_vector(list_header* block) {
  host().calls.entered(HostCall::qel_free_vector);
  tests::freeBlock(block, QEL_LIST, "qel_free_vector");
}

void qel_free_string(char* text) {
  host().calls.entered(HostCall::qel_free_string);
  if (!text) host().ledger.addFault("qel_free_string was given null");
  tests::freeBlock(text, QEL_STRING, "qel_free_string");
}

void qel_free_buffer(buffer_header* block) {
  host().calls.entered(HostCall::qel_free_buffer);
  tests::freeBlock(block, QEL_BUFFER, "qel_free_buffer");
}

void qel_free_custom(void* object) {
  host().calls.entered(HostCall::qel_free_custom);
  tests::freeBlock(object, QEL_CUSTOM, "qel_free_custom");
}

uint64_t qel_hash_string(const char* text) {
  host().calls.entered(HostCall::qel_hash_string);
  return host().hash.load()(text);
}
