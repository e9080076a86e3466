// Values that only a host can make: buffers and custom objects.
#include <cstring>

#include "devhost/devhost.h"
#include "devhost/kvclient/blocks.h"
#include "devhost/kvclient/value_blocks.h"

namespace devhost {

qel_value makeBuffer(const void* bytes, std::size_t length) {
  auto* buffer = static_cast<buffer_header*>(allocateBlock(BlockKind::buffer, bufferSize(length)));
  buffer->length = length;
  if (length > 0) std::memcpy(bytesOf(buffer), bytes, length);
  return valueOf(buffer, QEL_BUFFER);
}

qel_value makeCustom(void* object, void* (*clone)(const void*), void (*release)(void*)) {
  auto* custom = static_cast<CustomBlock*>(allocateBlock(BlockKind::custom, sizeof(CustomBlock)));
  *custom = {object, clone, release};
  return valueOf(custom, QEL_CUSTOM);
}

void* customObject(const qel_value& value) {
  if (value.tag != QEL_CUSTOM || value.payload == 0) return nullptr;
  return blockOf<CustomBlock>(value)->object;
}

}  // namespace devhost
