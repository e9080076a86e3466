#include "codec/OutstandingRequest.h"

#include <exception>

#include "connectivity/barrier.h"
#include "handlers/Handler.h"

namespace com::tallowmere::connectivity::plugins {

OutstandingRequest::~OutstandingRequest() {
  if (getPayload().empty() && getMetadataMap().empty()) return;
  swallow([&] {
    try {
      handler->finishedHandling(*this);
    } catch (const std::exception& failure) {
      handler->getLogger().error("Exception during finishedHandling in OutstandingRequest finalization: %s",
                                 failure.what());
    }
  });
}

}  // namespace com::tallowmere::connectivity::plugins
