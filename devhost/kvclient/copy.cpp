// Deep copies. Containers inside wait in a list of work instead of being entered by recursion, so that no depth of
// nesting can exhaust the stack.
#include <algorithm>
#include <cstring>

#include "devhost/kvclient/WorkList.h"
#include "devhost/kvclient/blocks.h"
#include "devhost/kvclient/value_blocks.h"

namespace devhost {
namespace {

template <class Blocks>
[[gnu::always_inline]] inline char* copyText(const Blocks& blocks, const char* text) {
  const std::size_t size = std::strlen(text) + 1;
  return static_cast<char*>(std::memcpy(blocks.allocate(BlockKind::string, size), text, size));
}

/// Not inlined: most texts are small blocks, with free ones at hand for their copies.
template <class Blocks>
[[gnu::noinline]] char* copyLongText(const Blocks& blocks, const char* text) {
  return copyText(blocks, text);
}

template <class Blocks>
[[gnu::always_inline]] inline qel_value copyOfText(const Blocks& blocks, const qel_value& value) {
  const char* const text = blockOf<char>(value);
  blocks.checkReadable(BlockKind::string, text);
  if (const void* const copy = blocks.copySmall(text)) [[likely]]
    return valueOf(copy, QEL_STRING);
  return valueOf(copyLongText(blocks, text), QEL_STRING);
}

/// Copies blocks as they stand, and then what the values in them own.
template <class Blocks>
class Copier {
 public:
  explicit Copier(const Blocks& blocks) : blocks(blocks) {}

  qel_value copy(const qel_value& value) {
    qel_value result = value;
    own(result);
    blocks.enterValue();
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
  /// Gives `value`, an alias of the source's, blocks of its own; containers later. Blocks don't move, so the place of a
  /// value inside its new container can be remembered.
  [[gnu::always_inline]] void own(qel_value& value) {
    if (value.tag < QEL_STRING || value.payload == 0) return;
    if (value.tag == QEL_STRING) [[likely]]
      value = copyOfText(blocks, value);
    else
      ownRare(value);
  }

  [[gnu::noinline]] void ownRare(qel_value& value) {
    switch (value.tag) {
      case QEL_BORROWED_STRING:
        // Owned even when it was borrowed: the lender need not outlive the copy.
        value = valueOf(copyText(blocks, blockOf<char>(value)), QEL_STRING);
        return;
      case QEL_LIST:
        blocks.checkReadable(BlockKind::list, blockOf<void>(value));
        return pending.add(&value);
      case QEL_MAP:
        blocks.checkReadable(BlockKind::map, blockOf<void>(value));
        return pending.add(&value);
      case QEL_BUFFER:
        value = valueOf(copyBuffer(blockOf<buffer_header>(value)), QEL_BUFFER);
        return;
      case QEL_CUSTOM:
        value = valueOf(copyCustom(blockOf<CustomBlock>(value)), QEL_CUSTOM);
        return;
      default:
        return;
    }
  }

  void copyList(qel_value& container) {
    const auto* source = blockOf<list_header>(container);
    const std::uint64_t capacity = std::max<std::uint64_t>(source->count, 2);
    auto* list = static_cast<list_header*>(blocks.allocate(BlockKind::list, listSize(capacity)));
    std::memcpy(list, source, listSize(source->count));
    list->capacity = capacity;
    container.payload = reinterpret_cast<std::uint64_t>(list);
    for (std::uint64_t i = 0; i < list->count; ++i) own(elementsOf(list)[i]);
  }

  /// Tombstones too: the stored hashes were valid where they stand, and so they stay.
  void copyMap(qel_value& container) {
    const auto* source = blockOf<map_header>(container);
    const std::size_t size = mapSize(source->capacity);
    auto* map = static_cast<map_header*>(std::memcpy(blocks.allocate(BlockKind::map, size), source, size));
    container.payload = reinterpret_cast<std::uint64_t>(map);
    if (map->name != nullptr) {
      blocks.checkReadable(BlockKind::string, map->name);
      map->name = copyText(blocks, map->name);
    }
    forEachEntry(map, [this](map_slot& slot) {
      own(slot.key);
      own(slot.value);
    });
  }

  buffer_header* copyBuffer(const buffer_header* source) {
    blocks.checkReadable(BlockKind::buffer, source);
    const std::size_t size = bufferSize(source->length);
    return static_cast<buffer_header*>(std::memcpy(blocks.allocate(BlockKind::buffer, size), source, size));
  }

  CustomBlock* copyCustom(const CustomBlock* source) {
    blocks.checkReadable(BlockKind::custom, source);
    void* object = source->clone(source->object);
    auto* custom = static_cast<CustomBlock*>(blocks.allocate(BlockKind::custom, sizeof(CustomBlock)));
    *custom = {object, source->clone, source->release};
    return custom;
  }

  Blocks blocks;
  WorkList<qel_value*> pending;
};

/// Not inlined, so that texts don't pay for the list of work.
template <class Blocks>
[[gnu::noinline]] qel_value copyOfAny(const Blocks& blocks, const qel_value& value) {
  return Copier(blocks).copy(value);
}

}  // namespace
}  // namespace devhost

using namespace devhost;

char* qel_copy_string(const char* text) {
  return withBlocks(__func__, __builtin_return_address(0), [=](const auto& blocks) { return copyText(blocks, text); });
}

/// Not inlined, so that small texts, of which there are most, need no frame.
[[gnu::noinline]] static qel_value copyOfAnyLevel(qel_value value, const void* caller) {
  if (value.tag < QEL_STRING) return value;
  return withBlocks("qel_copy_data", caller, [=](const auto& blocks) {
    if (value.tag != QEL_STRING || value.payload == 0) return copyOfAny(blocks, value);
    const char* const text = blockOf<char>(value);
    blocks.checkReadable(BlockKind::string, text);
    return valueOf(copyLongText(blocks, text), QEL_STRING);
  });
}

qel_value qel_copy_data(qel_value value) {
  if (value.tag == QEL_STRING && value.payload != 0 && isLevelKnownToBeNone()) [[likely]] {
    if (const void* const copy = Unwatched().copySmall(blockOf<char>(value))) return valueOf(copy, QEL_STRING);
  }
  return copyOfAnyLevel(value, __builtin_return_address(0));
}
