// The block ledger at level `ledger`, which main sets.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>
#include <vector>

#include "devhost/devhost.h"
#include "tests/unit/devhost/values.h"

using namespace values;

namespace {

TEST(LedgerTest, CountsLiveBlocksByKind) {
  const qel_value value = map(8, "name");
  occupy(value, 0, 2, string("key"), list({string("a"), custom(1), devhost::makeBuffer("b", 1)}));
  occupy(value, 1, 3, integer(1), map(8));
  const devhost::LiveBlocks live = devhost::liveBlocks();
  EXPECT_EQ(live.strings, 3);
  EXPECT_EQ(live.lists, 1);
  EXPECT_EQ(live.maps, 2);
  EXPECT_EQ(live.buffers, 1);
  EXPECT_EQ(live.customs, 1);
  EXPECT_EQ(live.total(), 8);
  release(value);
  EXPECT_EQ(devhost::liveBlocks().total(), 0);
}

TEST(LedgerTest, CopyCountsAsBlocksOfItsOwn) {
  const qel_value value = list({string("a"), borrowed("b")});
  const qel_value copy = qel_copy_data(value);
  EXPECT_EQ(devhost::liveBlocks().strings, 3);
  EXPECT_EQ(devhost::liveBlocks().lists, 2);
  release(value);
  release(copy);
}

TEST(LedgerTest, ReallocationChangesNoCount) {
  map_header* table = qel_reallocate_map(qel_allocate_map(8), 16);
  list_header* elements = qel_reallocate_vector(qel_allocate_vector(2), 4);
  EXPECT_EQ(devhost::liveBlocks().maps, 1);
  EXPECT_EQ(devhost::liveBlocks().lists, 1);
  qel_free_map(table);
  qel_free_vector(elements);
  EXPECT_EQ(devhost::liveBlocks().total(), 0);
}

TEST(LedgerTest, BalancesWhenThreadsFreeEachOthersBlocks) {
  constexpr int rounds = 300;
  std::vector<qel_value> handedOver[2];
  const auto make = [](std::vector<qel_value>& made) {
    for (int n = 0; n < rounds; ++n) made.push_back(list({string("a"), map(8, "b"), custom(n)}));
  };
  std::thread first(make, std::ref(handedOver[0]));
  make(handedOver[1]);
  first.join();
  EXPECT_EQ(devhost::liveBlocks().total(), 2 * rounds * 5);

  const auto takeBack = [](const std::vector<qel_value>& made) {
    for (const qel_value& value : made) release(value);
  };
  std::thread second(takeBack, std::cref(handedOver[1]));
  takeBack(handedOver[0]);
  second.join();
  EXPECT_EQ(devhost::liveBlocks().total(), 0);
}

TEST(LedgerTest, CountsWhileOtherThreadsAllocate) {
  std::thread other([] {
    for (int n = 0; n < 1000; ++n) release(string("a"));
  });
  for (int n = 0; n < 100; ++n) {
    const std::int64_t live = devhost::liveBlocks().total();
    EXPECT_GE(live, 0);
    EXPECT_LE(live, 1);
  }
  other.join();
}

TEST(LedgerTest, LevelStaysOnceItIsSettled) {
  devhost::setLedgerLevel(devhost::LedgerLevel::ledger);
  EXPECT_EQ(devhost::ledgerLevel(), devhost::LedgerLevel::ledger);
  try {
    devhost::setLedgerLevel(devhost::LedgerLevel::strict);
    FAIL() << "changed";
  } catch (const std::logic_error& error) {
    EXPECT_STREQ(error.what(),
                 "The ledger level must be set before the first block: it is \"ledger\" already and can't become "
                 "\"strict\"");
  }
}

TEST(LedgerTest, ConstantsOfAPluginBalanceWhenItIsUnloaded) {
  void* plugin = dlopen(CONSTANTS_PLUGIN, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(plugin, nullptr) << dlerror();
  EXPECT_EQ(devhost::liveBlocks().strings, 2);
  EXPECT_EQ(devhost::liveBlocks().maps, 1);
  dlclose(plugin);
  EXPECT_EQ(devhost::liveBlocks().total(), 0);
}

TEST(LedgerDeathTest, FreeingAnotherKindEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      qel_free_map(reinterpret_cast<map_header*>(qel_allocate_vector(2))),
      "^plug-in misbehaving: qel_free_map on a list block, not a map block, called from devhost_ledger_tests\n$");
  EXPECT_DEATH(qel_free_string(reinterpret_cast<char*>(qel_allocate_map(8))),
               "plug-in misbehaving: qel_free_string on a map block, not a string block");
  EXPECT_DEATH(qel_free_buffer(bufferOf(string("text"))),
               "plug-in misbehaving: qel_free_buffer on a string block, not a buffer block");
  EXPECT_DEATH(qel_free_custom(bufferOf(devhost::makeBuffer("b", 1))),
               "plug-in misbehaving: qel_free_custom on a buffer block, not a custom block");
  EXPECT_DEATH(qel_free_vector(listOf(custom(1))),
               "plug-in misbehaving: qel_free_vector on a custom block, not a list block");
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  devhost::setLedgerLevel(devhost::LedgerLevel::ledger);
  return RUN_ALL_TESTS();
}
