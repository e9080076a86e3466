#include "chainrunner/PluginLibrary.h"

#include <dlfcn.h>

#include <cstring>

namespace chainrunner {

namespace {

constexpr const char* className = "MarlovanceCodec";

}  // namespace

PluginLibrary::PluginLibrary(const std::string& file) : fileName(file) {
  // Without a slash the loader would search its own folders.
  const std::string path = file.find('/') == std::string::npos ? "./" + file : file;
  handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle) throw PluginError(fileName + ": can't be loaded: " + dlerror());
  try {
    resolveAll();
    checkVersions();
  } catch (...) {
    dlclose(handle);
    throw;
  }
}

PluginLibrary::~PluginLibrary() {
  dlclose(handle);
}

void PluginLibrary::resolveAll() {
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
}

template <class Function>
void PluginLibrary::resolve(Function& function, const char* operation) {
  const std::string symbol = std::string("qel_") + operation + "_" + className;
  void* const address = dlsym(handle, symbol.c_str());
  if (!address) throw PluginError(fileName + ": the entry point " + symbol + " is missing");
  function = reinterpret_cast<Function>(address);
}

void PluginLibrary::checkVersions() const {
  const std::uint32_t api = entryPoints.apiVersion();
  if (api != QEL_PLUGIN_API_VERSION)
    throw PluginError(fileName + ": has API version " + std::to_string(api) + ", and " +
                      std::to_string(QEL_PLUGIN_API_VERSION) + " is needed");
  const char* product = entryPoints.productVersion();
  if (!product || std::strcmp(product, QEL_PLUGIN_PRODUCT_VERSION) != 0)
    throw PluginError(fileName + ": has product version " + (product ? product : "(null)") +
                      ", and " QEL_PLUGIN_PRODUCT_VERSION " is needed");
}

}  // namespace chainrunner
