// `marlovance-chain sim`: the platform simulator alone.
#pragma once

#include <cstdint>
#include <string>

namespace chainrunner {

struct SimOptions {
  std::string address = "127.0.0.1";
  std::uint16_t port = 0;
  std::string database = ":memory:";
};

/// Serves until SIGINT or SIGTERM and gives the exit code. The address is the first line on standard output.
int simVerb(const SimOptions& options);

}  // namespace chainrunner
