#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace devhost {

/// What is still to be done, the last first. The first items lie in the object itself, so that everyday values need no
/// memory to be walked. Exhausted memory ends the process. [one thread]
template <class Item>
class WorkList {
 public:
  WorkList() {}  // leaves the room as it is
  WorkList(const WorkList&) = delete;
  WorkList& operator=(const WorkList&) = delete;

  bool empty() const { return count == 0; }

  void add(const Item& item) noexcept {
    if (count < inPlace) [[likely]] {
      room[count] = item;
    } else {
      more.push_back(item);
    }
    ++count;
  }

  /// The item added last, which is not in the list any more. The list must not be empty.
  Item take() {
    if (--count < inPlace) [[likely]]
      return room[count];
    const Item item = more.back();
    more.pop_back();
    return item;
  }

 private:
  static constexpr std::size_t inPlace = 32;

  std::array<Item, inPlace> room;
  std::vector<Item> more;
  std::size_t count = 0;
};

}  // namespace devhost
