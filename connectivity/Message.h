#pragma once

#include <string>
#include <utility>

#include "connectivity/hashed_key.h"
#include "connectivity/host_abi.h"

namespace com::tallowmere::connectivity10_15_4 {

// Metadata keys of the frame.
inline constexpr const char* HOST_MESSAGE_TYPE = "qel.type";
inline constexpr const char* HOST_MESSAGE_CHANNEL = "qel.channel";
inline constexpr const char* HOST_MESSAGE_CONTROL_OBJECT = "qel.controlObject";

/// What travels through a chain: a payload and a metadata map, 24 bytes, shared with host and neighbours. A batch is a
/// contiguous range of them. Whoever receives a batch may move the contents out; what is left is an empty payload and
/// a null metadata pointer. Metadata keys are owned strings; a borrowed one is stored, and out of reach of lookups by
/// an owned one. One holder at a time.
class Message {
 public:
  Message() noexcept = default;
  explicit Message(data_t&& payload) noexcept : payload(std::move(payload)) {}
  Message(data_t&& payload, map_t&& metadata) noexcept : payload(std::move(payload)), metadata(std::move(metadata)) {}

  Message(Message&&) noexcept = default;
  Message& operator=(Message&&) noexcept = default;
  Message(const Message&) = delete;
  Message& operator=(const Message&) = delete;
  ~Message() = default;  // the metadata first, then the payload; neither lets a failure out

  data_t& getPayload() noexcept { return payload; }
  const data_t& getPayload() const noexcept { return payload; }
  void setPayload(data_t&& value) noexcept { payload = std::move(value); }

  /// The metadata. Its block comes into being with the first insertion.
  map_t& getMetadataMap() noexcept { return metadata; }
  const map_t& getMetadataMap() const noexcept { return metadata; }

  /// Sets `metadata[key]` to the value, replacing an earlier one, and gives the message. Throws std::runtime_error
  /// "Cannot use non-string keys into metadata" and leaves the message as it was when the key is no string.
  Message& putMetadataValue(data_t key, data_t value);

  /// The same with a ready-made key.
  Message& putMetadataValue(const hashed_key& key, data_t value);

  /// A deep copy.
  Message copy() const { return Message(payload.copy(), metadata.copy()); }

 private:
  data_t payload;
  map_t metadata;
};
static_assert(sizeof(Message) == 24);

}  // namespace com::tallowmere::connectivity10_15_4
