#include "chainrunner/run_verb.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <utility>

#include "chainrunner/Chain.h"
#include "chainrunner/Console.h"
#include "chainrunner/EventSource.h"
#include "chainrunner/Interruption.h"
#include "chainrunner/ProgressDisplay.h"
#include "chainrunner/Pump.h"
#include "chainrunner/RunReport.h"
#include "chainrunner/credentials.h"
#include "chainrunner/exit_codes.h"
#include "chainrunner/plugin_file.h"
#include "devhost/devhost.h"
#include "simulator/Simulator.h"

namespace chainrunner {

namespace {

using Clock = std::chrono::steady_clock;

/// How long a run that was interrupted waits for what is in flight.
constexpr std::chrono::milliseconds grace{5000};

/// Ends the run before it began, with a line on standard error.
struct Refusal {
  ExitCode code;
  std::string reason;
};

template <class Body>
auto orRefuse(ExitCode code, const std::string& what, const Body& body) {
  try {
    return body();
  } catch (const std::exception& error) {
    throw Refusal{code, what + error.what()};
  }
}

class File {
 public:
  explicit File(const std::string& name)
      : number(name == "-" ? STDIN_FILENO : open(name.c_str(), O_RDONLY | O_CLOEXEC)), isOwn(name != "-") {
    if (number < 0) throw InputError(name + ": " + std::strerror(errno));
  }
  ~File() {
    if (isOwn) close(number);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  const int number;

 private:
  const bool isOwn;
};

ChainFile readChain(const RunOptions& options) {
  ChainFile chain = ChainFile::builtIn();
  if (!options.chainFile.empty()) chain.overlayFile(options.chainFile);
  if (options.batch) chain.source.batch = *options.batch;
  if (options.inFlight) chain.transport.inFlight = *options.inFlight;
  if (options.pagesPerWalk) chain.transport.pagesPerWalk = *options.pagesPerWalk;
  if (options.timeoutSeconds) chain.transport.timeout = std::chrono::seconds(*options.timeoutSeconds);
  if (!options.platform.empty()) chain.transport.platform = options.platform;
  return chain;
}

Credentials findCredentials(bool forOwnSimulator) {
  const auto credentials = orRefuse(badUsage, "", credentialsFromEnvironment);
  if (!credentials && !forOwnSimulator)
    throw Refusal{badUsage,
                  "A platform needs MARLOVANCE_USERNAME and MARLOVANCE_PASSWORD (or "
                  "MARLOVANCE_PASSWORD_FILE) in the environment"};
  return credentials.value_or(freshCredentials());
}

std::unique_ptr<simulator::Simulator> startSimulator(const Credentials& credentials, const std::string& database) {
  simulator::Options options;
  options.username = credentials.username;
  options.password = credentials.password;
  if (!database.empty()) options.database = database;
  return orRefuse(noSimulator, "", [&] { return std::make_unique<simulator::Simulator>(options); });
}

void setLedger(const std::string& level) {
  if (level == "strict") devhost::setLedgerLevel(devhost::LedgerLevel::strict);
  if (level == "ledger") devhost::setLedgerLevel(devhost::LedgerLevel::ledger);
  if (level == "none") devhost::setLedgerLevel(devhost::LedgerLevel::none);
}

void setLog(const std::string& level, const Credentials& credentials, Console& console) {
  static constexpr std::pair<const char*, int> levels[] = {{"error", 2}, {"warn", 3}, {"info", 4}, {"debug", 5}};
  for (const auto& [name, number] : levels)
    if (level == name) devhost::setLogLevel("", number);
  devhost::maskSecret(credentials.password);
  if (!console.showsProgress()) return;
  // The host writes to standard error on its own; only a progress line has to make room.
  devhost::setLogSink([&console](const devhost::LogLine& line) {
    const char* const names[] = {"ERROR", "WARN ", "INFO ", "DEBUG"};
    console.line(std::string(names[std::clamp(line.level, 2, 5) - 2]) + " " + line.category + " " + line.text);
  });
}

std::uint64_t peakMemoryBytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<std::uint64_t>(usage.ru_maxrss) * 1024;
}

/// The walks under way, as far as there is room for them.
std::string describeWalks(const std::vector<WalkProgress>& walks) {
  constexpr std::size_t shown = 3;
  if (walks.empty()) return "";
  std::string text = "   walks " + std::to_string(walks.size());
  for (std::size_t i = 0; i < std::min(shown, walks.size()); ++i)
    text += (i == 0 ? ": " : "; ") + walks[i].name + " page " + std::to_string(walks[i].page) + ", " +
            std::to_string(walks[i].elements) + " elements";
  return text + (walks.size() > shown ? "; ..." : "");
}

std::string describeProgress(const RunRecord& record, const Chain& chain) {
  const RunCounts counts = record.counts();
  return "events in " + std::to_string(RunCounts::sum(counts.eventsIn)) + "   requests " +
         std::to_string(counts.requests) + "   answers " + std::to_string(RunCounts::sum(counts.answers)) +
         "   in flight " + std::to_string(chain.inFlight()) + "   events out " +
         std::to_string(RunCounts::sum(counts.eventsOut)) + describeWalks(chain.walksInProgress());
}

/// For as long as it lives, an interrupted run whose patience ends cancels the chain.
class Patience {
 public:
  Patience(Interruption& interruption, Chain& chain) : interruption(interruption) {
    interruption.atEndOfPatience([&chain] { chain.cancel(); });
  }
  ~Patience() { interruption.atEndOfPatience({}); }
  Patience(const Patience&) = delete;
  Patience& operator=(const Patience&) = delete;

 private:
  Interruption& interruption;
};

struct Played {
  RunReport report;
  std::string readFailure;
  int writeError = 0;
};

/// Plays the source through a chain that lives only here, and tells what came of it.
Played play(const PluginLibrary& library, const ChainFile& file, const Credentials& credentials, EventSource& source,
            Console& console, Interruption& interruption) {
  Played played;
  RunReport& report = played.report;
  RunRecord record;
  {
    Chain chain(library, file, credentials, stdout, record);
    const auto start = Clock::now();
    {
      const Patience patience(interruption, chain);
      const ProgressDisplay progress(console, [&] { return describeProgress(record, chain); });
      played.readFailure = Pump(source, chain, record, console, file.source.batch).run(interruption);
    }
    report.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    report.statusItems = devhost::statusItems();
    played.writeError = chain.writeError();
  }
  report.counts = record.counts();
  report.isInterrupted = interruption.happened();
  report.peakMemoryBytes = peakMemoryBytes();
  return played;
}

void writeReport(const RunReport& report, const std::string& fileName) {
  std::ofstream file(fileName);
  file << report.json() << '\n';
  if (!file.flush()) throw Refusal{internalFailure, fileName + ": the report can't be written"};
}

ExitCode run(const RunOptions& options, Console& console) {
  Interruption interruption(grace);
  signal(SIGPIPE, SIG_IGN);
  setLedger(options.ledger);

  ChainFile chain = orRefuse(badUsage, "", [&] { return readChain(options); });
  const bool ownsSimulator = chain.transport.platform.empty();
  if (!ownsSimulator && !options.database.empty())
    throw Refusal{badUsage, "--database is for the embedded simulator, and there is a platform"};
  const Credentials credentials = findCredentials(ownsSimulator);
  const File input(options.input);
  auto library = std::make_unique<PluginLibrary>(options.plugin.empty() ? defaultPluginFile() : options.plugin);
  setLog(options.logLevel, credentials, console);

  std::unique_ptr<simulator::Simulator> platform;
  if (ownsSimulator) {
    platform = startSimulator(credentials, options.database);
    chain.transport.platform = platform->url();
    chain.transport.proxies = false;
  }
  chain.transport.platform = orRefuse(badUsage, "The platform's address " + chain.transport.platform + ": ",
                                      [&] { return checkedPlatform(chain.transport.platform); });

  const std::string inputName = options.input == "-" ? "standard input" : options.input;
  EventSource source(inputName, LineReader(inputName, input.number, interruption.file(), chain.source.maxLineBytes),
                     chain.mapping, chain.source);
  auto [report, readFailure, writeError] = play(*library, chain, credentials, source, console, interruption);
  // What the plug-in keeps for the life of the process goes with its library; the mapping's keys are blocks too.
  library.reset();
  chain.mapping = {};
  if (devhost::ledgerLevel() != devhost::LedgerLevel::none) report.liveBlocks = devhost::liveBlocks().total();
  if (!options.quiet) std::fputs(report.table().c_str(), stderr);
  if (!options.jsonReport.empty()) writeReport(report, options.jsonReport);
  if (writeError != 0)
    throw Refusal{internalFailure, std::string("Standard output can't be written: ") + std::strerror(writeError)};
  if (!readFailure.empty()) throw Refusal{badUsage, readFailure};
  return report.isInterrupted ? interrupted : allDone;
}

}  // namespace

int runVerb(const RunOptions& options) {
  Console console(stderr, !options.quiet);
  const auto fail = [&](ExitCode code, const std::string& reason) {
    console.line("marlovance-chain: " + reason);
    return code;
  };
  ExitCode code = allDone;
  try {
    code = run(options, console);
  } catch (const Refusal& refusal) {
    code = fail(refusal.code, refusal.reason);
  } catch (const InputError& error) {
    code = fail(badUsage, error.what());
  } catch (const PluginError& error) {
    code = fail(badPlugin, error.what());
  } catch (const std::exception& error) {
    code = fail(internalFailure, error.what());
  }
  devhost::setLogSink({});
  return code;
}

}  // namespace chainrunner
