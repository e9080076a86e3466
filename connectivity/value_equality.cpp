#include <cstring>

#include "connectivity/value_hash.h"

namespace com::tallowmere::connectivity10_15_4 {

namespace {

bool equalNames(const char* a, const char* b) {
  return a && b ? std::strcmp(a, b) == 0 : a == b;
}

bool equalBuffers(const buffer_t& a, const buffer_t& b) {
  return a.size() == b.size() && (a.empty() || std::memcmp(a.begin(), b.begin(), a.size()) == 0);
}

}  // namespace

bool operator==(const data_t& a, const data_t& b) {
  if (a.type() != b.type()) return false;
  switch (a.type()) {
    case Tag::empty:
      return true;
    case Tag::boolean:
      return (a.bits() & 0xff) == (b.bits() & 0xff);
    case Tag::number:
      return a.get<double>() == b.get<double>();
    case Tag::integer:
    case Tag::decimal:
      return a.bits() == b.bits();
    case Tag::string:
    case Tag::borrowedString:
      return std::strcmp(a.get<const char*>(), b.get<const char*>()) == 0;
    case Tag::list:
      return a.get<list_t>() == b.get<list_t>();
    case Tag::map:
      return a.get<map_t>() == b.get<map_t>();
    case Tag::buffer:
      return equalBuffers(a.get<buffer_t>(), b.get<buffer_t>());
    case Tag::custom:
      return false;
  }
  return false;  // a tag that nobody knows says nothing about its payload
}

bool operator==(const list_t& a, const list_t& b) {
  if (a.size() != b.size()) return false;
  auto other = b.begin();
  for (const data_t& element : a) {
    if (!(element == *other)) return false;
    ++other;
  }
  return true;
}

// A string key is looked up by the hash that its slot keeps. Maps that were built alike hold it in the same slot.
bool operator==(const map_t& a, const map_t& b) {
  if (a.size() != b.size() || !equalNames(a.name(), b.name())) return false;
  if (a.empty()) return true;
  const map_slot* const end = a.slots() + a.capacity();
  const map_slot* const endOfTwins = b.slots() + b.capacity();
  const map_slot* twin = b.slots();
  std::uint64_t left = a.size();
  for (const map_slot* slot = a.slots(); left > 0 && slot != end; ++slot, ++twin) {
    if (!isOccupied(*slot)) continue;
    --left;
    const auto& key = reinterpret_cast<const data_t&>(slot->key);
    const std::uint64_t keyHash = key.isString() ? slot->hash : hash(key, tableSeed);
    const bool isInTwin = twin < endOfTwins && twin->hash == keyHash && isOccupied(*twin) &&
                          isSameKey(reinterpret_cast<const data_t&>(twin->key), key);
    const map_slot* const other = isInTwin ? twin : b.slotOf(key, keyHash);
    if (!other) return false;
    if (!(reinterpret_cast<const data_t&>(slot->value) == reinterpret_cast<const data_t&>(other->value))) return false;
  }
  return true;
}

}  // namespace com::tallowmere::connectivity10_15_4
