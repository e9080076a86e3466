#include <algorithm>

#include "devhost/kvclient/blocks.h"
#include "devhost/kvclient/value_blocks.h"

using namespace devhost;

list_header* qel_allocate_vector(uint64_t capacity) {
  auto* list = static_cast<list_header*>(allocateBlock(BlockKind::list, listSize(capacity)));
  *list = {0, capacity};
  return list;
}

list_header* qel_reallocate_vector(list_header* block, uint64_t capacity) {
  return withBlocks(__func__, __builtin_return_address(0), [=](const auto& blocks) {
    blocks.checkFreeable(BlockKind::list, block);
    // A wish below the count is a wish to shrink, not to lose elements.
    const std::uint64_t room = std::max(capacity, block->count);
    auto* resized =
        static_cast<list_header*>(blocks.resize(BlockKind::list, block, listSize(block->capacity), listSize(room)));
    resized->capacity = room;
    return resized;
  });
}
