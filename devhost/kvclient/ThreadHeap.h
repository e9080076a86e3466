// One thread's share of the heap.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "devhost/kvclient/Chunk.h"
#include "devhost/kvclient/SizeClasses.h"

namespace devhost {

/// The chunks that one thread allocates from. Of each size class one is current; the others have free blocks and wait
/// to become current, or are full and in no list until enough of their blocks came back. A wholly free chunk is spare:
/// it may serve any class next.
///
/// Other threads give blocks back through `returned` and `bundles`, which the owner collects whenever a current chunk
/// is used up. A heap outlives its thread: it is parked in the pool then, where the next thread takes it over and
/// others find its chunks.
class ThreadHeap {
 public:
  constexpr ThreadHeap() { current.fill(&noChunk); }

  /// A block of the class; null when the current chunk has none, then refill gives one. [owner]
  void* allocate(std::size_t sizeClass) {
    Chunk& chunk = *current[sizeClass];
    return chunk.freeBlocks == nullptr ? nullptr : chunk.take();
  }

  /// A block of the class, whatever it takes; null when there is no memory. [owner, may lock the pool]
  void* refill(std::size_t sizeClass);

  /// Takes back a block of a chunk of this heap. [owner, may lock the pool]
  void release(Chunk& chunk, void* block) {
    chunk.put(static_cast<FreeBlock*>(block));
    if (chunk.freed == chunk.noticeAt) [[unlikely]]
      releaseNoticed(chunk);
  }

  /// Takes back a block of a chunk of this heap. [any thread]
  void giveBack(void* block);

  /// Takes back a block of a chunk of this heap, with those that it names, of whichever heap. [any thread]
  void giveBack(Bundle* bundle);

  // For the pool, which calls these with its mutex held, for heaps that no thread has. ------------------------------

  /// Leaves no chunk current.
  void park();

  /// Sorts in what other threads gave back.
  void collect();

  /// A chunk with free blocks of the class that leaves this heap, or null.
  Chunk* surrender(std::size_t sizeClass);

  /// A spare chunk that leaves this heap, or null.
  Chunk* surrenderSpare();

  ThreadHeap* nextParked = nullptr;

 private:
  static constexpr std::uint32_t keptSpares = 16;
  static constexpr std::uint32_t carvedBytes = 4096;

  void takeHome(void* block);
  void collectBundles();
  void releaseNoticed(Chunk& chunk);
  bool renew(std::size_t sizeClass);
  void notice(Chunk& chunk);
  void makeAvailable(Chunk& chunk);
  void removeAvailable(Chunk& chunk);
  void addSpare(Chunk& chunk);
  static void carve(Chunk& chunk);
  static void setFull(Chunk& chunk);

  static Chunk noChunk;  // never has a free block

  std::array<Chunk*, size_classes::count> current;
  std::array<Chunk*, size_classes::count> available{};
  Chunk* spares = nullptr;
  std::uint32_t spareCount = 0;
  alignas(64) std::atomic<FreeBlock*> returned = nullptr;
  std::atomic<Bundle*> bundles = nullptr;
};

}  // namespace devhost
