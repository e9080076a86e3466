#include "devhost/kvclient/render.h"

#include <bit>
#include <cstdio>

#include "connectivity/host_platform.h"
#include "devhost/kvclient/WorkList.h"
#include "devhost/kvclient/value_blocks.h"

namespace devhost {
namespace {

/// What is still to be written, the next on top. Brackets and separators wait as borrowed strings among the values, so
/// that no depth of nesting can exhaust the stack.
class Renderer {
 public:
  std::string render(const qel_value& value) {
    push(value);
    while (!pending.empty()) write(pending.take());
    return text;
  }

 private:
  void push(const qel_value& value) { pending.add(value); }
  void push(const char* literal) { push(valueOf(literal, QEL_BORROWED_STRING)); }

  void write(const qel_value& value) {
    switch (value.tag) {
      case QEL_BOOLEAN:
        text += (value.payload & 0xFF) != 0 ? "true" : "false";
        break;
      case QEL_DOUBLE:
        writeDouble(std::bit_cast<double>(value.payload));
        break;
      case QEL_INTEGER:
        text += std::to_string(static_cast<std::int64_t>(value.payload));
        break;
      case QEL_DECIMAL:
        writeDecimal(std::bit_cast<decimal64>(value.payload));
        break;
      case QEL_STRING:
      case QEL_BORROWED_STRING:
        text += blockOf<char>(value);
        break;
      case QEL_LIST:
        writeList(blockOf<list_header>(value));
        break;
      case QEL_MAP:
        writeMap(blockOf<map_header>(value));
        break;
      case QEL_BUFFER:
        writeBuffer(blockOf<buffer_header>(value));
        break;
      case QEL_CUSTOM:
        text += "(custom)";
        break;
      default:
        text += "(null)";
        break;
    }
  }

  void writeDouble(double number) {
    char digits[32];
    Platform::float64ToChar8(digits, number);
    text += digits;
  }

  void writeDecimal(const decimal64& number) {
    char digits[24];
    number.toString(digits);
    text += digits;
  }

  void writeList(list_header* list) {
    text += "[";
    push("]");
    if (list == nullptr) return;
    for (std::uint64_t i = list->count; i-- > 0;) {
      push(elementsOf(list)[i]);
      if (i > 0) push(",");
    }
  }

  void writeMap(map_header* map) {
    if (map != nullptr && map->name != nullptr) text.append(map->name).append(":");
    text += "{";
    push("}");
    if (map == nullptr) return;
    const char* separator = "";
    for (std::uint64_t i = map->capacity; i-- > 0;) {
      const map_slot& slot = slotsOf(map)[i];
      if (!isOccupied(slot)) continue;
      push(separator);
      push(slot.value);
      push(":");
      push(slot.key);
      separator = ",";
    }
  }

  void writeBuffer(buffer_header* buffer) {
    text += "[";
    for (std::uint64_t i = 0; buffer != nullptr && i < buffer->length; ++i) {
      char byte[6];
      std::snprintf(byte, sizeof byte, i > 0 ? ",0x%02X" : "0x%02X", bytesOf(buffer)[i]);
      text += byte;
    }
    text += "]";
  }

  std::string text;
  WorkList<qel_value> pending;
};

}  // namespace

std::string render(const qel_value& value) {
  return Renderer().render(value);
}

}  // namespace devhost
