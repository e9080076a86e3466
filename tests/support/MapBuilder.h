#pragma once

#include <cstdint>
#include <string_view>

#include "connectivity/host_abi.h"

namespace tests {

/// Builds a map as a host does, down to its slots: with a name, with tombstones, with hashes of the test's choice. It
/// probes and never rebuilds, so the table keeps the capacity that it began with.
class MapBuilder {
 public:
  explicit MapBuilder(std::uint64_t capacity = 8);
  ~MapBuilder();
  MapBuilder(const MapBuilder&) = delete;
  MapBuilder& operator=(const MapBuilder&) = delete;

  MapBuilder& name(std::string_view text);

  /// Takes over key and value. The key is a string, and its hash that of its text; an entry with the same key gets the
  /// new value.
  MapBuilder& put(const qel_value& key, const qel_value& value);
  MapBuilder& put(std::string_view key, const qel_value& value);

  /// Takes over key and value. No key is looked for. Throws std::runtime_error when no slot is free.
  MapBuilder& putHashed(std::uint64_t hash, const qel_value& key, const qel_value& value);

  /// Erases the entry of an owned-string key, which leaves a tombstone. Throws std::runtime_error when there is none.
  MapBuilder& erase(std::string_view key);

  /// The map. The builder is empty afterwards.
  qel_value build();

 private:
  map_slot* find(std::uint64_t hash, const qel_value& key);

  map_header* block;
};

}  // namespace tests
