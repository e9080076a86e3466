#include "tests/unit/connectivity/host_variations.h"

#include <unicode/ucnv.h>

#include <cstdint>

#include "connectivity/host_abi.h"

namespace {

const char* nameOfFreshMaps = nullptr;
bool memoryIsExhausted = false;
bool conversionFails = false;

}  // namespace

// ICU's names bear its version, which the inner macro lets expand.
#define JOINED(prefix, name) prefix##name
#define WRAPPED(name) JOINED(__wrap_, name)
#define REAL(name) JOINED(__real_, name)

extern "C" {

map_header* __real_qel_allocate_map(uint64_t capacity);
void* __real_kv_malloc(uint64_t size);

map_header* __wrap_qel_allocate_map(uint64_t capacity);
void* __wrap_kv_malloc(uint64_t size);

map_header* __wrap_qel_allocate_map(uint64_t capacity) {
  map_header* block = __real_qel_allocate_map(capacity);
  if (nameOfFreshMaps) block->name = qel_copy_string(nameOfFreshMaps);
  return block;
}

void* __wrap_kv_malloc(uint64_t size) {
  return memoryIsExhausted ? nullptr : __real_kv_malloc(size);
}

int32_t REAL(ucnv_convert)(const char* to, const char* from, char* target, int32_t targetCapacity, const char* source,
                           int32_t sourceLength, UErrorCode* status);
int32_t WRAPPED(ucnv_convert)(const char* to, const char* from, char* target, int32_t targetCapacity,
                              const char* source, int32_t sourceLength, UErrorCode* status);

int32_t WRAPPED(ucnv_convert)(const char* to, const char* from, char* target, int32_t targetCapacity,
                              const char* source, int32_t sourceLength, UErrorCode* status) {
  if (!conversionFails) return REAL(ucnv_convert)(to, from, target, targetCapacity, source, sourceLength, status);
  *status = U_FILE_ACCESS_ERROR;
  return 0;
}

}  // extern "C"

namespace tests {

NamedFreshMaps::NamedFreshMaps(const char* name) {
  nameOfFreshMaps = name;
}
NamedFreshMaps::~NamedFreshMaps() {
  nameOfFreshMaps = nullptr;
}

ExhaustedMemory::ExhaustedMemory() {
  memoryIsExhausted = true;
}
ExhaustedMemory::~ExhaustedMemory() {
  memoryIsExhausted = false;
}

FailingConversion::FailingConversion() {
  conversionFails = true;
}
FailingConversion::~FailingConversion() {
  conversionFails = false;
}

}  // namespace tests
