#include "tests/support/StatusBoard.h"

#include <algorithm>

namespace tests {
namespace {

std::string textOf(const qel_value& value) {
  if (value.tag == QEL_STRING || value.tag == QEL_BORROWED_STRING) return reinterpret_cast<const char*>(value.payload);
  if (value.tag == QEL_INTEGER) return std::to_string(static_cast<std::int64_t>(value.payload));
  return "(tag " + std::to_string(value.tag) + ")";
}

}  // namespace

void* StatusBoard::create(void* reporter, const char* key, const char* value) {
  std::lock_guard lock(mutex);
  const bool inUse =
      std::any_of(byHandle.begin(), byHandle.end(), [&](const auto& entry) { return entry.second.key == key; });
  if (inUse || refused.contains(key)) return nullptr;
  const std::uintptr_t handle = nextHandle++;
  byHandle.emplace(handle, Item{reporter, key, value, true});
  creations.emplace_back(key, value);
  return reinterpret_cast<void*>(handle);
}

void StatusBoard::set(void* item, const char* value, std::string& complaint) {
  std::lock_guard lock(mutex);
  const auto found = byHandle.find(reinterpret_cast<std::uintptr_t>(item));
  if (found == byHandle.end()) {
    complaint = "qel_set_user_status_item was given a handle of no item";
    return;
  }
  found->second.value = value;
  updates.emplace_back(found->second.key, value);
}

void StatusBoard::remove(void* reporter, void* item, std::string& complaint) {
  std::lock_guard lock(mutex);
  const auto found = byHandle.find(reinterpret_cast<std::uintptr_t>(item));
  if (found == byHandle.end()) {
    complaint = "qel_delete_user_status_item was given a handle of no item";
    return;
  }
  if (found->second.reporter != reporter) {
    complaint = "qel_delete_user_status_item was given another reporter than the one that made the item";
    return;
  }
  byHandle.erase(found);
}

void StatusBoard::publish(map_header* map) {
  std::map<std::string, std::string> entries;
  const auto* slots = reinterpret_cast<const map_slot*>(map + 1);
  for (std::uint64_t index = 0; index < map->capacity; ++index) {
    if (slots[index].key.tag != QEL_EMPTY) entries[textOf(slots[index].key)] = textOf(slots[index].value);
  }
  std::lock_guard lock(mutex);
  maps.push_back(std::move(entries));
}

void StatusBoard::refuse(std::string key) {
  std::lock_guard lock(mutex);
  refused.insert(std::move(key));
}

std::map<std::string, std::string> StatusBoard::items() const {
  std::lock_guard lock(mutex);
  std::map<std::string, std::string> values;
  for (const auto& [handle, item] : byHandle) values[item.key] = item.value;
  return values;
}

std::vector<StatusBoard::KeyAndValue> StatusBoard::created() const {
  std::lock_guard lock(mutex);
  return creations;
}

std::vector<StatusBoard::KeyAndValue> StatusBoard::history() const {
  std::lock_guard lock(mutex);
  return updates;
}

std::vector<std::map<std::string, std::string>> StatusBoard::publishedMaps() const {
  std::lock_guard lock(mutex);
  return maps;
}

std::vector<std::string> StatusBoard::leftovers() const {
  std::lock_guard lock(mutex);
  std::vector<std::string> keys;
  for (const auto& [handle, item] : byHandle) {
    if (item.sinceReset) keys.push_back(item.key);
  }
  return keys;
}

std::vector<std::string> StatusBoard::drop() {
  std::lock_guard lock(mutex);
  std::vector<std::string> keys;
  for (const auto& [handle, item] : byHandle) keys.push_back(item.key);
  byHandle.clear();
  return keys;
}

void StatusBoard::reset() {
  std::lock_guard lock(mutex);
  for (auto& [handle, item] : byHandle) item.sinceReset = false;
  refused.clear();
  creations.clear();
  updates.clear();
  maps.clear();
}

}  // namespace tests
