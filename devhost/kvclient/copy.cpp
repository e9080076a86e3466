// Deep copies. Containers wait in a list of work instead of being entered by recursion, so that no depth of nesting can
// exhaust the stack.
#include <algorithm>
#include <cstring>

#include "devhost/kvclient/WorkList.h"
#include "devhost/kvclient/blocks.h"
#include "devhost/kvclient/value_blocks.h"

namespace devhost {
namespace {

class Copier {
 public:
  explicit Copier(const CallSite& site) : site(site) {}

  qel_value copy(const qel_value& value) {
    qel_value result;
    copyInto(value, result);
    site.nested = true;
    while (!pending.empty()) {
      qel_value& container = *pending.take();
      if (container.tag == QEL_LIST) {
        copyList(container);
      } else {
        copyMap(container);
      }
    }
    return result;
  }

 private:
  /// Makes `to` a copy, or for a container the source's alias that waits to be replaced by a copy. Blocks don't move,
  /// so the place of a value inside its new container can be remembered.
  void copyInto(const qel_value& from, qel_value& to) {
    to = from;
    if (from.payload == 0) return;
    switch (from.tag) {
      case QEL_STRING:
        checkReadable(BlockKind::string, blockOf<char>(from), site);
        [[fallthrough]];
      case QEL_BORROWED_STRING:
        // Owned even when it was borrowed: the lender need not outlive the copy.
        to = valueOf(newString(blockOf<char>(from)), QEL_STRING);
        break;
      case QEL_LIST:
        checkReadable(BlockKind::list, blockOf<void>(from), site);
        pending.add(&to);
        break;
      case QEL_MAP:
        checkReadable(BlockKind::map, blockOf<void>(from), site);
        pending.add(&to);
        break;
      case QEL_BUFFER:
        to = valueOf(copyBuffer(blockOf<buffer_header>(from)), QEL_BUFFER);
        break;
      case QEL_CUSTOM:
        to = valueOf(copyCustom(blockOf<CustomBlock>(from)), QEL_CUSTOM);
        break;
      default:
        break;
    }
  }

  void copyList(qel_value& container) {
    auto* source = blockOf<list_header>(container);
    list_header* list = newList(std::max<std::uint64_t>(source->count, 2));
    list->count = source->count;
    for (std::uint64_t i = 0; i < source->count; ++i) copyInto(elementsOf(source)[i], elementsOf(list)[i]);
    container = valueOf(list, QEL_LIST);
  }

  /// Slot by slot, tombstones too: the stored hashes were valid where they stand, and so they stay.
  void copyMap(qel_value& container) {
    auto* source = blockOf<map_header>(container);
    map_header* map = newMap(source->capacity);
    map->count = source->count;
    map->tombstones = source->tombstones;
    if (source->name != nullptr) {
      checkReadable(BlockKind::string, source->name, site);
      map->name = newString(source->name);
    }
    for (std::uint64_t i = 0; i < source->capacity; ++i) {
      const map_slot& from = slotsOf(source)[i];
      map_slot& to = slotsOf(map)[i];
      to.hash = from.hash;
      if (!isOccupied(from)) continue;
      copyInto(from.key, to.key);
      copyInto(from.value, to.value);
    }
    container = valueOf(map, QEL_MAP);
  }

  buffer_header* copyBuffer(buffer_header* source) {
    checkReadable(BlockKind::buffer, source, site);
    buffer_header* buffer = newBuffer(source->length);
    std::memcpy(bytesOf(buffer), bytesOf(source), source->length);
    return buffer;
  }

  CustomBlock* copyCustom(const CustomBlock* source) {
    checkReadable(BlockKind::custom, source, site);
    return newCustom({source->clone(source->object), source->clone, source->release});
  }

  CallSite site;
  WorkList<qel_value*> pending;
};

}  // namespace

char* newString(const char* text) {
  const std::size_t size = std::strlen(text) + 1;
  return static_cast<char*>(std::memcpy(allocateBlock(BlockKind::string, size), text, size));
}

}  // namespace devhost

using namespace devhost;

char* qel_copy_string(const char* text) {
  return newString(text);
}

qel_value qel_copy_data(qel_value value) {
  return Copier({__func__, __builtin_return_address(0)}).copy(value);
}
