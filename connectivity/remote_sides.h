// The neighbours, as seen through the send functions that they export. What those answer is not looked at.
#pragma once

#include "connectivity/plugin_abi.h"
#include "connectivity/sides.h"

namespace com::tallowmere::connectivity10_15_4 {

/// The next element towards the host.
class RemoteHostSide final : public HostSide {
 public:
  RemoteHostSide(void* plugin, qel_send_function sendFn) noexcept : plugin(plugin), sendFn(sendFn) {}

  void sendBatchTowardsHost(Message* begin, Message* end) override { sendFn(plugin, begin, end); }

 private:
  void* plugin;
  qel_send_function sendFn;
};

/// The next element towards the transport.
class RemoteTransportSide final : public TransportSide {
 public:
  RemoteTransportSide(void* plugin, qel_send_function sendFn) noexcept : plugin(plugin), sendFn(sendFn) {}

  void sendBatchTowardsTransport(Message* begin, Message* end) override { sendFn(plugin, begin, end); }

 private:
  void* plugin;
  qel_send_function sendFn;
};

}  // namespace com::tallowmere::connectivity10_15_4
