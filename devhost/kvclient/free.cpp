// Freeing of values. Containers wait in a list of work instead of being entered by recursion, so that no depth of
// nesting can exhaust the stack.
#include <vector>

#include "devhost/kvclient/blocks.h"
#include "devhost/kvclient/value_blocks.h"

namespace devhost {
namespace {

class Releaser {
 public:
  explicit Releaser(const CallSite& site) : site(site) {}

  void release(const qel_value& value) {
    discard(value);
    while (!pending.empty()) {
      const qel_value container = pending.back();
      pending.pop_back();
      if (container.tag == QEL_LIST) {
        releaseList(blockOf<list_header>(container));
      } else {
        releaseMap(blockOf<map_header>(container));
      }
    }
  }

 private:
  void discard(const qel_value& value) {
    if (value.payload == 0) return;
    switch (value.tag) {
      case QEL_STRING:
        freeBlock(BlockKind::string, blockOf<void>(value), site);
        break;
      case QEL_BUFFER:
        freeBlock(BlockKind::buffer, blockOf<void>(value), site);
        break;
      case QEL_CUSTOM:
        releaseCustom(blockOf<CustomBlock>(value));
        break;
      case QEL_LIST:
      case QEL_MAP:
        pending.push_back(value);
        break;
      default:
        break;
    }
  }

  void releaseList(list_header* list) {
    checkFreeable(BlockKind::list, list, site);
    const CallSite outer = enter();
    for (std::uint64_t i = 0; i < list->count; ++i) discard(elementsOf(list)[i]);
    freeBlock(BlockKind::list, list, outer);
  }

  void releaseMap(map_header* map) {
    checkFreeable(BlockKind::map, map, site);
    const CallSite outer = enter();
    if (map->name != nullptr) freeBlock(BlockKind::string, map->name, site);
    for (std::uint64_t i = 0; i < map->capacity; ++i) {
      const map_slot& slot = slotsOf(map)[i];
      if (!isOccupied(slot)) continue;
      discard(slot.key);
      discard(slot.value);
    }
    freeBlock(BlockKind::map, map, outer);
  }

  void releaseCustom(CustomBlock* custom) {
    checkFreeable(BlockKind::custom, custom, site);
    custom->release(custom->object);
    freeBlock(BlockKind::custom, custom, site);
  }

  /// From here on blocks lie inside the value that was passed. Gives the site of the container that is entered.
  CallSite enter() {
    const CallSite outer = site;
    site.nested = true;
    return outer;
  }

  CallSite site;
  std::vector<qel_value> pending;
};

}  // namespace

void freeValue(const qel_value& value, const CallSite& site) noexcept {
  Releaser(site).release(value);
}

}  // namespace devhost

using namespace devhost;

void qel_free_map(map_header* block) {
  freeValue(valueOf(block, QEL_MAP), {__func__, __builtin_return_address(0)});
}

void qel_free_vector(list_header* block) {
  freeValue(valueOf(block, QEL_LIST), {__func__, __builtin_return_address(0)});
}

void qel_free_string(char* text) {
  freeValue(valueOf(text, QEL_STRING), {__func__, __builtin_return_address(0)});
}

void qel_free_buffer(buffer_header* block) {
  freeValue(valueOf(block, QEL_BUFFER), {__func__, __builtin_return_address(0)});
}

void qel_free_custom(void* object) {
  freeValue(valueOf(object, QEL_CUSTOM), {__func__, __builtin_return_address(0)});
}
