#include "devhost/kvclient/blocks.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

#include "devhost/kvclient/BlockLedger.h"
#include "devhost/kvclient/ledger_level.h"

namespace devhost {
namespace {

[[noreturn]] void reportExhaustion(BlockKind kind, std::size_t size) {
  abortWith("development host: no memory for a " + std::string(nameOf(kind)) + " block of " + std::to_string(size) +
            " bytes");
}

}  // namespace

const char* nameOf(BlockKind kind) {
  constexpr const char* names[blockKinds] = {"string", "list", "map", "buffer", "custom"};
  return names[static_cast<std::size_t>(kind)];
}

std::size_t blockSize(std::size_t header, std::uint64_t count, std::size_t item) {
  std::size_t size;
  if (__builtin_mul_overflow(count, item, &size) || __builtin_add_overflow(size, header, &size)) {
    return std::numeric_limits<std::size_t>::max();
  }
  return size;
}

void* allocateBlock(BlockKind kind, std::size_t size) noexcept {
  void* block = std::malloc(size);
  if (block == nullptr) reportExhaustion(kind, size);
  if (currentLevel() != LedgerLevel::none) BlockLedger::instance().add(block, kind, size);
  return block;
}

void* resizeBlock(BlockKind kind, void* block, std::size_t oldSize, std::size_t newSize,
                  const CallSite& site) noexcept {
  if (currentLevel() == LedgerLevel::none) {
    void* resized = std::realloc(block, newSize);
    if (resized == nullptr) reportExhaustion(kind, newSize);
    return resized;
  }
  // Always moved, so that a pointer kept into the old block shows at once.
  void* moved = allocateBlock(kind, newSize);
  std::memcpy(moved, block, std::min(oldSize, newSize));
  freeBlock(kind, block, site);
  return moved;
}

void freeBlock(BlockKind kind, void* block, const CallSite& site) {
  if (currentLevel() == LedgerLevel::none || BlockLedger::instance().retire(block, kind, site)) returnMemory(block);
}

void checkFreeable(BlockKind kind, const void* block, const CallSite& site) {
  if (currentLevel() != LedgerLevel::none) BlockLedger::instance().checkFreeable(block, kind, site);
}

void checkReadable(BlockKind kind, const void* block, const CallSite& site) {
  if (currentLevel() != LedgerLevel::none) BlockLedger::instance().checkReadable(block, kind, site);
}

void returnMemory(void* block) noexcept {
  std::free(block);
}

}  // namespace devhost
