#include "connectivity/StatusReporter.h"

#include <sstream>

#include "connectivity/barrier.h"
#include "connectivity/host_abi.h"

namespace com::tallowmere::connectivity10_15_4 {

StatusReporter::~StatusReporter() {
  swallow([&] {
    if (!statusMap.empty()) qel_set_user_status_map(reporter, statusMap.header());
  });
}

std::unique_ptr<StatusItem> StatusReporter::createStatusItem(const std::string& key,
                                                             const std::string& initialValue) const {
  return std::make_unique<StatusItem>(reporter, key, initialValue, 0);
}

std::unique_ptr<StatusItem> StatusReporter::createStatusItem(const std::string& key, std::int64_t initialValue) const {
  std::ostringstream text;
  text << initialValue;
  return std::make_unique<StatusItem>(reporter, key, text.str(), initialValue);
}

}  // namespace com::tallowmere::connectivity10_15_4
