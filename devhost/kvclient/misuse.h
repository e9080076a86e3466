// How the host names the one at fault: one line on standard error, then abort.
#pragma once

#include <string>

namespace devhost {

/// Where a host function was entered from.
struct CallSite {
  const char* function = nullptr;  ///< the host function's name, a constant
  const void* caller = nullptr;    ///< a code address in the module that called it
  bool nested = false;             ///< whether the block in question lies inside the value that was passed
};

/// "<function> called from <file name of the module>". [any thread]
std::string describe(const CallSite& site);

/// Writes "plug-in misbehaving: <function> on <what>, called from <module>" and aborts. [any thread]
[[noreturn]] void reportMisuse(const CallSite& site, const std::string& what);

/// Writes `line` and aborts. [any thread]
[[noreturn]] void abortWith(const std::string& line);

}  // namespace devhost
