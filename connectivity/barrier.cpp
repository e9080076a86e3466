#include "connectivity/barrier.h"

#include <exception>

namespace com::tallowmere::connectivity10_15_4 {

void reportCurrentException(const Logger& logger, Level level, const char* label) noexcept {
  swallow([&] {
    try {
      throw;
    } catch (const std::exception& failure) {
      logger.log(level, "Exception from %s: %s", label, failure.what());
    } catch (...) {
      logger.log(level, "Unknown exception from %s", label);
    }
  });
}

}  // namespace com::tallowmere::connectivity10_15_4
