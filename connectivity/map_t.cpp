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
data_t& valueIn(map_slot& slot) {
  return reinterpret_cast<data_t&>(slot.value);
}

/// More than three quarters full, counted in whole numbers.
bool needsRebuild(const map_header& block) {
  return 4 * (block.count + block.tombstones) > 3 * block.capacity;
}

bool checksAreSkipped() {
  return std::getenv("KV_SKIP_DATA_T_ITERATOR_CHECKS") != nullptr;
}

}  // namespace

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
  std::uint64_t left = size();
  for (map_slot* slot = left > 0 ? slots() : nullptr; left > 0 && slot != slots() + capacity(); ++slot) {
    if (!isOccupied(*slot)) continue;
    --left;
    data_t key = keyOf(*slot).copy();
    data_t value = valueIn(*slot).copy();
    result.add(key, value);
  }
  if (name()) result.setName(name());
  return result;
}

void map_t::reserve(std::uint64_t n) {
  const std::uint64_t capacity = std::max(n, smallestCapacity);
  block = block ? qel_reallocate_map(block, capacity) : qel_allocate_map(capacity);
}

/// `isKey` tells of the key of a slot with the hash whether it is the one sought.
template <class IsKey>
map_t::Position map_t::probe(std::uint64_t hash, IsKey isKey) const {
  if (capacity() == 0) return {nullptr, false};
  map_slot* place = nullptr;
  map_slot* const first = slots() + startOf(hash, block->capacity);
  map_slot* slot = first;
  map_slot* end = slots() + block->capacity;
  while (true) {
    for (; slot != end; ++slot) {
      if (!isOccupied(*slot)) {
        if (!place) place = slot;
        if (slot->hash == freeHash) return {place, false};
      } else if (slot->hash == hash && isKey(slot->key)) {
        return {slot, true};
      }
    }
    if (end == first) return {place, false};
    slot = slots();
    end = first;
  }
}

map_t::Position map_t::locate(const data_t& key, std::uint64_t hash) const {
  return probe(hash, [&](const qel_value& found) { return isSameKey(reinterpret_cast<const data_t&>(found), key); });
}

/// The slot of the key, or null.
map_slot* map_t::slotOf(const data_t& key, std::uint64_t hash) const {
  const Position position = locate(key, hash);
  return position.isThere ? position.slot : nullptr;
}

map_slot* map_t::slotOf(const data_t& key) const {
  return slotOf(key, hash(key, tableSeed));
}

/// The free slot of a new key, found in one go: null when an equal hash, a tombstone or a table to be rebuilt calls for
/// a closer look.
inline map_slot* map_t::slotOfNew(std::uint64_t hash) const {
  if (capacity() == 0 || needsRebuild(*block)) return nullptr;
  map_slot* slot = slots() + startOf(hash, block->capacity);
  map_slot* const end = slots() + block->capacity;
  bool isSecondRound = false;
  while (slot->hash != freeHash || slot->key.tag != QEL_EMPTY) {
    if (slot->hash == hash || slot->hash == tombstoneHash) return nullptr;
    if (++slot == end) {
      if (std::exchange(isSecondRound, true)) return nullptr;
      slot = slots();
    }
  }
  return slot;
}

/// Where a new entry of the hash goes: `place`, if there is one and the table need not be rebuilt.
inline map_slot* map_t::withRoom(map_slot* place, std::uint64_t hash) {
  if (!place || needsRebuild(*block)) [[unlikely]]
    return rebuild(hash);
  return place;
}

map_slot* map_t::rebuild(std::uint64_t hash) {
  do
    block = block ? qel_reallocate_map(block, std::max(smallestCapacity, block->count * 2 + 2))
                  : qel_allocate_map(smallestCapacity);
  while (needsRebuild(*block));
  return probe(hash, [](const qel_value&) { return false; }).slot;
}

/// Moves key and value into a slot that is free or a tombstone.
inline map_slot* map_t::occupy(map_slot* slot, std::uint64_t hash, data_t& key, data_t& value) {
  ++block->count;
  slot->hash = hash;
  slot->key = key.disown();
  slot->value = value.disown();
  return slot;
}

map_t::iterator map_t::find(const data_t& key) {
  return iteratorTo(slotOf(key));
}

map_t::const_iterator map_t::find(const data_t& key) const {
  return iteratorTo(slotOf(key));
}

bool map_t::contains(const data_t& key) const {
  return slotOf(key) != nullptr;
}

std::pair<map_t::iterator, bool> map_t::insert(data_t&& key, data_t&& value) {
  const Position position = add(key, value);
  if (position.isThere) {
    value = data_t();
    key = data_t();
  }
  return {iteratorTo(position.slot), !position.isThere};
}

/// Moves key and value into the map unless the key is there already.
map_t::Position map_t::add(data_t& key, data_t& value) {
  const std::uint64_t keyHash = hash(key, tableSeed);
  if (key.empty()) throw std::runtime_error("Cannot have a null key");
  map_slot* slot = slotOfNew(keyHash);
  if (!slot) [[unlikely]] {
    const Position position = locate(key, keyHash);
    if (position.isThere) return position;
    slot = withRoom(position.slot, keyHash);
  }
  return {occupy(slot, keyHash, key, value), false};
}

/// Gives a slot that is free or a tombstone a copy of the key.
inline map_slot* map_t::occupy(map_slot* slot, const hashed_key& key) {
  slot->key = qel_copy_data(key.view());
  slot->hash = key.hash();
  ++block->count;
  return slot;
}

/// The slot that holds the key: an own one with an empty value when there was none.
map_t::Position map_t::slotFor(const hashed_key& key) {
  map_slot* const slot = slotOfNew(key.hash());
  if (!slot || key.empty()) [[unlikely]]
    return slotForHard(key);
  return {occupy(slot, key), false};
}

/// The same in whatever state the table is.
map_t::Position map_t::slotForHard(const hashed_key& key) {
  if (key.empty()) throw std::runtime_error("Cannot have a null key");
  const Position position = probe(key.hash(), [&](const qel_value& found) { return isSameText(found, key); });
  return position.isThere ? position : Position{occupy(withRoom(position.slot, key.hash()), key), false};
}

data_t& map_t::operator[](data_t&& key) {
  return insert(std::move(key), data_t()).first->second;
}

data_t& map_t::operator[](const data_t& key) {
  const std::uint64_t keyHash = hash(key, tableSeed);
  const Position position = locate(key, keyHash);
  if (position.isThere) return valueIn(*position.slot);
  map_slot* const place = withRoom(position.slot, keyHash);
  data_t ownKey = key.copy();
  data_t value = data_t().copy();
  return valueIn(*occupy(place, keyHash, ownKey, value));
}

const data_t& map_t::valueOf(const map_slot* slot) {
  if (!slot) throw std::runtime_error("Element not in map");
  return reinterpret_cast<const data_t&>(slot->value);
}

const data_t& map_t::at(const data_t& key) const {
  return valueOf(slotOf(key));
}

data_t& map_t::at(const data_t& key) {
  return const_cast<data_t&>(std::as_const(*this).at(key));
}

void map_t::erase(map_slot& slot) {
  const data_t key(std::move(keyOf(slot)));
  const data_t value(std::move(valueIn(slot)));  // destroyed first
  slot.hash = tombstoneHash;
  --block->count;
  ++block->tombstones;
}

data_t map_t::take(map_slot* slot) {
  if (!slot) return {};
  data_t value(std::move(valueIn(*slot)));
  erase(*slot);
  return value;
}

void map_t::erase(iterator position) {
  if (position == end()) return;
  static_cast<void>(*position);
  erase(slots()[position.index]);
}

bool map_t::erase(const data_t& key) {
  map_slot* const slot = slotOf(key);
  if (slot) erase(*slot);
  return slot;
}

bool map_t::erase(const hashed_key& key) {
  map_slot* const slot = slotOf(key);
  if (slot) erase(*slot);
  return slot;
}

data_t map_t::take(const data_t& key) {
  return take(slotOf(key));
}

data_t map_t::take(const hashed_key& key) {
  return take(slotOf(key));
}

void reportInvalidMapIterator() {
  if (!checksAreSkipped()) throw std::runtime_error("Iterator invalidated by modifying map");
}

void reportForeignMapIterator() {
  if (!checksAreSkipped()) throw std::runtime_error("Invalid comparison of iterators into different maps");
}

}  // namespace com::tallowmere::connectivity10_15_4
