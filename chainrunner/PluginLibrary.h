#pragma once

#include <stdexcept>
#include <string>

#include "connectivity/plugin_abi.h"

namespace chainrunner {

/// A plug-in that can't be used; `what()` names the file, what was asked of it and why it failed.
class PluginError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A plug-in's shared library, loaded and checked: all eleven entry points are there, the API version is 4 and the
/// product version is the runner's own. The host's symbols that it leaves open must be in the process.
class PluginLibrary {
 public:
  /// Loads the file with all symbols bound. Throws PluginError "FILE: reason".
  explicit PluginLibrary(const std::string& file);

  /// Unloads it. No object of it may be left.
  ~PluginLibrary();
  PluginLibrary(const PluginLibrary&) = delete;
  PluginLibrary& operator=(const PluginLibrary&) = delete;

  const std::string& file() const { return fileName; }

  struct EntryPoints {
    qel_plugin_api_version_function apiVersion;
    qel_plugin_product_version_function productVersion;
    qel_create_plugin_function create;
    qel_destroy_plugin_function destroy;
    qel_plugin_lifecycle_function start, hostReady, shutdown;
    qel_plugin_set_next_function setNextTowardsHost, setNextTowardsTransport;
    qel_send_function sendBatchTowardsHost, sendBatchTowardsTransport;
  };
  const EntryPoints& entries() const { return entryPoints; }

 private:
  void resolveAll();
  void checkVersions() const;
  template <class Function>
  void resolve(Function& function, const char* operation);

  std::string fileName;
  void* handle;
  EntryPoints entryPoints{};
};

}  // namespace chainrunner
