#include "devhost/kvclient/BlockHeap.h"

#include <pthread.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "devhost/kvclient/ChunkPool.h"

namespace devhost {
namespace {

constinit ThreadHeap noHeap;

}  // namespace

[[gnu::tls_model("initial-exec")]] constinit thread_local ThreadHeap* BlockHeap::mine = &noHeap;

void* BlockHeap::refill(std::size_t sizeClass) noexcept {
  void* block = nullptr;
  if (!Arena::isRefused() && (mine != &noHeap || adoptHeap())) block = mine->refill(sizeClass);
  return block != nullptr ? block : std::malloc(size_classes::sizes[sizeClass]);
}

/// Gives this thread a heap until it ends.
bool BlockHeap::adoptHeap() noexcept {
  // A key and no thread_local object: its destructor runs after those of all objects, and once more when one of them
  // allocated meanwhile.
  static pthread_key_t key;
  static const bool hasKey = pthread_key_create(&key, [](void* heap) {
                               mine = &noHeap;
                               ChunkPool::instance().park(*static_cast<ThreadHeap*>(heap));
                             }) == 0;
  ThreadHeap* heap = hasKey ? ChunkPool::instance().takeHeap() : nullptr;
  if (heap == nullptr) return false;
  if (pthread_setspecific(key, heap) != 0) {
    ChunkPool::instance().park(*heap);
    return false;
  }
  mine = heap;
  return true;
}

void* BlockHeap::resize(void* block, std::size_t oldSize, std::size_t newSize) noexcept {
  const Chunk* chunk = Arena::chunkOf(block);
  if (chunk == nullptr && newSize > size_classes::largest) return std::realloc(block, newSize);
  if (chunk != nullptr && newSize <= chunk->blockSize) return block;
  void* resized = allocate(newSize);
  if (resized == nullptr) return nullptr;
  std::memcpy(resized, block, std::min(oldSize, newSize));
  release(block);
  return resized;
}

}  // namespace devhost
