// A codec that does what a test tells it, and its entry points.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include "connectivity/entry_points.h"

namespace tests {

namespace product = com::tallowmere::connectivity10_15_4;

/// What a test wants to happen at each operation of the codec.
struct Script {
  std::function<void()> construct, start, hostReady, shutdown, setNext, towardsHost, towardsTransport, destroy;
  product::createPluginParams* given = nullptr;  // becomes what the constructor was given
  int storages = 0;                              // of codecs that were allocated and not freed
  bool allocationThrows = false;
};

class ScriptedCodec : public product::AbstractCodec {
 public:
  static inline Script script;

  explicit ScriptedCodec(const product::createPluginParams& params) : AbstractCodec(params) {
    if (script.given) {
      *script.given = {params.chainId, params.pluginName, params.config.copy(), params.statusReporterHandle,
                       params.chainHandle};
    }
    run(script.construct);
  }
  ~ScriptedCodec() override { run(script.destroy); }

  void start() override { run(script.start); }
  void hostReady() override { run(script.hostReady); }
  void shutdown() override { run(script.shutdown); }
  void setNextTowardsHost(std::unique_ptr<product::HostSide>&& next) override {
    run(script.setNext);
    AbstractCodec::setNextTowardsHost(std::move(next));
  }
  void setNextTowardsTransport(std::unique_ptr<product::TransportSide>&& next) override {
    run(script.setNext);
    AbstractCodec::setNextTowardsTransport(std::move(next));
  }
  void sendBatchTowardsHost(product::Message* begin, product::Message* end) override {
    run(script.towardsHost);
    if (hostSide) hostSide->sendBatchTowardsHost(begin, end);
  }
  void sendBatchTowardsTransport(product::Message* begin, product::Message* end) override {
    run(script.towardsTransport);
    if (transportSide) transportSide->sendBatchTowardsTransport(begin, end);
  }

  static void* operator new(std::size_t size) noexcept(false) {
    if (script.allocationThrows) throw std::bad_alloc();
    ++script.storages;
    return ::operator new(size);
  }
  static void operator delete(void* storage) {
    --script.storages;
    ::operator delete(storage);
  }

 private:
  static void run(const std::function<void()>& hook) {
    if (hook) hook();
  }
};

/// Level, category and text of each line that was logged. Forgets them.
std::vector<std::string> takeLines();

/// A line of the codec "Scripted" in chain "c1", as `takeLines` shows it.
std::string lineOf(int level, const std::string& text);

}  // namespace tests

extern "C" {
std::remove_pointer_t<qel_plugin_api_version_function> qel_plugin_api_version_ScriptedCodec;
std::remove_pointer_t<qel_plugin_product_version_function> qel_plugin_product_version_ScriptedCodec;
std::remove_pointer_t<qel_create_plugin_function> qel_create_plugin_with_params_ScriptedCodec;
std::remove_pointer_t<qel_destroy_plugin_function> qel_destroy_plugin_ScriptedCodec;
std::remove_pointer_t<qel_plugin_lifecycle_function> qel_plugin_start_ScriptedCodec;
std::remove_pointer_t<qel_plugin_lifecycle_function> qel_plugin_hostReady_ScriptedCodec;
std::remove_pointer_t<qel_plugin_lifecycle_function> qel_plugin_shutdown_ScriptedCodec;
std::remove_pointer_t<qel_plugin_set_next_function> qel_plugin_setNextTowardsHost_ScriptedCodec;
std::remove_pointer_t<qel_plugin_set_next_function> qel_plugin_setNextTowardsTransport_ScriptedCodec;
std::remove_pointer_t<qel_send_function> qel_plugin_sendBatchTowardsHost_ScriptedCodec;
std::remove_pointer_t<qel_send_function> qel_plugin_sendBatchTowardsTransport_ScriptedCodec;
}
