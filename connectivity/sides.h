// What a chain element offers to whatever stands on its far side.
#pragma once

#include "connectivity/Message.h"

namespace com::tallowmere::connectivity10_15_4 {

// The order of virtual operations is part of the interface: append, never insert. Destructors may throw, as that of a
// plug-in that derives from these may.

/// The thing one calls to send towards the host. A codec's own one receives the transport's responses.
class HostSide {
 public:
  virtual ~HostSide() noexcept(false) {}

  /// Takes the batch [begin, end), whose contents it may move out.
  virtual void sendBatchTowardsHost(Message* begin, Message* end) = 0;
};

/// The thing one calls to send towards the transport. A codec's own one receives the host's events.
class TransportSide {
 public:
  virtual ~TransportSide() noexcept(false) {}

  /// Takes the batch [begin, end), whose contents it may move out.
  virtual void sendBatchTowardsTransport(Message* begin, Message* end) = 0;
};

}  // namespace com::tallowmere::connectivity10_15_4
