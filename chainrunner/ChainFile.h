#pragma once

#include <map>
#include <string>

#include "chainrunner/Mapping.h"
#include "chainrunner/YamlReader.h"
#include "chainrunner/options.h"

namespace chainrunner {

/// What a chain is made of: the plug-in's configuration, the mapping, and how events and requests travel.
struct ChainFile {
  std::string pluginName, chainId;
  std::map<std::string, std::string> configuration;  ///< without the credentials; the plug-in reads numbers from text
  TransportOptions transport;
  SourceOptions source;
  Mapping mapping;
  EventRules everyEvent;  ///< what the rules of each type begin with

  /// The chain that is built into the program.
  static ChainFile builtIn();

  /// Lays a YAML text over this chain: a key or an event type that it names replaces what was there. `fileName` is for
  /// messages. Throws ChainFileError, and leaves the chain half changed then.
  void overlay(const std::string& fileName, const std::string& text);

  /// Reads the file and lays it over this chain. Throws ChainFileError, or std::runtime_error when it can't be read.
  void overlayFile(const std::string& fileName);
};

}  // namespace chainrunner
