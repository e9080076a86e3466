#include "chainrunner/sim_verb.h"

#include <cstdio>
#include <exception>

#include "chainrunner/Interruption.h"
#include "chainrunner/credentials.h"
#include "chainrunner/exit_codes.h"
#include "simulator/Simulator.h"

namespace chainrunner {

namespace {

int fail(ExitCode code, const char* reason) {
  std::fprintf(stderr, "marlovance-chain: %s\n", reason);
  return code;
}

}  // namespace

int simVerb(const SimOptions& options) {
  Interruption interruption(std::chrono::milliseconds(0));
  simulator::Options simulated;
  simulated.address = options.address;
  simulated.port = options.port;
  simulated.database = options.database;
  try {
    if (const auto credentials = credentialsFromEnvironment()) {
      simulated.username = credentials->username;
      simulated.password = credentials->password;
    }
  } catch (const std::exception& error) {
    return fail(badUsage, error.what());
  }
  try {
    const simulator::Simulator platform(simulated);
    std::printf("%s\n", platform.url().c_str());
    std::fflush(stdout);
    interruption.wait();
    return allDone;
  } catch (const std::exception& error) {
    return fail(noSimulator, error.what());
  }
}

}  // namespace chainrunner
