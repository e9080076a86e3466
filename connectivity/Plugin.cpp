#include "connectivity/Plugin.h"

#include <stdexcept>

namespace com::tallowmere::connectivity10_15_4 {

std::string logCategory(const std::string& pluginName, const std::string& chainId) {
  return "connectivity." + pluginName + "." + chainId;
}

Plugin::Plugin(const createPluginParams& params)
    : pluginName(params.pluginName),
      chainId(params.chainId),
      config(params.config.copy()),
      chainHandle(std::make_unique<void*>(params.chainHandle)),
      logger(logCategory(pluginName, chainId)),
      statusReporter(std::make_unique<StatusReporter>(params.statusReporterHandle)) {}

StatusReporter* Plugin::getStatusReporter() const {
  if (!statusReporter) throw std::runtime_error("Cannot call getStatusReporter when using the legacy constructor");
  return statusReporter.get();
}

}  // namespace com::tallowmere::connectivity10_15_4
