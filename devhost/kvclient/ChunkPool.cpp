#include "devhost/kvclient/ChunkPool.h"

#include <sys/mman.h>

#include <new>
#include <utility>

#include "devhost/kvclient/Arena.h"

namespace devhost {

constinit ChunkPool ChunkPool::pool;

/// The owner changes with the mutex held: the heap that had the chunk may be another thread's the moment after, and takes
/// back no more blocks of it then.
Chunk* ChunkPool::takeChunk(std::size_t sizeClass, ThreadHeap& owner) {
  std::lock_guard lock(mutex);
  Chunk* chunk = findChunk(sizeClass);
  if (chunk != nullptr) chunk->owner.store(&owner, std::memory_order_relaxed);
  return chunk;
}

Chunk* ChunkPool::findChunk(std::size_t sizeClass) {
  for (ThreadHeap* heap = parked; heap != nullptr; heap = heap->nextParked) {
    heap->collect();
    addSparesOf(*heap);
    if (Chunk* chunk = heap->surrender(sizeClass)) return chunk;
  }
  if (spares == nullptr) return Arena::takeChunk();
  --spareCount;
  return std::exchange(spares, spares->next);
}

void ChunkPool::put(Chunk& chunk) {
  std::lock_guard lock(mutex);
  add(chunk);
}

ThreadHeap* ChunkPool::takeHeap() {
  std::lock_guard lock(mutex);
  if (parked == nullptr) return new (std::nothrow) ThreadHeap;
  return std::exchange(parked, parked->nextParked);
}

void ChunkPool::park(ThreadHeap& heap) {
  std::lock_guard lock(mutex);
  heap.collect();
  heap.park();
  addSparesOf(heap);
  heap.nextParked = std::exchange(parked, &heap);
}

/// Beyond some, chunks keep their addresses but no memory.
void ChunkPool::add(Chunk& chunk) {
  if (spareCount >= keptWarm) madvise(Arena::memoryOf(chunk), Chunk::size, MADV_DONTNEED);
  chunk.next = std::exchange(spares, &chunk);
  ++spareCount;
}

void ChunkPool::addSparesOf(ThreadHeap& heap) {
  while (Chunk* chunk = heap.surrenderSpare()) add(*chunk);
}

}  // namespace devhost
