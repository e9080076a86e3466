// Every block that the host hands out is allocated and released here, and nowhere else.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

#include "devhost/kvclient/BlockKind.h"
#include "devhost/kvclient/block_memory.h"
#include "devhost/kvclient/ledger_level.h"
#include "devhost/kvclient/misuse.h"

namespace devhost {

/// Aborts with a line on standard error that names kind and size.
[[noreturn]] void reportExhaustion(BlockKind kind, std::size_t size);

/// Bytes of a block with a header and `count` items behind it. Too many for memory gives a size that no allocation
/// meets. [any thread]
inline std::size_t blockSize(std::size_t header, std::uint64_t count, std::size_t item) {
  std::size_t size;
  if (__builtin_mul_overflow(count, item, &size) || __builtin_add_overflow(size, header, &size)) [[unlikely]]
    return std::numeric_limits<std::size_t>::max();
  return size;
}

/// Blocks at level `none`. What it has in common with `Watched` are the operations, so that whoever walks a value reads
/// the level once and pays for no books. [any thread]
class Unwatched {
 public:
  /// An uninitialised block, never null: aborts with a line on standard error when memory is exhausted.
  void* allocate(BlockKind kind, std::size_t size) const noexcept {
    void* block = takeMemory(size);
    if (block == nullptr) [[unlikely]]
      reportExhaustion(kind, size);
    return block;
  }

  /// A copy of a live block, given its beginning, if that costs less than a look at how long its content is; else null.
  [[gnu::always_inline]] void* copySmall(const void* block) const noexcept { return copySmallMemory(block); }

  /// Moves a block that was allocated with `oldSize` bytes into one of `newSize` bytes, as far as these go. The old
  /// pointer is dead. Aborts as allocate does.
  void* resize(BlockKind kind, void* block, std::size_t oldSize, std::size_t newSize) const noexcept {
    void* resized = resizeMemory(block, oldSize, newSize);
    if (resized == nullptr) [[unlikely]]
      reportExhaustion(kind, newSize);
    return resized;
  }

  /// Releases a block.
  void release(BlockKind, void* block) const noexcept { returnMemory(block); }

  /// Whether the container's memory is another thread's, so that it is better released by way of a HomeComing.
  static bool isFromElsewhere(const void* container) noexcept { return HomeComing::isFor(container); }

  void checkFreeable(BlockKind, const void*) const {}
  void checkReadable(BlockKind, const void*) const {}
  void enterValue() const {}
};

/// Blocks at the other levels, entered in the ledger, on behalf of a call into the host. [one thread]
class Watched {
 public:
  explicit Watched(const CallSite& site) : site(site) {}

  /// As Unwatched.
  void* allocate(BlockKind kind, std::size_t size) const noexcept;

  /// As Unwatched, but always moved, so that a pointer kept into the old block shows at once.
  void* resize(BlockKind kind, void* block, std::size_t oldSize, std::size_t newSize) const noexcept;

  /// Releases a block. At level `ledger`, a block of another kind aborts; at `strict`, a block already freed or a
  /// pointer that is no block does too.
  void release(BlockKind kind, void* block) const;

  static bool isFromElsewhere(const void*) { return false; }

  /// Null: what is watched is copied by its content.
  static void* copySmall(const void*) { return nullptr; }

  /// Aborts where release would, and does nothing else: for a look inside a block that is about to be freed.
  void checkFreeable(BlockKind kind, const void* block) const;

  /// Aborts when the ledger knows that `block` was freed or is of another kind. Memory that the ledger does not know
  /// may be read: hosts build values where they like.
  void checkReadable(BlockKind kind, const void* block) const;

  /// From now on, blocks lie inside the value that the host was called with.
  void enterValue() { site.nested = true; }

 private:
  CallSite site;
};

/// Whether blocks are to be Watched. [any thread]
inline bool areBlocksWatched() {
  return currentLevel() != LedgerLevel::none;
}

/// Calls `body` with Watched. Never inlined, so that the frame it needs isn't made where blocks aren't watched.
template <class Body>
[[gnu::noinline, gnu::cold]] auto withWatchedBlocks(const char* function, const void* caller, Body body) {
  return body(Watched({function, caller}));
}

/// Calls `body` with Unwatched, or with Watched for the call of `function` from `caller`. [any thread]
template <class Body>
auto withBlocks(const char* function, const void* caller, Body body) {
  if (areBlocksWatched()) [[unlikely]]
    return withWatchedBlocks(function, caller, body);
  return body(Unwatched());
}

/// An uninitialised block at whatever level. [any thread]
inline void* allocateBlock(BlockKind kind, std::size_t size) {
  return withBlocks(nullptr, nullptr, [=](const auto& blocks) { return blocks.allocate(kind, size); });
}

}  // namespace devhost
