// Pieces of the heap's addresses, each divided into blocks of one size.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "devhost/kvclient/SizeClasses.h"

namespace devhost {

class ThreadHeap;

/// What a free block holds: the next one.
struct FreeBlock {
  FreeBlock* next;
};

/// What a container's block holds on its way home from another thread: the next such block, and the blocks that the
/// container owned. Nobody touches those on the way, so they stay in the cache of the thread that they go home to.
struct Bundle {
  Bundle* next;
  std::uint64_t count;

  void** blocks() { return reinterpret_cast<void**>(this + 1); }
};

/// The books of one chunk of memory. They lie apart from it, side by side: at the heads of their chunks they would all
/// fall into the same few sets of a cache. All fields but `owner` belong to the owner's thread; `blockSize` and
/// `sizeClass` don't change while a block of the chunk lives, so whoever holds one may read them.
struct alignas(64) Chunk {
  static constexpr std::size_t size = std::size_t{64} << 10;
  static constexpr std::uint32_t never = std::numeric_limits<std::uint32_t>::max();

  FreeBlock* freeBlocks = nullptr;
  std::uint32_t freed = 0;         // blocks put on the list since the chunk was full
  std::uint32_t noticeAt = never;  // at this many, the owner has a look
  std::atomic<ThreadHeap*> owner = nullptr;
  Chunk* previous = nullptr;  // in the owner's list of available chunks
  Chunk* next = nullptr;
  std::uint32_t blockSize = 0;  // none while the chunk is spare
  std::uint32_t carved = 0;     // blocks that were on the list at least once
  std::uint8_t sizeClass = 0;

  /// Makes a spare chunk one of the class, with all of its blocks still to be carved.
  void serve(std::size_t newClass) {
    freeBlocks = nullptr;
    freed = carved = 0;
    blockSize = size_classes::sizes[newClass];
    sizeClass = static_cast<std::uint8_t>(newClass);
  }

  std::uint32_t capacity() const { return static_cast<std::uint32_t>(size) / blockSize; }
  bool isCarved() const { return carved == capacity(); }

  /// The blocks on the list and those still to be carved, counted one by one.
  std::uint32_t countFree() const {
    std::uint32_t count = capacity() - carved;
    for (const FreeBlock* block = freeBlocks; block != nullptr; block = block->next) ++count;
    return count;
  }

  void put(FreeBlock* block) {
    block->next = freeBlocks;
    freeBlocks = block;
    ++freed;
  }

  FreeBlock* take() {
    FreeBlock* block = freeBlocks;
    freeBlocks = block->next;
    return block;
  }
};

static_assert(sizeof(Chunk) == 64);

}  // namespace devhost
