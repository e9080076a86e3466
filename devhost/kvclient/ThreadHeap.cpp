#include "devhost/kvclient/ThreadHeap.h"

#include <algorithm>
#include <utility>

#include "devhost/kvclient/Arena.h"
#include "devhost/kvclient/ChunkPool.h"

namespace devhost {

constinit Chunk ThreadHeap::noChunk;

void* ThreadHeap::refill(std::size_t sizeClass) {
  Chunk& chunk = *current[sizeClass];
  if (&chunk != &noChunk && !chunk.isCarved()) {
    carve(chunk);
    return chunk.take();
  }
  collect();
  if (chunk.freeBlocks == nullptr && !renew(sizeClass)) return nullptr;
  return current[sizeClass]->take();
}

/// Makes a chunk with a free block the current one.
bool ThreadHeap::renew(std::size_t sizeClass) {
  if (current[sizeClass] != &noChunk) setFull(*std::exchange(current[sizeClass], &noChunk));
  Chunk* chunk = surrender(sizeClass);
  if (chunk == nullptr) chunk = surrenderSpare();
  if (chunk == nullptr) chunk = ChunkPool::instance().takeChunk(sizeClass, *this);
  if (chunk == nullptr) return false;
  if (chunk->blockSize == 0) chunk->serve(sizeClass);
  if (chunk->freeBlocks == nullptr) carve(*chunk);
  chunk->noticeAt = Chunk::never;
  current[sizeClass] = chunk;
  return true;
}

namespace {

template <class Link>
void push(std::atomic<Link*>& list, Link* link) {
  link->next = list.load(std::memory_order_relaxed);
  while (!list.compare_exchange_weak(link->next, link, std::memory_order_release, std::memory_order_relaxed)) {
  }
}

/// Everything that is on the list, which is empty then.
template <class Link>
Link* takeAll(std::atomic<Link*>& list) {
  return list.load(std::memory_order_relaxed) == nullptr ? nullptr : list.exchange(nullptr, std::memory_order_acquire);
}

}  // namespace

void ThreadHeap::giveBack(void* block) {
  push(returned, static_cast<FreeBlock*>(block));
}

void ThreadHeap::giveBack(Bundle* bundle) {
  push(bundles, bundle);
}

void ThreadHeap::collect() {
  for (FreeBlock* block = takeAll(returned); block != nullptr;) {
    FreeBlock* next = block->next;
    takeHome(block);
    block = next;
  }
  collectBundles();
}

/// The blocks lie in many places, some of them in another processor's cache: all are fetched at a time.
void ThreadHeap::collectBundles() {
  constexpr std::uint64_t ahead = 16;
  for (Bundle* bundle = takeAll(bundles); bundle != nullptr;) {
    Bundle* next = bundle->next;
    const std::uint64_t count = bundle->count;
    void* const* blocks = bundle->blocks();
    for (std::uint64_t i = 0; i < std::min(ahead, count); ++i) __builtin_prefetch(blocks[i], 1);
    for (std::uint64_t i = 0; i < count; ++i) {
      if (i + ahead < count) __builtin_prefetch(blocks[i + ahead], 1);
      takeHome(blocks[i]);
    }
    takeHome(bundle);
    bundle = next;
  }
}

/// A block whose chunk has moved on since it was given back here goes on to the chunk's owner.
void ThreadHeap::takeHome(void* block) {
  Chunk& chunk = *Arena::chunkOf(block);
  ThreadHeap* owner = chunk.owner.load(std::memory_order_relaxed);
  if (owner != this) return owner->giveBack(block);
  chunk.put(static_cast<FreeBlock*>(block));
  if (chunk.freed == chunk.noticeAt) notice(chunk);
}

void ThreadHeap::releaseNoticed(Chunk& chunk) {
  notice(chunk);
  if (spareCount > keptSpares) ChunkPool::instance().put(*surrenderSpare());
}

/// A full chunk has enough free blocks to be of use again, or an available one has no others any more. A current one
/// comes here only when its counter wraps around.
void ThreadHeap::notice(Chunk& chunk) {
  if (current[chunk.sizeClass] == &chunk) return;
  if (chunk.freed < chunk.capacity()) return makeAvailable(chunk);
  removeAvailable(chunk);
  addSpare(chunk);
}

void ThreadHeap::makeAvailable(Chunk& chunk) {
  Chunk*& first = available[chunk.sizeClass];
  chunk.noticeAt = chunk.capacity();
  chunk.previous = nullptr;
  chunk.next = first;
  if (first != nullptr) first->previous = &chunk;
  first = &chunk;
}

void ThreadHeap::removeAvailable(Chunk& chunk) {
  (chunk.previous != nullptr ? chunk.previous->next : available[chunk.sizeClass]) = chunk.next;
  if (chunk.next != nullptr) chunk.next->previous = chunk.previous;
}

void ThreadHeap::addSpare(Chunk& chunk) {
  chunk.blockSize = 0;
  chunk.next = std::exchange(spares, &chunk);
  ++spareCount;
}

/// Puts some blocks that never were on the list there, in the order of their addresses, and touches no page before its
/// turn.
void ThreadHeap::carve(Chunk& chunk) {
  const std::uint32_t wanted = std::max(carvedBytes / chunk.blockSize, 1u);
  const std::uint32_t first = chunk.carved;
  const std::uint32_t last = std::min(first + wanted, chunk.capacity());
  char* memory = Arena::memoryOf(chunk);
  for (std::uint32_t i = last; i > first; --i) {
    auto* block = reinterpret_cast<FreeBlock*>(memory + std::size_t{i - 1} * chunk.blockSize);
    block->next = chunk.freeBlocks;
    chunk.freeBlocks = block;
  }
  chunk.carved = last;
}

/// Of use again when an eighth of it is free: sooner, it would be full again at once.
void ThreadHeap::setFull(Chunk& chunk) {
  chunk.freed = 0;
  chunk.noticeAt = chunk.capacity() / 8;
}

void ThreadHeap::park() {
  for (Chunk*& each : current) {
    if (each == &noChunk) continue;
    Chunk& chunk = *std::exchange(each, &noChunk);
    chunk.freed = chunk.countFree();
    if (chunk.freed == 0) {
      setFull(chunk);
    } else if (chunk.freed < chunk.capacity()) {
      makeAvailable(chunk);
    } else {
      addSpare(chunk);
    }
  }
}

Chunk* ThreadHeap::surrender(std::size_t sizeClass) {
  Chunk* chunk = available[sizeClass];
  if (chunk != nullptr) removeAvailable(*chunk);
  return chunk;
}

Chunk* ThreadHeap::surrenderSpare() {
  if (spares == nullptr) return nullptr;
  --spareCount;
  return std::exchange(spares, spares->next);
}

}  // namespace devhost
