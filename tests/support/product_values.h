// The product's value classes from and to JSON text, for tests of its classes. The text is that of values.h.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "connectivity/Message.h"
#include "connectivity/data_t.h"
#include "tests/support/blocks.h"
#include "tests/support/messages.h"
#include "tests/support/values.h"

namespace tests {

namespace product = com::tallowmere::connectivity10_15_4;

inline product::data_t dataFromJson(std::string_view text) {
  return product::data_t::adopt(fromJson(text));
}

inline product::map_t mapFromJson(std::string_view text) {
  product::data_t value = dataFromJson(text);
  return std::move(value.get<product::map_t>());
}

inline product::list_t listFromJson(std::string_view text) {
  product::data_t value = dataFromJson(text);
  return std::move(value.get<product::list_t>());
}

/// A message from its two parts, or as a builder describes it.
inline product::Message messageFromJson(std::string_view metadata, std::string_view payload) {
  return {dataFromJson(payload), mapFromJson(metadata)};
}

inline product::Message messageFrom(const MessageBuilder& builder) {
  const RawMessage raw = builder.build();
  product::data_t metadata = product::data_t::adopt(mapValue(raw.metadata));
  return {product::data_t::adopt(raw.payload), std::move(metadata.get<product::map_t>())};
}

inline std::string toJson(const product::data_t& value) {
  return toJson(value.view());
}

inline std::string toJson(const product::map_t& map) {
  return toJson(valueOf(reinterpret_cast<const map_header* const&>(map), QEL_MAP));
}

inline std::string toJson(const product::list_t& list) {
  return toJson(valueOf(reinterpret_cast<const list_header* const&>(list), QEL_LIST));
}

/// {"metadata": {...}, "payload": ...}
inline std::string toJson(const product::Message& message) {
  return toJson(reinterpret_cast<const RawMessage&>(message));
}

}  // namespace tests
