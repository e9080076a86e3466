#pragma once

#include <cstdint>
#include <string>

#include "connectivity/thread_annotations.h"

namespace com::tallowmere::connectivity10_15_4 {

/// One named value that the host shows. The host hears of a new text only when it differs from the last. The item is
/// removed with the object, which must go before the `StatusReporter` does. [any thread]
class StatusItem {
 public:
  /// Creates the item at the host. Throws std::runtime_error "Failed to create status item 'KEY' (ensure the key is
  /// unique and that this plug-in has not been shutdown already)".
  StatusItem(void* reporter, const std::string& key, const std::string& value, std::int64_t number);
  ~StatusItem();
  StatusItem(const StatusItem&) = delete;
  StatusItem& operator=(const StatusItem&) = delete;

  void setStatus(const std::string& text) EXCLUDES(lock);
  void setStatus(std::int64_t number) EXCLUDES(lock);

  /// The integer set last; 0 for an item made with a text.
  std::int64_t getNumber() const EXCLUDES(lock);

 private:
  void publish(const std::string& text) REQUIRES(lock);

  std::int64_t number GUARDED_BY(lock);
  std::string key;
  std::string value GUARDED_BY(lock);
  void* reporter;
  void* item;
  mutable Mutex lock;
};

}  // namespace com::tallowmere::connectivity10_15_4
