#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include "connectivity/host_abi.h"

namespace devhost {

/// The status items and published entries of all plug-ins in the process.
///
/// A handle is a number that is never given twice, so one that outlived its item finds nothing instead of another item.
class StatusBoard {
 public:
  /// The one board, never destroyed: plug-ins publish while the process ends. [any thread]
  static StatusBoard& instance();

  /// The handle of a new item; null when the key is in use. [any thread, locks mutex]
  void* create(const std::string& key, const std::string& value);

  /// Tells whether the handle has an item, which then has the value. [any thread, locks mutex]
  bool set(void* handle, const std::string& value);

  /// Tells whether the handle had an item. [any thread, locks mutex]
  bool remove(void* handle);

  /// Publishes the entries of a map, or none for null. [any thread, locks mutex]
  void publish(map_header* entries);

  /// All items, key to value. [any thread, locks mutex]
  std::map<std::string, std::string> items() const;

  /// All published entries. [any thread, locks mutex]
  std::map<std::string, std::string> published() const;

 private:
  mutable std::mutex mutex;
  std::map<std::string, std::string> values;   // of the items, by key
  std::map<std::uintptr_t, std::string> keys;  // of the items, by handle
  std::map<std::string, std::string> entries;  // published
  std::uintptr_t lastHandle = 0;
};

}  // namespace devhost
