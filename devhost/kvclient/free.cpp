// Freeing of values. Containers inside wait for their turn instead of being entered by recursion, so that no depth of
// nesting can exhaust the stack.
#include <type_traits>
#include <utility>

#include "devhost/kvclient/WorkList.h"
#include "devhost/kvclient/blocks.h"
#include "devhost/kvclient/value_blocks.h"

namespace devhost {
namespace {

/// Containers that wait, chained through words of their own that nobody reads any more: that takes no memory. A map has
/// lost its name already.
class ContainerChain {
 public:
  void add(list_header* list) { list->capacity = reinterpret_cast<std::uint64_t>(std::exchange(lists, list)); }
  void add(map_header* map) { map->name = reinterpret_cast<char*>(std::exchange(maps, map)); }

  /// The list or map added last, or null.
  list_header* takeList() {
    list_header* list = lists;
    if (list != nullptr) lists = reinterpret_cast<list_header*>(list->capacity);
    return list;
  }
  map_header* takeMap() {
    map_header* map = maps;
    if (map != nullptr) maps = reinterpret_cast<map_header*>(map->name);
    return map;
  }

 private:
  list_header* lists = nullptr;
  map_header* maps = nullptr;
};

/// Containers that wait and are left as they are, which may be in there twice: a faulty value is told as what it is.
class ContainerList {
 public:
  void add(list_header* list) { lists.add(list); }
  void add(map_header* map) { maps.add(map); }
  list_header* takeList() { return lists.empty() ? nullptr : lists.take(); }
  map_header* takeMap() { return maps.empty() ? nullptr : maps.take(); }

 private:
  WorkList<list_header*> lists;
  WorkList<map_header*> maps;
};

template <class Blocks>
void releaseCustom(const Blocks& blocks, CustomBlock* custom) {
  blocks.checkFreeable(BlockKind::custom, custom);
  custom->release(custom->object);
  blocks.release(BlockKind::custom, custom);
}

template <class Blocks>
class Releaser {
 public:
  explicit Releaser(const Blocks& blocks) : blocks(blocks) {}

  void releaseList(list_header* list) {
    blocks.checkFreeable(BlockKind::list, list);
    blocks.enterValue();
    freeList(list);
    releasePending();
  }

  void releaseMap(map_header* map) {
    blocks.checkFreeable(BlockKind::map, map);
    blocks.enterValue();
    freeName(map);
    freeTable(map);
    releasePending();
  }

 private:
  void releasePending() {
    while (true) {
      if (map_header* map = pending.takeMap()) {
        freeTable(map);
      } else if (list_header* list = pending.takeList()) {
        freeList(list);
      } else {
        return;
      }
    }
  }

  void freeList(list_header* list) {
    blocks.checkFreeable(BlockKind::list, list);
    for (std::uint64_t i = 0; i < list->count; ++i) discard(elementsOf(list)[i]);
    blocks.release(BlockKind::list, list);
  }

  void freeName(map_header* map) {
    if (map->name != nullptr) blocks.release(BlockKind::string, map->name);
  }

  void freeTable(map_header* map) {
    blocks.checkFreeable(BlockKind::map, map);
    forEachEntry(map, [this](map_slot& slot) {
      discard(slot.key);
      discard(slot.value);
    });
    blocks.release(BlockKind::map, map);
  }

  /// Frees a value of a container, or notes it if it is one itself.
  void discard(const qel_value& value) {
    if (value.tag == QEL_STRING) [[likely]] {
      if (value.payload != 0) blocks.release(BlockKind::string, blockOf<void>(value));
    } else if (value.tag > QEL_STRING && value.payload != 0) {
      discardRare(value);
    }
  }

  void discardRare(const qel_value& value) {
    switch (value.tag) {
      case QEL_BUFFER:
        return blocks.release(BlockKind::buffer, blockOf<void>(value));
      case QEL_CUSTOM:
        return releaseCustom(blocks, blockOf<CustomBlock>(value));
      case QEL_LIST:
        return pending.add(blockOf<list_header>(value));
      case QEL_MAP:
        return discardMap(blockOf<map_header>(value));
      default:
        return;
    }
  }

  void discardMap(map_header* map) {
    blocks.checkFreeable(BlockKind::map, map);
    freeName(map);
    pending.add(map);
  }

  Blocks blocks;
  std::conditional_t<std::is_same_v<Blocks, Watched>, ContainerList, ContainerChain> pending;
};

}  // namespace
}  // namespace devhost

using namespace devhost;

void qel_free_map(map_header* block) {
  if (block == nullptr) return;
  withBlocks(__func__, __builtin_return_address(0), [=](const auto& blocks) { Releaser(blocks).releaseMap(block); });
}

void qel_free_vector(list_header* block) {
  if (block == nullptr) return;
  withBlocks(__func__, __builtin_return_address(0), [=](const auto& blocks) { Releaser(blocks).releaseList(block); });
}

void qel_free_string(char* text) {
  if (text == nullptr) return;
  withBlocks(__func__, __builtin_return_address(0),
             [=](const auto& blocks) { blocks.release(BlockKind::string, text); });
}

void qel_free_buffer(buffer_header* block) {
  if (block == nullptr) return;
  withBlocks(__func__, __builtin_return_address(0),
             [=](const auto& blocks) { blocks.release(BlockKind::buffer, block); });
}

void qel_free_custom(void* object) {
  if (object == nullptr) return;
  withBlocks(__func__, __builtin_return_address(0),
             [=](const auto& blocks) { releaseCustom(blocks, static_cast<CustomBlock*>(object)); });
}
