// The block ledger at level `strict`, which main sets.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "devhost/devhost.h"
#include "tests/unit/devhost/values.h"

using namespace values;

namespace {

class StrictDeathTest : public testing::Test {
 protected:
  StrictDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(StrictDeathTest, SecondFreeNamesBothCallers) {
  map_header* block = qel_allocate_map(8);
  qel_free_map(block);
  EXPECT_DEATH(qel_free_map(block),
               "^plug-in misbehaving: qel_free_map on a block already freed \\(by qel_free_map called from "
               "devhost_strict_tests\\), called from devhost_strict_tests\n$");
}

TEST_F(StrictDeathTest, SecondFreeOfEachKindEndsTheProcess) {
  for (const qel_value& value : {string("s"), list({}), devhost::makeBuffer("b", 1), custom(1)}) {
    release(value);
    EXPECT_DEATH(release(value),
                 "plug-in misbehaving: qel_free_(string|vector|buffer|custom) on a block already freed");
  }
}

TEST_F(StrictDeathTest, PluginAtFaultIsNamed) {
  void* plugin = dlopen(FAULTY_PLUGIN, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(plugin, nullptr) << dlerror();
  const auto freeTwice = reinterpret_cast<void (*)()>(dlsym(plugin, "freeTwice"));
  EXPECT_DEATH(freeTwice(),
               "plug-in misbehaving: qel_free_string on a block already freed \\(by qel_free_string called "
               "from libdevhost_faulty_plugin.so\\), called from libdevhost_faulty_plugin.so\n$");
  dlclose(plugin);
}

TEST_F(StrictDeathTest, ForeignPointerEndsTheProcess) {
  map_header own{};
  EXPECT_DEATH(qel_free_map(&own),
               "plug-in misbehaving: qel_free_map on a pointer that is no live block of the host, called from");
  char text[] = "text";
  EXPECT_DEATH(qel_free_string(text), "qel_free_string on a pointer that is no live block of the host");
  EXPECT_DEATH(qel_reallocate_map(&own, 8), "qel_reallocate_map on a pointer that is no live block of the host");
}

TEST_F(StrictDeathTest, PointerIntoTheMiddleOfABlockIsForeign) {
  char* text = qel_copy_string("text");
  EXPECT_DEATH(qel_free_string(text + 1), "qel_free_string on a pointer that is no live block of the host");
  qel_free_string(text);
}

TEST_F(StrictDeathTest, WrongKindEndsTheProcess) {
  EXPECT_DEATH(qel_free_vector(listOf(string("text"))),
               "plug-in misbehaving: qel_free_vector on a string block, not a list block");
}

TEST_F(StrictDeathTest, BlockThatMovedIsDead) {
  list_header* old = qel_allocate_vector(2);
  list_header* moved = qel_reallocate_vector(old, 4);
  EXPECT_DEATH(qel_reallocate_vector(old, 8),
               "qel_reallocate_vector on a block already freed \\(by qel_reallocate_vector called from");
  qel_free_vector(moved);

  map_header* oldTable = qel_allocate_map(8);
  map_header* table = qel_reallocate_map(oldTable, 8);
  EXPECT_DEATH(qel_free_map(oldTable), "qel_free_map on a block already freed \\(by qel_reallocate_map called from");
  qel_free_map(table);
}

TEST_F(StrictDeathTest, BlockInsideAValueIsTold) {
  EXPECT_DEATH(
      {
        const qel_value shared = string("shared");
        release(list({shared, shared}));
      },
      "plug-in misbehaving: qel_free_vector on a value that holds a block already freed");
  EXPECT_DEATH(
      {
        const qel_value shared = map(8);
        release(list({shared, shared}));
      },
      "plug-in misbehaving: qel_free_vector on a value that holds a block already freed");
  EXPECT_DEATH(
      {
        const qel_value named = map(8, "name");
        occupy(named, 0, 2, integer(1), {reinterpret_cast<std::uint64_t>(mapOf(named)->name), QEL_STRING, 0});
        release(named);
      },
      "plug-in misbehaving: qel_free_map on a value that holds a block already freed");
}

TEST_F(StrictDeathTest, CopyOfAFreedBlockEndsTheProcess) {
  const qel_value value = string("text");
  release(value);
  EXPECT_DEATH(qel_copy_data(value), "plug-in misbehaving: qel_copy_data on a block already freed");
  EXPECT_DEATH(qel_copy_data(list({value})),
               "plug-in misbehaving: qel_copy_data on a value that holds a block already freed");
}

TEST_F(StrictDeathTest, PublishingAFreedMapEndsTheProcess) {
  map_header* block = qel_allocate_map(8);
  qel_free_map(block);
  EXPECT_DEATH(qel_set_user_status_map(nullptr, block),
               "plug-in misbehaving: qel_set_user_status_map on a block already freed");
}

TEST_F(StrictDeathTest, WriteIntoAFreedBlockIsFoundOnRequest) {
  EXPECT_DEATH(
      {
        map_header* block = qel_allocate_map(8);
        qel_free_map(block);
        block->count = 1;
        devhost::checkFreedBlocks();
      },
      "^plug-in misbehaving: a map block was written to at offset 8 after it was freed \\(by qel_free_map called from "
      "devhost_strict_tests\\)\n$");
}

TEST_F(StrictDeathTest, WriteIntoAFreedBlockIsFoundWhenItIsLetGo) {
  EXPECT_DEATH(
      {
        char* text = qel_copy_string("written to later");
        qel_free_string(text);
        text[3] = 'x';
        for (int i = 0; i < 200'000; ++i) qel_free_string(qel_copy_string("makes the queue move on"));
      },
      "plug-in misbehaving: a string block was written to at offset 3 after it was freed");
}

TEST_F(StrictDeathTest, DeadStatusHandleEndsTheProcess) {
  void* item = qel_create_user_status_item(nullptr, "key", "value");
  qel_delete_user_status_item(nullptr, item);
  EXPECT_DEATH(qel_set_user_status_item(item, "value"),
               "plug-in misbehaving: qel_set_user_status_item on a handle that has no status item");
  EXPECT_DEATH(qel_delete_user_status_item(nullptr, item),
               "plug-in misbehaving: qel_delete_user_status_item on a handle that has no status item");
}

TEST(StrictTest, FreedBlocksAreNoLiveOnes) {
  release(list({string("a"), map(8, "b")}));
  EXPECT_EQ(devhost::liveBlocks().total(), 0);
}

TEST(StrictTest, ValuesInMemoryOfTheHostsOwnCanBeCopied) {
  struct {
    list_header header{1, 1};
    qel_value element = integer(7);
  } own;
  const qel_value copy = qel_copy_data({reinterpret_cast<std::uint64_t>(&own), QEL_LIST, 0});
  EXPECT_EQ(elementOf(copy, 0).payload, 7u);
  release(copy);
}

TEST(StrictTest, ManyThreadsFreeAndReuseMemory) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int n = 0; n < 2000; ++n) release(list({string("a"), map(8, "b"), string("c")}));
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(devhost::liveBlocks().total(), 0);
  devhost::checkFreedBlocks();
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  devhost::setLedgerLevel(devhost::LedgerLevel::strict);
  return RUN_ALL_TESTS();
}
