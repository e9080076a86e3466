// How the ledger's level is settled, and what level `none` leaves out.
#include <gtest/gtest.h>

#include <cstdlib>

#include "devhost/devhost.h"

namespace {

/// In processes of their own, since the level is settled once.
class LedgerLevelDeathTest : public testing::Test {
 protected:
  LedgerLevelDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

  static void exitWithLevel() { std::exit(10 + static_cast<int>(devhost::ledgerLevel())); }
};

TEST_F(LedgerLevelDeathTest, IsNoneAtFirst) {
  EXPECT_EXIT(unsetenv("DEVHOST_LEDGER"); exitWithLevel(), testing::ExitedWithCode(10), "^$");
}

TEST_F(LedgerLevelDeathTest, ComesFromTheEnvironment) {
  EXPECT_EXIT(setenv("DEVHOST_LEDGER", "none", 1); exitWithLevel(), testing::ExitedWithCode(10), "^$");
  EXPECT_EXIT(setenv("DEVHOST_LEDGER", "ledger", 1); exitWithLevel(), testing::ExitedWithCode(11), "^$");
  EXPECT_EXIT(setenv("DEVHOST_LEDGER", "strict", 1); exitWithLevel(), testing::ExitedWithCode(12), "^$");
}

TEST_F(LedgerLevelDeathTest, UnknownWordInTheEnvironmentIsTold) {
  EXPECT_EXIT(setenv("DEVHOST_LEDGER", "Strict", 1);
              exitWithLevel(), testing::ExitedWithCode(10),
              "^development host: DEVHOST_LEDGER must be none, ledger or strict, not \"Strict\"; none is taken\n$");
}

TEST_F(LedgerLevelDeathTest, HostsOwnWordComesBeforeTheEnvironment) {
  EXPECT_EXIT(
      {
        setenv("DEVHOST_LEDGER", "ledger", 1);
        devhost::setLedgerLevel(devhost::LedgerLevel::strict);
        exitWithLevel();
      },
      testing::ExitedWithCode(12), "^$");
}

TEST_F(LedgerLevelDeathTest, FirstBlockSettlesIt) {
  EXPECT_EXIT(
      {
        setenv("DEVHOST_LEDGER", "ledger", 1);
        char* text = qel_copy_string("first");
        setenv("DEVHOST_LEDGER", "strict", 1);
        const bool counted = devhost::liveBlocks().strings == 1;
        qel_free_string(text);
        if (counted) exitWithLevel();
      },
      testing::ExitedWithCode(11), "^$");
}

TEST_F(LedgerLevelDeathTest, NoneCountsNothing) {
  EXPECT_EXIT(
      {
        devhost::setLedgerLevel(devhost::LedgerLevel::none);
        char* text = qel_copy_string("first");
        const std::int64_t live = devhost::liveBlocks().total();
        qel_free_string(text);
        std::exit(static_cast<int>(live));
      },
      testing::ExitedWithCode(0), "^$");
}

}  // namespace
