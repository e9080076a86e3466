// Preloaded into a benchmark, counts the blocks that this process asks of malloc, whoever asks.
#include <cstddef>
#include <cstdint>

extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);

// The measured parts run on one thread; the initial-exec model keeps malloc out of the access.
[[gnu::tls_model("initial-exec")]] static thread_local std::uint64_t allocations = 0;

__attribute__((visibility("default"))) std::uint64_t benchmark_allocations() {
  return allocations;
}

__attribute__((visibility("default"))) void* malloc(std::size_t size) {
  ++allocations;
  return __libc_malloc(size);
}

__attribute__((visibility("default"))) void* calloc(std::size_t count, std::size_t size) {
  ++allocations;
  return __libc_calloc(count, size);
}

__attribute__((visibility("default"))) void* realloc(void* block, std::size_t size) {
  ++allocations;
  return __libc_realloc(block, size);
}

__attribute__((visibility("default"))) void* aligned_alloc(std::size_t alignment, std::size_t size) {
  ++allocations;
  return __libc_memalign(alignment, size);
}

}  // extern "C"
