#include "devhost/kvclient/blocks.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "devhost/kvclient/BlockLedger.h"

namespace devhost {

const char* nameOf(BlockKind kind) {
  constexpr const char* names[blockKinds] = {"string", "list", "map", "buffer", "custom"};
  return names[static_cast<std::size_t>(kind)];
}

void reportExhaustion(BlockKind kind, std::size_t size) {
  abortWith("development host: no memory for a " + std::string(nameOf(kind)) + " block of " + std::to_string(size) +
            " bytes");
}

void* Watched::allocate(BlockKind kind, std::size_t size) const noexcept {
  void* block = Unwatched().allocate(kind, size);
  BlockLedger::instance().add(block, kind, size);
  return block;
}

void* Watched::resize(BlockKind kind, void* block, std::size_t oldSize, std::size_t newSize) const noexcept {
  void* moved = allocate(kind, newSize);
  std::memcpy(moved, block, std::min(oldSize, newSize));
  release(kind, block);
  return moved;
}

void Watched::release(BlockKind kind, void* block) const {
  if (BlockLedger::instance().retire(block, kind, site)) returnMemory(block);
}

void Watched::checkFreeable(BlockKind kind, const void* block) const {
  BlockLedger::instance().checkFreeable(block, kind, site);
}

void Watched::checkReadable(BlockKind kind, const void* block) const {
  BlockLedger::instance().checkReadable(block, kind, site);
}

}  // namespace devhost
