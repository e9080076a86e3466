#include <algorithm>

#include "devhost/kvclient/blocks.h"
#include "devhost/kvclient/value_blocks.h"

namespace devhost {
namespace {

std::size_t listSize(std::uint64_t capacity) {
  return blockSize(sizeof(list_header), capacity, sizeof(qel_value));
}

}  // namespace

list_header* newList(std::uint64_t capacity) {
  auto* list = static_cast<list_header*>(allocateBlock(BlockKind::list, listSize(capacity)));
  *list = {0, capacity};
  return list;
}

}  // namespace devhost

using namespace devhost;

list_header* qel_allocate_vector(uint64_t capacity) {
  return newList(capacity);
}

list_header* qel_reallocate_vector(list_header* block, uint64_t capacity) {
  const CallSite site{__func__, __builtin_return_address(0)};
  checkFreeable(BlockKind::list, block, site);
  // A wish below the count is a wish to shrink, not to lose elements.
  const std::uint64_t room = std::max(capacity, block->count);
  auto* resized =
      static_cast<list_header*>(resizeBlock(BlockKind::list, block, listSize(block->capacity), listSize(room), site));
  resized->capacity = room;
  return resized;
}
