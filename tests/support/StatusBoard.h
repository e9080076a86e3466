#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "connectivity/host_abi.h"

namespace tests {

/// The status items that exist, and what was ever published. Handles that it did not give out, or that are dead, are
/// faults of the caller: the operation says so in `complaint` and does nothing. [any thread]
class StatusBoard {
 public:
  using KeyAndValue = std::pair<std::string, std::string>;

  /// The new item's handle; null when the key is in use or refused.
  void* create(void* reporter, const char* key, const char* value);
  void set(void* item, const char* value, std::string& complaint);
  void remove(void* reporter, void* item, std::string& complaint);
  void publish(map_header* map);

  /// Items whose key is `key` can't be made from now on.
  void refuse(std::string key);

  std::map<std::string, std::string> items() const;
  std::vector<KeyAndValue> created() const;
  std::vector<KeyAndValue> history() const;
  std::vector<std::map<std::string, std::string>> publishedMaps() const;

  /// Keys of the items made since the last reset that still exist.
  std::vector<std::string> leftovers() const;

  /// Removes every item and gives the keys.
  std::vector<std::string> drop();

  /// Forgets what was published and refused. Items that exist stay.
  void reset();

 private:
  struct Item {
    void* reporter;
    std::string key;
    std::string value;
    bool sinceReset;
  };

  mutable std::mutex mutex;
  std::uintptr_t nextHandle = 1;
  std::map<std::uintptr_t, Item> byHandle;  // handles are numbers: nobody can look behind them, and none comes back
  std::set<std::string> refused;
  std::vector<KeyAndValue> creations;
  std::vector<KeyAndValue> updates;
  std::vector<std::map<std::string, std::string>> maps;
};

}  // namespace tests
