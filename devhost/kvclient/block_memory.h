// Where the memory of blocks comes from: the heap, or plain malloc where each block should be one of the system's, for
// sanitizers and other tools that watch malloc.
#pragma once

#include <cstddef>

#if defined(DEVHOST_PLAIN_MALLOC)
#include <cstdlib>
#else
#include "devhost/kvclient/BlockHeap.h"
#endif

namespace devhost {

#if defined(DEVHOST_PLAIN_MALLOC)

inline void* takeMemory(std::size_t size) noexcept {
  return std::malloc(size);
}
inline void* resizeMemory(void* block, std::size_t, std::size_t newSize) noexcept {
  return std::realloc(block, newSize);
}
inline void returnMemory(void* block) noexcept {
  std::free(block);
}

inline void* copySmallMemory(const void*) noexcept {
  return nullptr;
}

class HomeComing {
 public:
  explicit HomeComing(void*) noexcept {}
  static bool isFor(const void*) noexcept { return false; }
  void add(void*) noexcept {}
  void close() noexcept {}
};

#else

/// Memory for a block, uninitialised; null when it is exhausted. [any thread]
inline void* takeMemory(std::size_t size) noexcept {
  return BlockHeap::allocate(size);
}

/// Memory with the block's content; null when it is exhausted. The old pointer is dead unless it comes back. [any
/// thread]
inline void* resizeMemory(void* block, std::size_t oldSize, std::size_t newSize) noexcept {
  return BlockHeap::resize(block, oldSize, newSize);
}

/// Memory with the content of a small block; null when it is not small, or not known to be, or no free block is at hand.
/// [any thread]
[[gnu::always_inline]] inline void* copySmallMemory(const void* block) noexcept {
  return BlockHeap::copySmall(block);
}

/// Gives a block's memory back. [any thread]
inline void returnMemory(void* block) noexcept {
  BlockHeap::release(block);
}

/// The way back of another thread's container and of the blocks that it owned. [one thread]
using HomeComing = BlockHeap::HomeComing;

#endif

}  // namespace devhost
