#include "devhost/kvclient/ledger_level.h"

#include <cstdlib>
#include <stdexcept>
#include <string>

#include "devhost/kvclient/standard_error.h"

namespace devhost {
namespace {

constexpr const char* levelNames[] = {"none", "ledger", "strict"};

LedgerLevel levelFromEnvironment() {
  const char* text = std::getenv("DEVHOST_LEDGER");
  if (text == nullptr) return LedgerLevel::none;
  for (LedgerLevel level : {LedgerLevel::none, LedgerLevel::ledger, LedgerLevel::strict}) {
    if (levelNames[static_cast<int>(level)] == std::string(text)) return level;
  }
  writeStandardError("development host: DEVHOST_LEDGER must be none, ledger or strict, not \"" + std::string(text) +
                     "\"; none is taken\n");
  return LedgerLevel::none;
}

/// Gives the level in force afterwards: `wish`, if none was settled before.
LedgerLevel settle(LedgerLevel wish) {
  int level = undecidedLevel;
  if (decidedLevel.compare_exchange_strong(level, static_cast<int>(wish))) return wish;
  return static_cast<LedgerLevel>(level);
}

}  // namespace

std::atomic<int> decidedLevel{undecidedLevel};

LedgerLevel decideLevel() {
  return settle(levelFromEnvironment());
}

LedgerLevel ledgerLevel() {
  return currentLevel();
}

void setLedgerLevel(LedgerLevel level) {
  const LedgerLevel inForce = settle(level);
  if (inForce == level) return;
  throw std::logic_error("The ledger level must be set before the first block: it is \"" +
                         std::string(levelNames[static_cast<int>(inForce)]) + "\" already and can't become \"" +
                         levelNames[static_cast<int>(level)] + "\"");
}

}  // namespace devhost
