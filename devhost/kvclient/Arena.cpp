#include "devhost/kvclient/Arena.h"

#include <sys/mman.h>

#include <new>

namespace devhost {

constinit std::atomic<std::uintptr_t> Arena::base{nowhere};
constinit std::atomic<bool> Arena::refused{false};
constinit std::size_t Arena::taken = 0;

Chunk* Arena::takeChunk() {
  if (taken == chunks || !map()) return nullptr;
  const std::uintptr_t books = base.load(std::memory_order_relaxed) + bytes;
  return new (reinterpret_cast<void*>(books + taken++ * sizeof(Chunk))) Chunk;
}

bool Arena::map() {
  if (isRefused()) return false;
  if (base.load(std::memory_order_relaxed) != nowhere) return true;
  void* memory = mmap(nullptr, bytes + chunks * sizeof(Chunk), PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (memory == MAP_FAILED) {
    refused.store(true, std::memory_order_relaxed);
    return false;
  }
  base.store(reinterpret_cast<std::uintptr_t>(memory), std::memory_order_relaxed);
  return true;
}

}  // namespace devhost
