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

/// `isFromElsewhere`: the value is another thread's, and so most of its containers will be.
template <class Blocks, bool isFromElsewhere = false>
class Releaser {
 public:
  explicit Releaser(const Blocks& blocks) : blocks(blocks) {}

  void releaseList(list_header* list) {
    blocks.checkFreeable(BlockKind::list, list);
    blocks.enterValue();
    pending.add(list);
    releasePending();
  }

  void releaseMap(map_header* map) {
    blocks.checkFreeable(BlockKind::map, map);
    blocks.enterValue();
    freeName(map);
    pending.add(map);
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
    if constexpr (isFromElsewhere)
      if (Blocks::isFromElsewhere(list)) return sendListHome(list);
    discardElements(list, [this](BlockKind kind, void* block) { blocks.release(kind, block); });
    blocks.release(BlockKind::list, list);
  }

  void freeName(map_header* map) {
    if (map->name != nullptr) blocks.release(BlockKind::string, map->name);
  }

  void freeTable(map_header* map) {
    blocks.checkFreeable(BlockKind::map, map);
    if constexpr (isFromElsewhere)
      if (Blocks::isFromElsewhere(map)) return sendTableHome(map);
    discardEntries(map, [this](BlockKind kind, void* block) { blocks.release(kind, block); });
    blocks.release(BlockKind::map, map);
  }

  void sendListHome(list_header* list) {
    HomeComing way(list);
    discardElements(list, [&](BlockKind, void* block) { way.add(block); });
    way.close();
  }

  void sendTableHome(map_header* map) {
    HomeComing way(map);
    discardEntries(map, [&](BlockKind, void* block) { way.add(block); });
    way.close();
  }

  template <class Release>
  void discardElements(list_header* list, const Release& release) {
    const std::uint64_t count = list->count;
    for (std::uint64_t i = 0; i < count; ++i) discard(elementsOf(list)[i], release);
  }

  template <class Release>
  void discardEntries(map_header* map, const Release& release) {
    forEachEntry(map, [&](map_slot& slot) {
      discard(slot.key, release);
      discard(slot.value, release);
    });
  }

  /// Frees a value of a container, or notes it if it is one itself. Its 16 bytes may be overwritten then.
  template <class Release>
  void discard(const qel_value& value, const Release& release) {
    if (value.tag == QEL_STRING) [[likely]] {
      if (value.payload != 0) release(BlockKind::string, blockOf<void>(value));
    } else if (value.tag > QEL_STRING && value.payload != 0) {
      discardRare(value, release);
    }
  }

  template <class Release>
  void discardRare(const qel_value& value, const Release& release) {
    switch (value.tag) {
      case QEL_BUFFER:
        return release(BlockKind::buffer, blockOf<void>(value));
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

// Not inlined, so that a thread's own values don't pay for it.
template <class Blocks>
[[gnu::noinline]] void releaseFromElsewhere(const Blocks& blocks, map_header* map) {
  Releaser<Blocks, true>(blocks).releaseMap(map);
}

template <class Blocks>
[[gnu::noinline]] void releaseFromElsewhere(const Blocks& blocks, list_header* list) {
  Releaser<Blocks, true>(blocks).releaseList(list);
}

}  // namespace
}  // namespace devhost

using namespace devhost;

void qel_free_map(map_header* block) {
  if (block == nullptr) return;
  withBlocks(__func__, __builtin_return_address(0), [=](const auto& blocks) {
    if (blocks.isFromElsewhere(block)) return releaseFromElsewhere(blocks, block);
    Releaser(blocks).releaseMap(block);
  });
}

void qel_free_vector(list_header* block) {
  if (block == nullptr) return;
  withBlocks(__func__, __builtin_return_address(0), [=](const auto& blocks) {
    if (blocks.isFromElsewhere(block)) return releaseFromElsewhere(blocks, block);
    Releaser(blocks).releaseList(block);
  });
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
