// What the threads' heaps share.
#pragma once

#include <cstddef>
#include <mutex>

#include "devhost/kvclient/ThreadHeap.h"

namespace devhost {

/// Spare chunks, and the heaps of threads that ended.
class ChunkPool {
 public:
  /// The one pool. It is never destroyed: plug-ins free their constants while the process ends. [any thread]
  static ChunkPool& instance() { return pool; }

  /// A chunk for blocks of the class, from now on of `owner`: one that is parked and has such blocks free, a spare one,
  /// or one never used. Null when there is none. [any thread, locks mutex]
  Chunk* takeChunk(std::size_t sizeClass, ThreadHeap& owner);

  /// Takes a spare chunk. [any thread, locks mutex]
  void put(Chunk& chunk);

  /// A heap for a thread that has none, with the chunks of one that ended if there is such. Null when memory is
  /// exhausted. [any thread, locks mutex]
  ThreadHeap* takeHeap();

  /// Takes the heap of a thread that ends. [any thread, locks mutex]
  void park(ThreadHeap& heap);

 private:
  static constexpr std::size_t keptWarm = 256;

  constexpr ChunkPool() = default;

  // With the mutex held.
  Chunk* findChunk(std::size_t sizeClass);
  void add(Chunk& chunk);
  void addSparesOf(ThreadHeap& heap);

  static ChunkPool pool;

  std::mutex mutex;
  Chunk* spares = nullptr;
  std::size_t spareCount = 0;
  ThreadHeap* parked = nullptr;
};

}  // namespace devhost
