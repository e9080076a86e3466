#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "connectivity/host_abi.h"
#include "tests/support/HostCalls.h"
#include "tests/support/Ledger.h"
#include "tests/support/LogCapture.h"

namespace tests {

/// A host of the tests' own, which knows the development host not at all: an executable that links it offers every
/// host operation, to its own objects and to the plug-ins that it loads.
///
/// Each test starts with the host as new: clock at 1000, log level 3, no lines, no counts. Each test ends with a check
/// that nobody has to ask for: a block or a status item that outlives the test, and every fault (a block freed twice or
/// with another kind's function, a foreign pointer, a late write, an unknown log conversion), fails it.
/// All operations: [any thread]
class TestHost {
 public:
  // Blocks

  /// Blocks that are alive in the whole process, those of global objects included.
  static LiveBlocks liveBlocks();

  /// The faults since the test's start or the last call, for a test that provokes some.
  static std::vector<std::string> takeFaults();

  /// A buffer or a custom object, of which the host interface makes none. The caller owns it.
  static buffer_header* makeBuffer(std::string_view bytes);
  static void* makeCustom(std::uint64_t id);
  static std::uint64_t idOfCustom(const void* object);

  /// Whether a copy of a borrowed string borrows the same text (tag 10, the default) or owns one of its own (tag 5). A
  /// host may do either.
  static void copyBorrowedStringsAsOwned(bool owned);

  /// Replaces the hash of strings, FNV-1a with 64 bits. No table that exists may be in use any more.
  static void useHash(std::uint64_t (*hash)(std::string_view));

  // Calls

  static std::uint64_t calls(HostCall call);

  /// The capacities or sizes asked for, in order: of the two allocate and two reallocate operations and of kv_malloc.
  static std::vector<std::uint64_t> arguments(HostCall call);

  static void forgetCalls();

  /// From now on `call` runs `thrower` before it does anything; an empty one ends that.
  static void throwFrom(HostCall call, std::function<void()> thrower);

  // Clock

  static double clock();
  static void setClock(double seconds);
  static void advanceClock(double seconds);

  /// Seconds by which each reading moves the clock on, 0 at first.
  static void advanceAtEachReading(double seconds);

  // Log

  /// The level that qel_get_log_level answers; a plug-in asks once, when it is created.
  static void setLogLevel(std::int32_t level);
  static std::vector<LogLine> logs();
  static std::vector<LogLine> logs(std::int32_t level);

  /// As `logs`, and forgets them.
  static std::vector<LogLine> drain();
  static std::vector<LogLine> drain(std::int32_t level);

  /// The categories for which the level was asked, in order.
  static std::vector<std::string> categoriesAsked();

  // Status

  static std::map<std::string, std::string> statusItems();

  /// Key and initial value of each item made; key and value of each update published. In order.
  static std::vector<std::pair<std::string, std::string>> createdStatusItems();
  static std::vector<std::pair<std::string, std::string>> statusHistory();
  static std::vector<std::map<std::string, std::string>> publishedStatusMaps();

  /// Gives the keys of the items that exist, and drops them: for a test that kept them from being deleted.
  static std::vector<std::string> dropStatusItems();

  /// No item with this key can be made.
  static void refuseStatusItem(std::string key);

  // The check of each test, run by a listener

  static void beginTest();

  /// What is wrong at the end of a test, one line each.
  static std::vector<std::string> endTest();
};

}  // namespace tests
