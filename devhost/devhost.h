// What the development host offers beside the host interface: its block ledger, its log and its status board, for
// tools and tests that stand in the same process.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "connectivity/host_abi.h"

namespace devhost {

/// How much the host watches the blocks that it hands out. Chosen once, before the first block: from the environment
/// variable DEVHOST_LEDGER ("none", "ledger" or "strict") when it is set, else `none`.
enum class LedgerLevel {
  none,    ///< nothing is watched
  ledger,  ///< live blocks are counted by kind, and a block freed with another kind's function aborts
  strict   ///< freed blocks are poisoned too, and a second free or a free of a foreign pointer aborts
};

/// Sets the level. Must come before the first block is allocated. [one thread]
HOST_SYMBOL void setLedgerLevel(LedgerLevel level);

/// Live blocks by kind; all zero at level `none`.
struct LiveBlocks {
  std::int64_t strings, lists, maps, buffers, customs;
  std::int64_t total() const { return strings + lists + maps + buffers + customs; }
};

/// The live blocks of this moment. [any thread]
HOST_SYMBOL LiveBlocks liveBlocks();

/// One log line, formatted, before masking. The references hold during the call only.
struct LogLine {
  const std::string& category;
  int level;
  const std::string& text;
};

/// Sends log lines to `sink` in place of standard error; an empty function restores that. Lines are masked before they
/// reach either. `sink` is called by one thread at a time. [any thread]
HOST_SYMBOL void setLogSink(std::function<void(const LogLine&)> sink);

/// Sets the verbosity (2 error to 5 debug) of every category that begins with `categoryPrefix`; the longest prefix
/// decides. A plug-in asks once, when it is created. [any thread]
HOST_SYMBOL void setLogLevel(const std::string& categoryPrefix, int level);

/// From now on `secret`, and its base64 form wherever it stands in one, are shown as "***" in every line. [any thread]
HOST_SYMBOL void maskSecret(const std::string& secret);

/// Every status item that exists, key to value. [any thread]
HOST_SYMBOL std::map<std::string, std::string> statusItems();

}  // namespace devhost
