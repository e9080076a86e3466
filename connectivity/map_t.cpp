// An open-addressing table with linear probing, in a block that the host allocates, rebuilds and frees.
//
//   state      hash   key      what a probe does there
//   free       0      empty    ends: the key is absent
//   tombstone  1      empty    goes on; the first one met is where the key could go
//   occupied   any    any      ends if hash and key agree, else goes on
//
// A probe starts at hash modulo capacity, moves up by one and wraps; back at its start the key is absent too. An
// occupied slot may have a hash of 0 or 1, so the key's tag is part of the test.
//
// Before a new entry is stored, the table is rebuilt while it is more than three quarters full, counting tombstones, or
// while the probe found no place. The rebuilt table has max(8, 2 * count + 2) slots, so a table that only its
// tombstones fill is rebuilt at the same size or smaller. A tombstone that is reused still counts as one until then:
// `tombstones` says how many erasures the table has seen, which bounds the length of probes just as well.
//
// Iterators remember the slot array, the capacity and the count; a dereference compares them with the map's.
#include "connectivity/map_t.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "connectivity/hashed_key.h"

namespace com::tallowmere::connectivity10_15_4 {

namespace {

constexpr std::uint64_t smallestCapacity = 8;
constexpr std::uint64_t freeHash = 0;
constexpr std::uint64_t tombstoneHash = 1;

data_t& keyOf(map_slot& slot) {
  return reinterpret_cast<data_t&>(slot.key);
}
data_t& valueOf(map_slot& slot) {
  return reinterpret_cast<data_t&>(slot.value);
}

bool isTombstone(const map_slot& slot) {
  return slot.key.tag == QEL_EMPTY && slot.hash == tombstoneHash;
}

/// More than three quarters full, counted in whole numbers.
bool needsRebuild(const map_header& block) {
  return 4 * (block.count + block.tombstones) > 3 * block.capacity;
}

bool isSameKey(const data_t& a, const data_t& b) {
  if (a.is(Tag::string) && b.is(Tag::string)) [[likely]]
    return std::strcmp(reinterpret_cast<const char*>(a.bits()), reinterpret_cast<const char*>(b.bits())) == 0;
  return a == b;
}

bool checksAreSkipped() {
  return std::getenv("KV_SKIP_DATA_T_ITERATOR_CHECKS") != nullptr;
}

}  // namespace

/// Where a key is and where it could go; the capacity stands for nowhere.
struct map_t::Position {
  std::uint64_t found;
  std::uint64_t place;
};

map_t::map_t(std::uint64_t capacity, const char* name) : map_t() {
  if (capacity > 0) {
    block = qel_allocate_map(std::max(capacity, smallestCapacity));
    if (block->name) qel_free_string(std::exchange(block->name, nullptr));
  }
  if (name) setName(name);
}

void map_t::setName(const char* name) {
  if (!block) {
    if (!name) return;
    block = qel_allocate_map(smallestCapacity);
  }
  char* const copied = name ? qel_copy_string(name) : nullptr;
  if (block->name) qel_free_string(block->name);
  block->name = copied;
}

map_t map_t::copy() const {
  map_t result(empty() ? 0 : std::max(size(), smallestCapacity));
  for (const auto& [key, value] : *this) result.insert(key.copy(), value.copy());
  if (name()) result.setName(name());
  return result;
}

void map_t::reserve(std::uint64_t n) {
  const std::uint64_t capacity = std::max(n, smallestCapacity);
  block = block ? qel_reallocate_map(block, capacity) : qel_allocate_map(capacity);
}

map_t::Position map_t::locate(const data_t& key, std::uint64_t hash) const {
  const std::uint64_t nowhere = capacity();
  Position result{nowhere, nowhere};
  if (nowhere == 0) return result;
  const std::uint64_t start = startOf(hash, nowhere);
  std::uint64_t index = start;
  do {
    map_slot& slot = slots()[index];
    if (isOccupied(slot)) {
      if (slot.hash == hash && isSameKey(keyOf(slot), key)) return {index, index};
    } else {
      if (result.place == nowhere) result.place = index;
      if (!isTombstone(slot)) break;
    }
    if (++index == nowhere) index = 0;
  } while (index != start);
  return result;
}

/// Where the key is, or the capacity.
std::uint64_t map_t::indexOf(const data_t& key, std::uint64_t hash) const {
  const std::uint64_t nowhere = capacity();
  if (nowhere == 0) return nowhere;
  const map_slot* const table = slots();
  const std::uint64_t start = startOf(hash, nowhere);
  std::uint64_t index = start;
  do {
    const map_slot& slot = table[index];
    if (slot.hash == hash && isOccupied(slot) && isSameKey(reinterpret_cast<const data_t&>(slot.key), key))
      return index;
    if (slot.hash == freeHash && slot.key.tag == QEL_EMPTY) return nowhere;
    if (++index == nowhere) index = 0;
  } while (index != start);
  return nowhere;
}

map_t::Position map_t::makeRoom(const data_t& key, std::uint64_t hash, Position position) {
  while (position.place == capacity() || needsRebuild(*block)) {
    block = block ? qel_reallocate_map(block, std::max(smallestCapacity, block->count * 2 + 2))
                  : qel_allocate_map(smallestCapacity);
    position = locate(key, hash);
  }
  return position;
}

/// Moves key and value into a slot that is free or a tombstone.
map_slot& map_t::occupy(std::uint64_t index, std::uint64_t hash, data_t& key, data_t& value) {
  map_slot& slot = slots()[index];
  ++block->count;
  slot.hash = hash;
  keyOf(slot).swap(key);
  valueOf(slot).swap(value);
  return slot;
}

map_t::iterator map_t::find(const data_t& key) {
  return iteratorAt(indexOf(key, hash(key, tableSeed)));
}

map_t::const_iterator map_t::find(const data_t& key) const {
  return iteratorAt(indexOf(key, hash(key, tableSeed)));
}

bool map_t::contains(const data_t& key) const {
  return indexOf(key, hash(key, tableSeed)) != capacity();
}

std::pair<map_t::iterator, bool> map_t::insert(data_t&& key, data_t&& value) {
  const std::uint64_t keyHash = hash(key, tableSeed);
  if (key.empty()) throw std::runtime_error("Cannot have a null key");
  Position position = locate(key, keyHash);
  if (position.found != capacity()) {
    value = data_t();
    key = data_t();
    return {iteratorAt(position.found), false};
  }
  position = makeRoom(key, keyHash, position);
  occupy(position.place, keyHash, key, value);
  return {iteratorAt(position.place), true};
}

/// The slot that holds the key: an own one with an empty value when there was none.
map_slot& map_t::slotOf(const hashed_key& key, bool& isNew) {
  if (key.empty()) [[unlikely]]
    throw std::runtime_error("Cannot have a null key");
  const std::uint64_t keyHash = key.hash();
  const char* const text = reinterpret_cast<const char*>(key.bits());
  const std::uint64_t nowhere = capacity();
  std::uint64_t place = nowhere;
  if (nowhere > 0) {
    map_slot* const table = slots();
    const std::uint64_t start = startOf(keyHash, nowhere);
    std::uint64_t index = start;
    do {
      map_slot& slot = table[index];
      if (isOccupied(slot)) {
        if (slot.hash == keyHash && slot.key.tag == QEL_STRING &&
            std::strcmp(reinterpret_cast<const char*>(slot.key.payload), text) == 0) {
          isNew = false;
          return slot;
        }
      } else {
        if (place == nowhere) place = index;
        if (slot.hash == freeHash) break;
      }
      if (++index == nowhere) index = 0;
    } while (index != start);
  }
  if (place == nowhere || needsRebuild(*block)) place = makeRoom(key, keyHash, {nowhere, place}).place;
  char* const ownText = qel_copy_string(text);
  map_slot& slot = slots()[place];
  ++block->count;
  slot.hash = keyHash;
  slot.key = {reinterpret_cast<std::uint64_t>(ownText), QEL_STRING, 0};
  isNew = true;
  return slot;
}

data_t& map_t::operator[](data_t&& key) {
  return insert(std::move(key), data_t()).first->second;
}

data_t& map_t::operator[](const data_t& key) {
  const std::uint64_t keyHash = hash(key, tableSeed);
  Position position = locate(key, keyHash);
  if (position.found != capacity()) return valueOf(slots()[position.found]);
  position = makeRoom(key, keyHash, position);
  data_t ownKey = key.copy();
  data_t value = data_t().copy();
  return valueOf(occupy(position.place, keyHash, ownKey, value));
}

const data_t& map_t::valueAt(std::uint64_t index) const {
  if (index == capacity()) throw std::runtime_error("Element not in map");
  return valueOf(slots()[index]);
}

const data_t& map_t::at(const data_t& key) const {
  return valueAt(indexOf(key, hash(key, tableSeed)));
}

data_t& map_t::at(const data_t& key) {
  return const_cast<data_t&>(std::as_const(*this).at(key));
}

void map_t::eraseAt(std::uint64_t index) {
  map_slot& slot = slots()[index];
  const data_t key(std::move(keyOf(slot)));
  const data_t value(std::move(valueOf(slot)));  // destroyed first
  slot.hash = tombstoneHash;
  --block->count;
  ++block->tombstones;
}

data_t map_t::takeAt(std::uint64_t index) {
  if (index == capacity()) return {};
  data_t value(std::move(valueOf(slots()[index])));
  eraseAt(index);
  return value;
}

void map_t::erase(iterator position) {
  if (position == end()) return;
  static_cast<void>(*position);
  eraseAt(position.index);
}

bool map_t::erase(const data_t& key) {
  const std::uint64_t index = indexOf(key, hash(key, tableSeed));
  if (index == capacity()) return false;
  eraseAt(index);
  return true;
}

bool map_t::erase(const hashed_key& key) {
  const std::uint64_t index = indexOf(key);
  if (index == capacity()) return false;
  eraseAt(index);
  return true;
}

data_t map_t::take(const data_t& key) {
  return takeAt(indexOf(key, hash(key, tableSeed)));
}

data_t map_t::take(const hashed_key& key) {
  return takeAt(indexOf(key));
}

void reportInvalidMapIterator() {
  if (!checksAreSkipped()) throw std::runtime_error("Iterator invalidated by modifying map");
}

void reportForeignMapIterator() {
  if (!checksAreSkipped()) throw std::runtime_error("Invalid comparison of iterators into different maps");
}

}  // namespace com::tallowmere::connectivity10_15_4
