#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>

#include "chainrunner/exit_codes.h"
#include "chainrunner/run_verb.h"
#include "chainrunner/sim_verb.h"
#include "connectivity/plugin_abi.h"

namespace {

using chainrunner::RunOptions;
using chainrunner::SimOptions;

void addRun(CLI::App& app, RunOptions& options) {
  CLI::App* verb = app.add_subcommand("run", "Play events through the plug-in against a platform");
  verb->add_option("FILE", options.input, "Events as JSON Lines; - is standard input")->capture_default_str();
  verb->add_option("--chain", options.chainFile, "YAML file laid over the built-in chain")->type_name("FILE");
  verb->add_option("--platform", options.platform, "Address of the platform; an embedded simulator without it")
      ->type_name("URL");
  verb->add_option("--plugin", options.plugin, "The plug-in's shared library")->type_name("FILE");
  verb->add_option("--database", options.database, "SQLite file of the embedded simulator; memory without it")
      ->type_name("FILE");
  verb->add_option("--batch", options.batch, "Events in one call of the plug-in")->check(CLI::Range(1, 1'000'000));
  verb->add_option("--in-flight", options.inFlight, "Requests without an answer before the sender waits")
      ->check(CLI::Range(1, 100'000));
  verb->add_option("--pages-per-walk", options.pagesPerWalk, "Pages after which a query ends with an error")
      ->check(CLI::Range(1, 1'000'000'000));
  verb->add_option("--timeout", options.timeoutSeconds, "Seconds for one attempt of a request")
      ->check(CLI::Range(1, 86'400));
  verb->add_option("--log-level", options.logLevel, "How much the log tells")
      ->check(CLI::IsMember({"error", "warn", "info", "debug"}));
  verb->add_option("--ledger", options.ledger, "How closely the host watches its blocks")
      ->check(CLI::IsMember({"none", "ledger", "strict"}));
  verb->add_option("--json-report", options.jsonReport, "Write the closing table's numbers there too")
      ->type_name("FILE");
  verb->add_flag("--quiet", options.quiet, "No progress line and no closing table");
}

void addSim(CLI::App& app, SimOptions& options) {
  CLI::App* verb = app.add_subcommand("sim", "Serve the platform simulator until SIGINT or SIGTERM");
  verb->add_option("--address", options.address, "Where to listen")->capture_default_str();
  verb->add_option("--port", options.port, "Port to listen on; 0 takes a free one")->capture_default_str();
  verb->add_option("--database", options.database, "SQLite file, or :memory:")->capture_default_str();
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Chains of the Marlovance codec plug-in, for development and operation", "marlovance-chain");
  app.set_version_flag("--version", QEL_PLUGIN_PRODUCT_VERSION);
  app.require_subcommand(1);
  app.footer(
      "Credentials: MARLOVANCE_USERNAME and MARLOVANCE_PASSWORD or MARLOVANCE_PASSWORD_FILE in the environment.\n"
      "Exit codes: 0 all done, 1 internal failure, 2 bad usage, 3 bad plug-in, 4 no simulator, 130 interrupted.");
  RunOptions run;
  SimOptions sim;
  addRun(app, run);
  addSim(app, sim);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& success) {
    return app.exit(success);
  } catch (const CLI::ParseError& error) {
    std::fprintf(stderr, "marlovance-chain: %s\n", error.what());
    return chainrunner::badUsage;
  }
  return app.got_subcommand("run") ? chainrunner::runVerb(run) : chainrunner::simVerb(sim);
}
