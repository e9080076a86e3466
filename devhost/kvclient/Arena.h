// The addresses that the heap divides.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "devhost/kvclient/Chunk.h"

namespace devhost {

/// One mapping of 32 GiB, about the most that a process under valgrind can have, made once and never given back:
/// chunks, and behind them their books. The system gives pages as they are touched. Which chunk an address is in, and
/// whether it is in one at all, is told by its distance from the beginning.
class Arena {
 public:
  static constexpr std::size_t chunks = std::size_t{1} << 19;
  static constexpr std::size_t bytes = chunks * Chunk::size;

  /// The books of the chunk that `block` lies in; null for memory that is not the arena's. [any thread]
  static Chunk* chunkOf(const void* block) {
    const std::uintptr_t begin = base.load(std::memory_order_relaxed);
    const std::uintptr_t distance = reinterpret_cast<std::uintptr_t>(block) - begin;
    if (distance >= bytes) [[unlikely]]
      return nullptr;
    return reinterpret_cast<Chunk*>(begin + bytes) + distance / Chunk::size;
  }

  /// The memory of a chunk. [any thread]
  static char* memoryOf(const Chunk& chunk) {
    const std::uintptr_t begin = base.load(std::memory_order_relaxed);
    const std::uintptr_t index = (reinterpret_cast<std::uintptr_t>(&chunk) - (begin + bytes)) / sizeof(Chunk);
    return reinterpret_cast<char*>(begin + index * Chunk::size);
  }

  /// Whether the system didn't give the addresses. [any thread]
  static bool isRefused() { return refused.load(std::memory_order_relaxed); }

  /// A chunk that was never used, or null when all are or the system refuses so many addresses. [one thread at a time]
  static Chunk* takeChunk();

 private:
  // Further than `bytes` from every address that a program can have.
  static constexpr std::uintptr_t nowhere = std::uintptr_t{1} << 63;

  static bool map();

  static std::atomic<std::uintptr_t> base;
  static std::atomic<bool> refused;
  static std::size_t taken;
};

}  // namespace devhost
