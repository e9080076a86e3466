// The eleven entry points of a plug-in, as a template over its codec class, and the macro that gives them their names.
#pragma once

#include <memory>

#include "connectivity/AbstractCodec.h"
#include "connectivity/barrier.h"
#include "connectivity/plugin_abi.h"
#include "connectivity/remote_sides.h"

namespace com::tallowmere::connectivity10_15_4 {

template <class Codec>
class EntryPoints {
 public:
  static void* create(const char* pluginName, const char* chainId, qel_value configuration, void* statusReporterHandle,
                      void* chainHandle) noexcept {
    try {
      return static_cast<Plugin*>(
          new Codec(parameters(pluginName, chainId, configuration, statusReporterHandle, chainHandle)));
    } catch (...) {
      // There is no plug-in, so a logger of the would-be one tells.
      swallow([&] {
        const Logger logger(logCategory(textOf(pluginName), textOf(chainId)));
        reportCurrentException(logger, Level::error, "create");
      });
      return nullptr;
    }
  }

  static int destroy(void* object) noexcept {
    try {
      delete static_cast<Plugin*>(object);
      return 0;
    } catch (...) {
      return 1;
    }
  }

  static int start(void* object) noexcept {
    return run(object, Level::error, "start", [](AbstractCodec& codec) { codec.start(); });
  }

  static int hostReady(void* object) noexcept {
    return run(object, Level::warn, "hostReady", [](AbstractCodec& codec) { codec.hostReady(); });
  }

  static int shutdown(void* object) noexcept {
    return run(object, Level::warn, "shutdown", [](AbstractCodec& codec) { codec.shutdown(); });
  }

  static int setNextTowardsHost(void* object, void* next, qel_send_function send) noexcept {
    return run(object, Level::error, "setNextTowardsHost",
               [&](AbstractCodec& codec) { codec.setNextTowardsHost(std::make_unique<RemoteHostSide>(next, send)); });
  }

  static int setNextTowardsTransport(void* object, void* next, qel_send_function send) noexcept {
    return run(object, Level::error, "setNextTowardsTransport", [&](AbstractCodec& codec) {
      codec.setNextTowardsTransport(std::make_unique<RemoteTransportSide>(next, send));
    });
  }

  static int sendBatchTowardsHost(void* object, Message* begin, Message* end) noexcept {
    return run(object, Level::warn, "sendBatchTowardsHost",
               [&](HostSide& side) { side.sendBatchTowardsHost(begin, end); });
  }

  static int sendBatchTowardsTransport(void* object, Message* begin, Message* end) noexcept {
    return run(object, Level::warn, "sendBatchTowardsTransport",
               [&](TransportSide& side) { side.sendBatchTowardsTransport(begin, end); });
  }

 private:
  static std::string textOf(const char* text) { return text ? text : ""; }

  static createPluginParams parameters(const char* pluginName, const char* chainId, qel_value configuration,
                                       void* statusReporterHandle, void* chainHandle) {
    // The host keeps the value: it is only read here.
    const map_t& config = reinterpret_cast<const data_t&>(configuration).get<map_t>();
    return {textOf(chainId), textOf(pluginName), config.copy(), statusReporterHandle, chainHandle};
  }

  template <class Body>
  static int run(void* object, Level level, const char* label, Body&& body) noexcept {
    if (!object) return 1;
    // The object pointer is the address of the Plugin; what the body asks for is an adjusted one.
    Codec& codec = static_cast<Codec&>(*static_cast<Plugin*>(object));
    return guarded(codec.getLogger(), level, label, [&] { body(codec); });
  }
};

}  // namespace com::tallowmere::connectivity10_15_4

/// Exports the entry points of class `Codec` under the plain name `Name`.
#define QEL_EXPORT_PLUGIN(Name, Codec)                                                                                \
  extern "C" {                                                                                                        \
  QEL_PLUGIN_EXPORT uint32_t qel_plugin_api_version_##Name(void) {                                                    \
    return QEL_PLUGIN_API_VERSION;                                                                                    \
  }                                                                                                                   \
  QEL_PLUGIN_EXPORT const char* qel_plugin_product_version_##Name(void) {                                             \
    return QEL_PLUGIN_PRODUCT_VERSION;                                                                                \
  }                                                                                                                   \
  QEL_PLUGIN_EXPORT void* qel_create_plugin_with_params_##Name(const char* pluginName, const char* chainId,           \
                                                               qel_value configuration, void* statusReporterHandle,   \
                                                               void* chainHandle) {                                   \
    return Codec::create(pluginName, chainId, configuration, statusReporterHandle, chainHandle);                      \
  }                                                                                                                   \
  QEL_PLUGIN_EXPORT int qel_destroy_plugin_##Name(void* object) {                                                     \
    return Codec::destroy(object);                                                                                    \
  }                                                                                                                   \
  QEL_PLUGIN_EXPORT int qel_plugin_start_##Name(void* object) {                                                       \
    return Codec::start(object);                                                                                      \
  }                                                                                                                   \
  QEL_PLUGIN_EXPORT int qel_plugin_hostReady_##Name(void* object) {                                                   \
    return Codec::hostReady(object);                                                                                  \
  }                                                                                                                   \
  QEL_PLUGIN_EXPORT int qel_plugin_shutdown_##Name(void* object) {                                                    \
    return Codec::shutdown(object);                                                                                   \
  }                                                                                                                   \
  QEL_PLUGIN_EXPORT int qel_plugin_setNextTowardsHost_##Name(void* object, void* next, qel_send_function send) {      \
    return Codec::setNextTowardsHost(object, next, send);                                                             \
  }                                                                                                                   \
  QEL_PLUGIN_EXPORT int qel_plugin_setNextTowardsTransport_##Name(void* object, void* next, qel_send_function send) { \
    return Codec::setNextTowardsTransport(object, next, send);                                                        \
  }                                                                                                                   \
  QEL_PLUGIN_EXPORT int qel_plugin_sendBatchTowardsHost_##Name(void* object, qel_message* begin, qel_message* end) {  \
    return Codec::sendBatchTowardsHost(object, begin, end);                                                           \
  }                                                                                                                   \
  QEL_PLUGIN_EXPORT int qel_plugin_sendBatchTowardsTransport_##Name(void* object, qel_message* begin,                 \
                                                                    qel_message* end) {                               \
    return Codec::sendBatchTowardsTransport(object, begin, end);                                                      \
  }                                                                                                                   \
  }
