// Freeing of values. Containers wait in a list of work instead of being entered by recursion, so that no depth of
// nesting can exhaust the stack.
#include "devhost/kvclient/WorkList.h"
#include "devhost/kvclient/blocks.h"
#include "devhost/kvclient/value_blocks.h"

namespace devhost {
namespace {

void releaseCustom(CustomBlock* custom, const CallSite& site) {
  checkFreeable(BlockKind::custom, custom, site);
  custom->release(custom->object);
  freeBlock(BlockKind::custom, custom, site);
}

class Releaser {
 public:
  explicit Releaser(const CallSite& site) : site(site), inside(site) { inside.nested = true; }

  void releaseList(list_header* list) {
    freeList(list, site);
    releasePending();
  }

  void releaseMap(map_header* map) {
    freeMap(map, site);
    releasePending();
  }

 private:
  void releasePending() {
    while (!pending.empty()) {
      const qel_value container = pending.take();
      if (container.tag == QEL_LIST) {
        freeList(blockOf<list_header>(container), inside);
      } else {
        freeMap(blockOf<map_header>(container), inside);
      }
    }
  }

  void freeList(list_header* list, const CallSite& from) {
    checkFreeable(BlockKind::list, list, from);
    for (std::uint64_t i = 0; i < list->count; ++i) discard(elementsOf(list)[i]);
    freeBlock(BlockKind::list, list, from);
  }

  void freeMap(map_header* map, const CallSite& from) {
    checkFreeable(BlockKind::map, map, from);
    if (map->name != nullptr) freeBlock(BlockKind::string, map->name, inside);
    for (std::uint64_t i = 0; i < map->capacity; ++i) {
      const map_slot& slot = slotsOf(map)[i];
      if (!isOccupied(slot)) continue;
      discard(slot.key);
      discard(slot.value);
    }
    freeBlock(BlockKind::map, map, from);
  }

  /// Frees a value of a container, or for another container notes it.
  void discard(const qel_value& value) {
    if (value.payload == 0) return;
    switch (value.tag) {
      case QEL_STRING:
        freeBlock(BlockKind::string, blockOf<void>(value), inside);
        break;
      case QEL_BUFFER:
        freeBlock(BlockKind::buffer, blockOf<void>(value), inside);
        break;
      case QEL_CUSTOM:
        releaseCustom(blockOf<CustomBlock>(value), inside);
        break;
      case QEL_LIST:
      case QEL_MAP:
        pending.add(value);
        break;
      default:
        break;
    }
  }

  CallSite site;
  CallSite inside;
  WorkList<qel_value> pending;
};

}  // namespace
}  // namespace devhost

using namespace devhost;

void qel_free_map(map_header* block) {
  if (block != nullptr) Releaser({__func__, __builtin_return_address(0)}).releaseMap(block);
}

void qel_free_vector(list_header* block) {
  if (block != nullptr) Releaser({__func__, __builtin_return_address(0)}).releaseList(block);
}

void qel_free_string(char* text) {
  if (text != nullptr) freeBlock(BlockKind::string, text, {__func__, __builtin_return_address(0)});
}

void qel_free_buffer(buffer_header* block) {
  if (block != nullptr) freeBlock(BlockKind::buffer, block, {__func__, __builtin_return_address(0)});
}

void qel_free_custom(void* object) {
  if (object != nullptr) releaseCustom(static_cast<CustomBlock*>(object), {__func__, __builtin_return_address(0)});
}
