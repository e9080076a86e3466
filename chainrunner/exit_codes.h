#pragma once

namespace chainrunner {

/// How the program ends.
enum ExitCode {
  allDone = 0,          ///< every event has its outcome, also when that outcome is a failure
  internalFailure = 1,  ///< standard output or a report can't be written, or the program itself failed
  badUsage = 2,         ///< an unknown option, a bad value, a missing credential, an unreadable file, a bad chain file
  badPlugin = 3,        ///< the plug-in can't be loaded or refuses its configuration
  noSimulator = 4,      ///< the simulator can't listen or can't open its database
  interrupted = 130     ///< a signal ended the run before all was read
};

}  // namespace chainrunner
