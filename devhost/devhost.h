// What the development host offers beside the host interface: its block ledger, its log, its status board and makers of
// values, for tools and tests that stand in the same process.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "connectivity/host_abi.h"

namespace devhost {

// -------------------------------------------------------------------------------------------------- block ledger --

/// How much the host watches the blocks that it hands out. Chosen once, before the first block: by setLedgerLevel, else
/// from the environment variable DEVHOST_LEDGER ("none", "ledger" or "strict") when it is set, else `none`.
enum class LedgerLevel {
  none,    ///< nothing is watched
  ledger,  ///< live blocks are counted by kind, and a block freed with another kind's function aborts
  strict   ///< freed blocks are poisoned too and kept back for a while; a second free, a free of a foreign pointer and
           ///< a write into a freed block abort
};

/// Sets the level. Must come before the first block is allocated. Throws std::logic_error when another level is in
/// force already. [one thread]
HOST_SYMBOL void setLedgerLevel(LedgerLevel level);

/// The level in force. Asking settles it, as the first block does. [any thread]
HOST_SYMBOL LedgerLevel ledgerLevel();

/// Live blocks by kind; all zero at level `none`.
struct LiveBlocks {
  std::int64_t strings, lists, maps, buffers, customs;
  std::int64_t total() const { return strings + lists + maps + buffers + customs; }
};

/// The live blocks of this moment; exact when no other thread allocates or frees meanwhile. [any thread]
HOST_SYMBOL LiveBlocks liveBlocks();

/// Aborts, with one line on standard error, when a freed block that is still kept back was written to. Level `strict`
/// looks at each block when it lets it go; this looks at all of them now. [any thread]
HOST_SYMBOL void checkFreedBlocks();

// ----------------------------------------------------------------------------------------------- makers of values --

/// A buffer value that holds a copy of the bytes; the caller owns it. [any thread]
HOST_SYMBOL qel_value makeBuffer(const void* bytes, std::size_t length);

/// A custom value around `object`; the caller owns the value, and the value the object. Copying the value calls
/// `clone`, freeing it calls `release`, each on the thread that copies or frees. Neither may throw. [any thread]
HOST_SYMBOL qel_value makeCustom(void* object, void* (*clone)(const void* object), void (*release)(void* object));

/// The object inside a custom value; null for a value of another tag. The value keeps the ownership. [any thread]
HOST_SYMBOL void* customObject(const qel_value& value);

/// The decimal value coefficient * 10^exponent. Throws std::out_of_range when the coefficient has more than 16 digits
/// or the exponent is not within -398 to 369. [any thread]
HOST_SYMBOL qel_value makeDecimal(std::int64_t coefficient, int exponent);

// ----------------------------------------------------------------------------------------------------------- log --

/// One log line, formatted and masked. The references hold during the call only.
struct LogLine {
  const std::string& category;
  int level;
  const std::string& text;
};

/// Sends log lines to `sink` in place of standard error; an empty function restores that. Lines are masked before they
/// reach either. `sink` is called by one thread at a time, must not log itself, and is no longer in use when the next
/// setLogSink returns. When it throws, the line goes to standard error. [any thread]
HOST_SYMBOL void setLogSink(std::function<void(const LogLine&)> sink);

/// Sets the verbosity (2 error to 5 debug) of every category that begins with `categoryPrefix`; the longest prefix
/// decides, and the empty one stands for the rest. That is at first the environment variable DEVHOST_LOG_LEVEL
/// ("error", "warn", "info" or "debug"), or warn. A plug-in asks once, when it is created. [any thread]
HOST_SYMBOL void setLogLevel(const std::string& categoryPrefix, int level);

/// From now on `secret` is shown as "***" in every line, and so is each base64 word (the URL-safe alphabet included)
/// that has it inside when decoded. An empty secret is ignored. [any thread]
HOST_SYMBOL void maskSecret(const std::string& secret);

// -------------------------------------------------------------------------------------------------- status board --

/// Every status item that exists, key to value. [any thread]
HOST_SYMBOL std::map<std::string, std::string> statusItems();

/// Every entry published by qel_set_user_status_map so far, key to value, both rendered as one line of text. An entry
/// published again has replaced the earlier one. [any thread]
HOST_SYMBOL std::map<std::string, std::string> publishedStatus();

}  // namespace devhost
