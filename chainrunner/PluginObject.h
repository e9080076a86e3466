#pragma once

#include <map>
#include <string>

#include "chainrunner/PluginLibrary.h"
#include "chainrunner/values.h"

namespace chainrunner {

/// A neighbour of the plug-in in the chain.
struct ChainElement {
  void* object;
  qel_send_function send;
};

/// A plug-in in a chain, from create to destroy. It calls its neighbours between construction and destruction.
class PluginObject {
 public:
  /// Creates the plug-in with the configuration (every value a string), links its neighbours and starts it. `library`
  /// and the neighbours must outlive it. Throws PluginError when a step fails; the plug-in has written why to the log.
  PluginObject(const PluginLibrary& library, const std::string& pluginName, const std::string& chainId,
               const std::map<std::string, std::string>& configuration, ChainElement host, ChainElement transport);

  /// Destroys the plug-in. Requests that it still has are finished now.
  ~PluginObject();
  PluginObject(const PluginObject&) = delete;
  PluginObject& operator=(const PluginObject&) = delete;

  /// Sends a batch of events; their contents are taken. True unless the plug-in reports a failure. [one thread at a
  /// time]
  bool sendTowardsTransport(Message* begin, Message* end);

  /// Sends answers; their contents are taken. True unless the plug-in reports a failure. [one thread at a time]
  bool sendTowardsHost(Message* begin, Message* end);

  /// From now on messages are ignored.
  void shutdown();

 private:
  void checkStep(int result, const char* step) const;

  const PluginLibrary& library;
  void* object;
};

}  // namespace chainrunner
