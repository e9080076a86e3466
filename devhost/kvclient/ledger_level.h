// The ledger level as the host's own code reads it: one relaxed load.
#pragma once

#include <atomic>

#include "devhost/devhost.h"

namespace devhost {

/// A LedgerLevel, or `undecidedLevel`.
extern std::atomic<int> decidedLevel;
constexpr int undecidedLevel = -1;

/// Settles the level from the environment, unless somebody was quicker, and gives the one in force. [any thread]
LedgerLevel decideLevel();

/// The level in force. [any thread]
inline LedgerLevel currentLevel() {
  const int level = decidedLevel.load(std::memory_order_relaxed);
  return level == undecidedLevel ? decideLevel() : static_cast<LedgerLevel>(level);
}

/// Whether the level in force is known to be `none`: never true before the level is decided. [any thread]
inline bool isLevelKnownToBeNone() {
  return decidedLevel.load(std::memory_order_relaxed) == static_cast<int>(LedgerLevel::none);
}

}  // namespace devhost
