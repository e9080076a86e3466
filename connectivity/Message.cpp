#include "connectivity/Message.h"

#include <stdexcept>

namespace com::tallowmere::connectivity10_15_4 {

Message& Message::putMetadataValue(data_t key, data_t value) {
  if (!key.isString()) throw std::runtime_error("Cannot use non-string keys into metadata");
  metadata[std::move(key)] = std::move(value);
  return *this;
}

Message& Message::putMetadataValue(const hashed_key& key, data_t value) {
  if (!key.isString()) throw std::runtime_error("Cannot use non-string keys into metadata");
  metadata.set(key, std::move(value));
  return *this;
}

}  // namespace com::tallowmere::connectivity10_15_4
