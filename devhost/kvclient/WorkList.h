#pragma once

#include <array>
#include <cstddef>
#include <memory_resource>
#include <vector>

namespace devhost {

/// What is still to be done, the last first. The first items lie in the object itself, so that everyday values need no
/// memory to be walked. Exhausted memory ends the process. [one thread]
template <class Item>
class WorkList {
 public:
  WorkList() : memory(room.data(), room.size()), items(&memory) { items.reserve(inPlace); }
  WorkList(const WorkList&) = delete;
  WorkList& operator=(const WorkList&) = delete;

  bool empty() const { return items.empty(); }
  void add(const Item& item) noexcept { items.push_back(item); }

  /// The item added last, which is not in the list any more. The list must not be empty.
  Item take() {
    const Item item = items.back();
    items.pop_back();
    return item;
  }

 private:
  static constexpr std::size_t inPlace = 32;

  alignas(Item) std::array<std::byte, inPlace * sizeof(Item)> room;
  std::pmr::monotonic_buffer_resource memory;
  std::pmr::vector<Item> items;
};

}  // namespace devhost
