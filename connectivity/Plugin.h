#pragma once

#include <memory>
#include <string>

#include "connectivity/Logger.h"
#include "connectivity/StatusReporter.h"
#include "connectivity/map_t.h"

namespace com::tallowmere::connectivity10_15_4 {

/// What a plug-in's constructor is given.
struct createPluginParams {
  std::string chainId;
  std::string pluginName;
  map_t config;                ///< a deep copy of the configuration
  void* statusReporterHandle;  ///< the host's
  void* chainHandle;           ///< the host's
};

/// The log category of a plug-in: "connectivity.PLUGIN.CHAIN".
std::string logCategory(const std::string& pluginName, const std::string& chainId);

/// The root of every plug-in. The order of virtual operations is part of the interface: append, never insert.
class Plugin {
 public:
  explicit Plugin(const createPluginParams& params);

  /// A plug-in's destructor may throw: the destroy entry point answers 1 then.
  virtual ~Plugin() noexcept(false) {}
  Plugin(const Plugin&) = delete;
  Plugin& operator=(const Plugin&) = delete;

  virtual void start() {}
  virtual void hostReady() {}
  virtual void shutdown() {}

  /// The reporter, which the plug-in owns. Throws std::runtime_error "Cannot call getStatusReporter when using the
  /// legacy constructor" when there is none.
  StatusReporter* getStatusReporter() const;

  const Logger& getLogger() const noexcept { return logger; }

 protected:
  std::string pluginName;
  std::string chainId;
  map_t config;
  std::unique_ptr<void*> chainHandle;  ///< kept for the host, never read
  Logger logger;
  std::unique_ptr<StatusReporter> statusReporter;
};

}  // namespace com::tallowmere::connectivity10_15_4
