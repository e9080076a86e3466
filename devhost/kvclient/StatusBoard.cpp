#include "devhost/kvclient/StatusBoard.h"

#include "devhost/kvclient/render.h"
#include "devhost/kvclient/value_blocks.h"

namespace devhost {

StatusBoard& StatusBoard::instance() {
  static StatusBoard& board = *new StatusBoard;
  return board;
}

void* StatusBoard::create(const std::string& key, const std::string& value) {
  std::lock_guard lock(mutex);
  if (!values.emplace(key, value).second) return nullptr;
  keys.emplace(++lastHandle, key);
  return reinterpret_cast<void*>(lastHandle);
}

bool StatusBoard::set(void* handle, const std::string& value) {
  std::lock_guard lock(mutex);
  const auto found = keys.find(reinterpret_cast<std::uintptr_t>(handle));
  if (found == keys.end()) return false;
  values[found->second] = value;
  return true;
}

bool StatusBoard::remove(void* handle) {
  std::lock_guard lock(mutex);
  const auto found = keys.find(reinterpret_cast<std::uintptr_t>(handle));
  if (found == keys.end()) return false;
  values.erase(found->second);
  keys.erase(found);
  return true;
}

void StatusBoard::publish(map_header* map) {
  if (map == nullptr) return;
  std::lock_guard lock(mutex);
  for (std::uint64_t i = 0; i < map->capacity; ++i) {
    const map_slot& slot = slotsOf(map)[i];
    if (isOccupied(slot)) entries[render(slot.key)] = render(slot.value);
  }
}

std::map<std::string, std::string> StatusBoard::items() const {
  std::lock_guard lock(mutex);
  return values;
}

std::map<std::string, std::string> StatusBoard::published() const {
  std::lock_guard lock(mutex);
  return entries;
}

}  // namespace devhost
