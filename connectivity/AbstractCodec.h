#pragma once

#include <memory>
#include <utility>

#include "connectivity/Plugin.h"
#include "connectivity/sides.h"

namespace com::tallowmere::connectivity10_15_4 {

/// A plug-in with a neighbour on either side. The neighbours are set while the chain is built and read without a lock
/// afterwards. The order of virtual operations is part of the interface: append, never insert.
class AbstractCodec : public Plugin, public HostSide, public TransportSide {
 public:
  using Plugin::Plugin;

  /// Takes the neighbour over; an earlier one is destroyed.
  virtual void setNextTowardsHost(std::unique_ptr<HostSide>&& next) { hostSide = std::move(next); }
  virtual void setNextTowardsTransport(std::unique_ptr<TransportSide>&& next) { transportSide = std::move(next); }

 protected:
  std::unique_ptr<HostSide> hostSide;
  std::unique_ptr<TransportSide> transportSide;
};

}  // namespace com::tallowmere::connectivity10_15_4
