#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "connectivity/StatusItem.h"
#include "connectivity/map_t.h"

namespace com::tallowmere::connectivity10_15_4 {

/// Publishes status values through the host's reporter. Must outlive the items that it makes. One thread at a
/// time.
class StatusReporter {
 public:
  /// `reporter` is the handle that the host gave to the plug-in; it stays the host's.
  explicit StatusReporter(void* reporter) noexcept : reporter(reporter) {}

  /// Publishes what the status map holds, if anything, and frees the map.
  ~StatusReporter();
  StatusReporter(const StatusReporter&) = delete;
  StatusReporter& operator=(const StatusReporter&) = delete;

  /// A new item with a text or a number. Throws as `StatusItem` does.
  std::unique_ptr<StatusItem> createStatusItem(const std::string& key, const std::string& initialValue) const;
  std::unique_ptr<StatusItem> createStatusItem(const std::string& key, std::int64_t initialValue) const;

  /// Values to be published at once, at the end.
  map_t& getStatusMap() noexcept { return statusMap; }

 private:
  void* reporter;
  map_t statusMap;
};

}  // namespace com::tallowmere::connectivity10_15_4
