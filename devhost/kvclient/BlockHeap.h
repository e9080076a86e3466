// An allocator for the blocks of values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "devhost/kvclient/Arena.h"
#include "devhost/kvclient/SizeClasses.h"
#include "devhost/kvclient/ThreadHeap.h"

namespace devhost {

/// Memory in blocks of a few sizes, aligned to 8 bytes.
///
///   arena, 32 GiB of addresses  ->  chunks of 64 KiB, of one size and one thread each  ->  blocks
///
/// A thread allocates from its own chunks, so an allocation is a table look-up and the head of a list; a list per chunk
/// rather than per size keeps neighbours in time neighbours in memory. A block's address tells its chunk, the chunk its
/// size and owner. A thread that frees another's block sends it home. Blocks above the largest size, and all when the
/// system refuses the arena's addresses, are malloc's: they lie outside the arena and are known by that.
class BlockHeap {
 public:
  /// A block of at least `size` bytes, uninitialised; null when memory is exhausted. [any thread]
  static void* allocate(std::size_t size) noexcept {
    if (size > size_classes::largest) [[unlikely]]
      return std::malloc(size);
    const std::size_t sizeClass = size_classes::classOf(size);
    void* block = mine->allocate(sizeClass);
    return block != nullptr ? block : refill(sizeClass);
  }

  /// A block with the content of a small one, whose size its address tells. `block` is the beginning of a live block.
  /// Null when that isn't small and the heap's own, and when there is no free block at hand. [any thread]
  [[gnu::always_inline]] static void* copySmall(const void* block) noexcept {
    const Chunk* chunk = Arena::chunkOf(block);
    // A spare chunk has blocks of no size: a mistaken caller shall not damage others.
    if (chunk == nullptr || chunk->blockSize - 1 >= size_classes::small) return nullptr;
    void* const copy = mine->allocate(chunk->sizeClass);
    if (copy == nullptr) [[unlikely]]
      return nullptr;
    size_classes::copySmall(static_cast<char*>(copy), static_cast<const char*>(block), chunk->blockSize);
    return copy;
  }

  /// Gives a block back. [any thread]
  static void release(void* block) noexcept {
    Chunk* chunk = Arena::chunkOf(block);
    if (chunk == nullptr) [[unlikely]]
      return std::free(block);
    ThreadHeap* owner = chunk->owner.load(std::memory_order_relaxed);
    if (owner == mine) [[likely]]
      return owner->release(*chunk, block);
    owner->giveBack(block);
  }

  /// Gives back a container of another thread with the blocks that it owned. They go home in one piece, named in the
  /// container's own memory: so each of them is to be added when what the container says of it, 16 bytes or more behind
  /// a header of 16 or more, was read. [one thread]
  class HomeComing {
   public:
    explicit HomeComing(void* container) noexcept : bundle(static_cast<Bundle*>(container)) {}
    HomeComing(const HomeComing&) = delete;
    HomeComing& operator=(const HomeComing&) = delete;

    /// Whether the container is another thread's.
    static bool isFor(const void* container) noexcept {
      const Chunk* chunk = Arena::chunkOf(container);
      return chunk != nullptr && chunk->owner.load(std::memory_order_relaxed) != mine;
    }

    /// A block that the container owned.
    void add(void* block) noexcept {
      if (Arena::chunkOf(block) == nullptr) [[unlikely]]
        return std::free(block);
      bundle->blocks()[count++] = block;
    }

    /// The container itself, at last.
    void close() noexcept {
      bundle->count = count;
      Arena::chunkOf(bundle)->owner.load(std::memory_order_relaxed)->giveBack(bundle);
    }

   private:
    Bundle* const bundle;
    std::uint64_t count = 0;
  };

  /// A block of `newSize` bytes that begins with the content of `block`, which had `oldSize` and is given back unless
  /// it has room enough. Null when memory is exhausted; then `block` stays. [any thread]
  static void* resize(void* block, std::size_t oldSize, std::size_t newSize) noexcept;

 private:
  static void* refill(std::size_t sizeClass) noexcept;
  static bool adoptHeap() noexcept;

  /// This thread's heap; one without chunks until the first allocation. A word of this library's own part of the static
  /// thread storage, so that no call is needed to find it.
  [[gnu::tls_model("initial-exec")]] static constinit thread_local ThreadHeap* mine;
};

}  // namespace devhost
