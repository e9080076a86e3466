#pragma once

#include <string>

#include "connectivity/plugin_abi.h"

namespace tests {

/// The entry points of a plug-in, under the names that a host looks up.
struct EntryPoints {
  qel_plugin_api_version_function apiVersion;
  qel_plugin_product_version_function productVersion;
  qel_create_plugin_function create;
  qel_destroy_plugin_function destroy;
  qel_plugin_lifecycle_function start;
  qel_plugin_lifecycle_function hostReady;
  qel_plugin_lifecycle_function shutdown;
  qel_plugin_set_next_function setNextTowardsHost;
  qel_plugin_set_next_function setNextTowardsTransport;
  qel_send_function sendBatchTowardsHost;
  qel_send_function sendBatchTowardsTransport;
};

/// A plug-in's library, loaded with every symbol bound at once and shown to nobody else, for as long as the object
/// lives. Throws std::runtime_error with the file and the reason when it can't be loaded or lacks an entry point.
class PluginLibrary {
 public:
  explicit PluginLibrary(const std::string& path);
  ~PluginLibrary();
  PluginLibrary(const PluginLibrary&) = delete;
  PluginLibrary& operator=(const PluginLibrary&) = delete;

  EntryPoints entryPoints{};

 private:
  template <class Function>
  void resolve(Function& function, const char* operation);

  std::string path;
  void* handle;
};

}  // namespace tests
