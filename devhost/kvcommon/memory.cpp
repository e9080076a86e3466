#include <cstdlib>

#include "connectivity/host_abi.h"

void* kv_malloc(uint64_t size) {
  return std::malloc(size);
}
