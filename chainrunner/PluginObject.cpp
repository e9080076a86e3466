#include "chainrunner/PluginObject.h"

#include <utility>

namespace chainrunner {

PluginObject::PluginObject(const PluginLibrary& library, const std::string& pluginName, const std::string& chainId,
                           const std::map<std::string, std::string>& configuration, ChainElement host,
                           ChainElement transport)
    : library(library) {
  map_t settings;
  for (const auto& [key, value] : configuration) settings[data_t(key)] = value;
  const data_t value(std::move(settings));
  const auto& entries = library.entries();
  object = entries.create(pluginName.c_str(), chainId.c_str(), value.view(), this, this);
  if (!object) throw PluginError(library.file() + ": refuses its configuration (see the log line above)");
  try {
    checkStep(entries.setNextTowardsHost(object, host.object, host.send), "setNextTowardsHost");
    checkStep(entries.setNextTowardsTransport(object, transport.object, transport.send), "setNextTowardsTransport");
    checkStep(entries.start(object), "start");
    checkStep(entries.hostReady(object), "hostReady");
  } catch (...) {
    entries.destroy(object);
    throw;
  }
}

PluginObject::~PluginObject() {
  library.entries().destroy(object);
}

bool PluginObject::sendTowardsTransport(Message* begin, Message* end) {
  return library.entries().sendBatchTowardsTransport(object, begin, end) == 0;
}

bool PluginObject::sendTowardsHost(Message* begin, Message* end) {
  return library.entries().sendBatchTowardsHost(object, begin, end) == 0;
}

void PluginObject::shutdown() {
  library.entries().shutdown(object);
}

void PluginObject::checkStep(int result, const char* step) const {
  if (result != 0) throw PluginError(library.file() + ": " + step + " failed (see the log line above)");
}

}  // namespace chainrunner
