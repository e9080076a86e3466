#include "tests/blackbox/PluginLibrary.h"

#include <dlfcn.h>

#include <stdexcept>

namespace tests {

PluginLibrary::PluginLibrary(const std::string& path)
    : path(path), handle(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
  if (!handle) throw std::runtime_error(dlerror());
  try {
    resolve(entryPoints.apiVersion, "plugin_api_version");
    resolve(entryPoints.productVersion, "plugin_product_version");
    resolve(entryPoints.create, "create_plugin_with_params");
    resolve(entryPoints.destroy, "destroy_plugin");
    resolve(entryPoints.start, "plugin_start");
    resolve(entryPoints.hostReady, "plugin_hostReady");
    resolve(entryPoints.shutdown, "plugin_shutdown");
    resolve(entryPoints.setNextTowardsHost, "plugin_setNextTowardsHost");
    resolve(entryPoints.setNextTowardsTransport, "plugin_setNextTowardsTransport");
    resolve(entryPoints.sendBatchTowardsHost, "plugin_sendBatchTowardsHost");
    resolve(entryPoints.sendBatchTowardsTransport, "plugin_sendBatchTowardsTransport");
  } catch (...) {
    dlclose(handle);
    throw;
  }
}

PluginLibrary::~PluginLibrary() {
  dlclose(handle);
}

template <class Function>
void PluginLibrary::resolve(Function& function, const char* operation) {
  const std::string symbol = std::string("qel_") + operation + "_MarlovanceCodec";
  function = reinterpret_cast<Function>(dlsym(handle, symbol.c_str()));
  if (!function) throw std::runtime_error(path + " lacks " + symbol);
}

}  // namespace tests
