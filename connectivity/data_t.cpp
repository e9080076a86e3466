#include "connectivity/data_t.h"

#include <stdexcept>

namespace com::tallowmere::connectivity10_15_4 {

void data_t::refuseNull() {
  throw std::runtime_error("Cannot use a null char* as a data_t value (consider using an empty data_t() instead)");
}

void data_t::release() noexcept {
  const std::uint64_t block = std::exchange(payload, 0);
  const std::uint32_t freed = std::exchange(tag, QEL_EMPTY);
  swallow([&] {
    switch (freed) {
      case QEL_STRING:
        return qel_free_string(reinterpret_cast<char*>(block));
      case QEL_LIST:
        return qel_free_vector(reinterpret_cast<list_header*>(block));
      case QEL_MAP:
        return qel_free_map(reinterpret_cast<map_header*>(block));
      case QEL_BUFFER:
        return qel_free_buffer(reinterpret_cast<buffer_header*>(block));
      case QEL_CUSTOM:
        return qel_free_custom(reinterpret_cast<void*>(block));
      default:
        return;
    }
  });
}

const char* data_t::type_name() const noexcept {
  switch (type()) {
    case Tag::empty:
      return "empty";
    case Tag::boolean:
      return "boolean";
    case Tag::number:
      return "double";
    case Tag::integer:
      return "integer";
    case Tag::decimal:
      return "decimal";
    case Tag::string:
    case Tag::borrowedString:
      return "string";
    case Tag::list:
      return "list";
    case Tag::map:
      return "map";
    case Tag::buffer:
      return "buffer";
    case Tag::custom:
      return "custom";
  }
  return "Unknown";
}

}  // namespace com::tallowmere::connectivity10_15_4
