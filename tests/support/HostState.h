#pragma once

#include <atomic>
#include <cstdint>
#include <string_view>

#include "tests/support/HostCalls.h"
#include "tests/support/Ledger.h"
#include "tests/support/LogCapture.h"
#include "tests/support/StatusBoard.h"

namespace tests {

std::uint64_t fnv1a(std::string_view text);

/// What the host operations work on and `TestHost` shows.
struct HostState {
  static constexpr double startOfClock = 1000.0;

  HostCalls calls;
  Ledger ledger;
  LogCapture log;
  StatusBoard status;
  std::atomic<std::uint64_t (*)(std::string_view)> hash{fnv1a};
  std::atomic<bool> ownedCopies{false};
  std::atomic<double> clock{startOfClock};
  std::atomic<double> clockStep{0.0};
  std::atomic<std::uint64_t> startOfTest{0};
};

/// The one host of the process. Never destroyed, since global objects free their blocks late.
HostState& host();

}  // namespace tests
