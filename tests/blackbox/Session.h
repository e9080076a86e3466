#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/blackbox/Neighbour.h"
#include "tests/blackbox/PluginLibrary.h"
#include "tests/support/messages.h"

namespace tests {

/// The plug-in under test: the built library, or the one that the environment variable PLUGIN_LIBRARY names.
std::string pluginLibraryPath();

/// One plug-in in a chain between a recording transport and a recording host, from the loading of its library to the
/// unloading.
class Session {
 public:
  static constexpr const char* pluginName = "MarlovanceCodec";
  static constexpr const char* chainId = "c1";

  /// Throws std::runtime_error when the library can't be loaded or has another API version.
  explicit Session(const std::string& libraryPath = pluginLibraryPath());

  /// Destroys the plug-in and unloads the library, as far as that has not been done.
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  const EntryPoints& entryPoints() const { return library->entryPoints; }

  /// The plug-in, null until `create` succeeded.
  void* object() const { return plugin; }

  /// Creates the plug-in, nothing more. False when it refuses.
  bool create(std::string_view configuration);

  /// Links the neighbours and calls start and hostReady, which must succeed.
  void connect();

  int shutdown();
  int destroy();

  /// Sends a batch from the host's end, or from the transport's, and gives what the entry point answered.
  int sendTowardsTransport(const std::vector<MessageBuilder>& events);
  int sendTowardsHost(const std::vector<MessageBuilder>& responses);
  int sendTowardsTransport(Batch& batch);
  int sendTowardsHost(Batch& batch);

  Neighbour transport;
  Neighbour host;

  /// What the plug-in got as its handle of the status reporter.
  void* statusReporter() { return &reporterMark; }

 private:
  std::unique_ptr<PluginLibrary> library;
  void* plugin = nullptr;
  char reporterMark = 0;
  char chainMark = 0;
};

inline constexpr std::int32_t errorLevel = 2, warnLevel = 3, infoLevel = 4, debugLevel = 5;

/// The lines of a level since the last call for it, without "<category> " at their head.
std::vector<std::string> takeLogs(std::int32_t level);

}  // namespace tests
