#pragma once

#include <cstdio>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "chainrunner/Chain.h"
#include "simulator/Simulator.h"

namespace tests {

/// The plug-in itself between a test and a simulator, in this process, as `marlovance-chain run` has it.
class FleetChain {
 public:
  /// Loads the plug-in and lets it start. The mapping is the built-in one.
  FleetChain();
  ~FleetChain();
  FleetChain(const FleetChain&) = delete;
  FleetChain& operator=(const FleetChain&) = delete;

  /// Sends an event and waits for all its outcomes. Gives them as the sink writes them, in their order.
  std::vector<std::string> play(const std::string& type, const std::string& payload);

  /// Deletes a document at the platform, past the chain.
  void remove(const std::string& path) const;

  /// Targets of the requests so far, with their methods: "GET /alarm/alarms?pageSize=7".
  std::vector<std::string> requests() const;

  simulator::Simulator platform{simulator::Options{}};

  /// Is given each event as the plug-in hands it out, before the plug-in goes on. [delivery thread]
  std::function<void(const std::string& event)> atEvent = [](const std::string&) {};

 private:
  static ssize_t receive(void* self, const char* bytes, std::size_t size);

  chainrunner::ChainFile file = chainrunner::ChainFile::builtIn();
  chainrunner::RunRecord record;
  std::unique_ptr<chainrunner::PluginLibrary> library;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> out;
  std::unique_ptr<chainrunner::Chain> chain;
  std::mutex mutex;
  std::string line;
  std::vector<std::string> events;
};

}  // namespace tests
