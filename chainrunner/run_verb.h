// `marlovance-chain run`: plays events through a chain.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace chainrunner {

/// What the command line says; what is absent is left to the chain file.
struct RunOptions {
  std::string input = "-";  ///< a file of events, or "-" for standard input
  std::string chainFile;
  std::string platform;
  std::string plugin;
  std::string database;
  std::string jsonReport;
  std::string logLevel;
  std::string ledger;
  std::optional<std::size_t> batch, inFlight;
  std::optional<std::uint64_t> pagesPerWalk;
  std::optional<unsigned> timeoutSeconds;
  bool quiet = false;
};

/// Runs to the end of the input and gives the exit code. Events go to standard output, all else to standard error.
int runVerb(const RunOptions& options);

}  // namespace chainrunner
