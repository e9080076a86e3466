// The heap itself, whatever the library is built to use.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <barrier>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <mutex>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include "devhost/kvclient/BlockHeap.h"

using devhost::Arena;
using devhost::BlockHeap;

namespace {

/// A block filled with a byte of its own.
struct Filled {
  unsigned char* bytes;
  std::size_t size;
  unsigned char fill;

  static Filled make(std::size_t size, unsigned char fill) {
    auto* bytes = static_cast<unsigned char*>(BlockHeap::allocate(size));
    std::memset(bytes, fill, size);
    return {bytes, size, fill};
  }

  bool isIntact() const {
    return std::all_of(bytes, bytes + size, [this](unsigned char byte) { return byte == fill; });
  }
};

std::vector<void*> allocate(std::size_t count, std::size_t size) {
  std::vector<void*> blocks(count);
  for (void*& block : blocks) block = BlockHeap::allocate(size);
  return blocks;
}

void release(const std::vector<void*>& blocks) {
  for (void* block : blocks) BlockHeap::release(block);
}

/// How many of the blocks are none of `known`.
std::size_t countNew(const std::vector<void*>& blocks, const std::vector<void*>& known) {
  const std::set<void*> sorted(known.begin(), known.end());
  return static_cast<std::size_t>(
      std::count_if(blocks.begin(), blocks.end(), [&](void* block) { return !sorted.contains(block); }));
}

/// Every other block, from the first or the second on.
std::vector<void*> everyOther(const std::vector<void*>& blocks, std::size_t first) {
  std::vector<void*> chosen;
  for (std::size_t i = first; i < blocks.size(); i += 2) chosen.push_back(blocks[i]);
  return chosen;
}

/// The part of a chunk that was not yet handed out may stand in for freed blocks.
constexpr std::size_t blocksPerChunk(std::size_t size) {
  return devhost::Chunk::size / size;
}

std::set<const devhost::Chunk*> chunksOf(const std::vector<void*>& blocks) {
  std::set<const devhost::Chunk*> chunks;
  for (void* block : blocks) chunks.insert(Arena::chunkOf(block));
  return chunks;
}

/// How many chunks are none of `known`.
std::ptrdiff_t countOthers(const std::set<const devhost::Chunk*>& chunks,
                           const std::set<const devhost::Chunk*>& known) {
  return std::count_if(chunks.begin(), chunks.end(),
                       [&](const devhost::Chunk* chunk) { return !known.contains(chunk); });
}

void runThread(const std::function<void()>& body) {
  std::thread(body).join();
}

}  // namespace

TEST(BlockHeapTest, CopiesSmallBlocksWhole) {
  for (std::size_t size = 8; size <= devhost::size_classes::small; size += 8) {
    release(allocate(2, size));  // so that one is at hand
    auto* block = static_cast<unsigned char*>(BlockHeap::allocate(size));
    for (std::size_t i = 0; i < size; ++i) block[i] = static_cast<unsigned char>(size + i);
    void* copy = BlockHeap::copySmall(block);
    ASSERT_NE(copy, nullptr) << size;
    ASSERT_NE(copy, block);
    EXPECT_EQ(std::memcmp(copy, block, size), 0) << size;
    EXPECT_EQ(Arena::chunkOf(copy)->blockSize, size);
    release({block, copy});
  }
}

TEST(BlockHeapTest, CopiesSmallBlocksOfAnotherThread) {
  void* block = nullptr;
  std::thread([&] { block = std::strcpy(static_cast<char*>(BlockHeap::allocate(24)), "of another thread"); }).join();
  release(allocate(1, 24));
  void* copy = BlockHeap::copySmall(block);
  EXPECT_STREQ(static_cast<char*>(copy), "of another thread");
  release({block, copy});
}

TEST(BlockHeapTest, CopiesNeitherLargeBlocksNorWhatIsNotItsOwn) {
  release(allocate(1, 72));
  void* large = BlockHeap::allocate(72);
  void* larger = BlockHeap::allocate(devhost::size_classes::largest + 1);
  EXPECT_EQ(BlockHeap::copySmall(large), nullptr);
  EXPECT_EQ(BlockHeap::copySmall(larger), nullptr);
  EXPECT_EQ(BlockHeap::copySmall("a constant"), nullptr);
  release({large, larger});
}

TEST(BlockHeapTest, CopiesNothingOfASpareChunk) {
  runThread([] {
    const std::vector<void*> blocks = allocate(100'000, 64);
    release(blocks);
    release(allocate(1, 64));
    const auto stale =
        std::find_if(blocks.begin(), blocks.end(), [](void* block) { return Arena::chunkOf(block)->blockSize == 0; });
    ASSERT_NE(stale, blocks.end());
    EXPECT_EQ(BlockHeap::copySmall(*stale), nullptr);
  });
}

TEST(BlockHeapTest, CopiesNothingWithoutAFreeBlockAtHand) {
  void* block = BlockHeap::allocate(64);
  std::thread([&] { EXPECT_EQ(BlockHeap::copySmall(block), nullptr) << "a thread that has no heap yet"; }).join();
  BlockHeap::release(block);
}

TEST(BlockHeapTest, BlocksOfAllSizesAreApart) {
  std::vector<Filled> blocks;
  for (std::size_t size = 1; size <= 6000; ++size)
    blocks.push_back(Filled::make(size, static_cast<unsigned char>(size)));
  for (const Filled& block : blocks) {
    EXPECT_TRUE(block.isIntact()) << block.size;
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block.bytes) % 8, 0u) << block.size;
    BlockHeap::release(block.bytes);
  }
}

TEST(BlockHeapTest, OnlyLargeBlocksLieOutsideTheArena) {
  void* small = BlockHeap::allocate(4096);
  void* large = BlockHeap::allocate(4097);
  EXPECT_NE(Arena::chunkOf(small), nullptr);
  EXPECT_EQ(Arena::chunkOf(large), nullptr);
  BlockHeap::release(small);
  BlockHeap::release(large);
}

TEST(BlockHeapTest, FreedBlockIsTheNextOfItsSize) {
  void* first = BlockHeap::allocate(40);
  BlockHeap::release(first);
  void* second = BlockHeap::allocate(33);
  EXPECT_EQ(second, first);
  BlockHeap::release(second);
}

TEST(BlockHeapTest, BlocksComeInTheOrderOfTheirAddresses) {
  runThread([] {
    const std::vector<void*> blocks = allocate(20, 2500);
    EXPECT_TRUE(std::is_sorted(blocks.begin(), blocks.end()));
    release(blocks);
  });
}

TEST(BlockHeapTest, FullChunksServeAgainWhenTheirBlocksAreFreed) {
  runThread([] {
    const std::vector<void*> first = allocate(10'000, 80);
    release(first);
    const std::vector<void*> second = allocate(10'000, 80);
    EXPECT_LE(countNew(second, first), blocksPerChunk(80));
    release(second);
  });
}

TEST(BlockHeapTest, BlocksFreedByAnotherThreadComeHome) {
  runThread([] {
    const std::vector<void*> first = allocate(10'000, 72);
    runThread([&] { release(first); });
    const std::vector<void*> second = allocate(10'000, 72);
    EXPECT_LE(countNew(second, first), blocksPerChunk(72));
    release(second);
  });
}

TEST(BlockHeapTest, ContainerFreedByAnotherThreadBringsItsBlocksHome) {
  constexpr std::size_t blocksPerContainer = 20;
  runThread([] {
    const std::vector<void*> containers = allocate(1'000, 352);
    const std::vector<void*> blocks = allocate(containers.size() * blocksPerContainer, 24);
    runThread([&] {
      auto block = blocks.begin();
      for (void* container : containers) {
        ASSERT_TRUE(BlockHeap::HomeComing::isFor(container));
        BlockHeap::HomeComing way(container);
        for (std::size_t i = 0; i < blocksPerContainer; ++i) way.add(*block++);
        way.close();
      }
    });
    std::set<const devhost::Chunk*> known = chunksOf(containers);
    known.merge(chunksOf(blocks));
    const std::vector<void*> containersAgain = allocate(containers.size(), 352);
    const std::vector<void*> blocksAgain = allocate(blocks.size(), 24);
    EXPECT_LE(countOthers(chunksOf(containersAgain), known), 1);
    EXPECT_LE(countOthers(chunksOf(blocksAgain), known), 1);
    release(containersAgain);
    release(blocksAgain);
  });
}

TEST(BlockHeapTest, ContainerBringsBlocksOfOtherThreadsHomeToThem) {
  constexpr std::size_t blocksPerContainer = 40;
  runThread([] {
    const std::vector<void*> blocks = allocate(10'000, 40);
    const std::vector<void*> moved(blocks.begin(), blocks.begin() + 20 * blocksPerContainer);
    runThread([&] {
      const std::vector<void*> containers = allocate(20, 400);
      runThread([&] {
        auto block = moved.begin();
        for (void* container : containers) {
          BlockHeap::HomeComing way(container);
          for (std::size_t i = 0; i < blocksPerContainer; ++i) way.add(*block++);
          way.add(std::malloc(5000));
          way.close();
        }
      });
      // Asking for so much, the thread finds what came home, and sends on what isn't its own.
      release(allocate(10'000, 400));
    });
    const std::vector<void*> again = allocate(blocksPerChunk(40) + moved.size(), 40);
    EXPECT_LE(countNew(again, moved), blocksPerChunk(40));
    release(again);
    release({blocks.begin() + static_cast<std::ptrdiff_t>(moved.size()), blocks.end()});
  });
}

TEST(BlockHeapTest, OwnContainersAndMallocsNeedNoHomeComing) {
  runThread([] {
    void* own = BlockHeap::allocate(352);
    void* large = BlockHeap::allocate(5000);
    EXPECT_FALSE(BlockHeap::HomeComing::isFor(own));
    runThread([&] { EXPECT_FALSE(BlockHeap::HomeComing::isFor(large)); });
    BlockHeap::release(own);
    BlockHeap::release(large);
  });
}

TEST(BlockHeapTest, WhollyFreeChunksServeOtherSizes) {
  runThread([] {
    const std::vector<void*> small = allocate(100'000, 64);
    const auto [low, high] = std::minmax_element(small.begin(), small.end());
    const std::pair<void*, void*> range{*low, *high};
    release(small);
    const std::vector<void*> larger = allocate(40'000, 128);
    EXPECT_LE(std::count_if(larger.begin(), larger.end(),
                            [&](void* block) { return block < range.first || block > range.second; }),
              static_cast<std::ptrdiff_t>(2 * blocksPerChunk(128)));
    release(larger);
  });
}

TEST(BlockHeapTest, NextThreadTakesOverFromOneThatEnded) {
  std::vector<void*> first;
  runThread([&] {
    first = allocate(10'000, 200);
    release(everyOther(first, 0));
  });
  runThread([&] {
    const std::vector<void*> second = allocate(4'000, 200);
    EXPECT_LE(countNew(second, everyOther(first, 0)), blocksPerChunk(208));
    release(second);
    release(everyOther(first, 1));
  });
}

TEST(BlockHeapTest, RunningThreadFindsTheMemoryOfOneThatEnded) {
  std::vector<void*> first;
  std::barrier step(2);
  std::thread running([&] {
    BlockHeap::release(BlockHeap::allocate(8));
    step.arrive_and_wait();
    step.arrive_and_wait();
    const std::vector<void*> second = allocate(400, 1000);
    EXPECT_LE(countNew(second, first), blocksPerChunk(1024));
    release(second);
  });
  step.arrive_and_wait();
  runThread([&] {
    first = allocate(1'000, 1000);
    release(everyOther(first, 0));
  });
  release(everyOther(first, 1));
  step.arrive_and_wait();
  running.join();
}

TEST(BlockHeapTest, ResizedBlockKeepsItsContent) {
  constexpr std::size_t sizes[] = {10, 16, 17, 5000, 200'000, 9000, 100, 4096, 4097, 1};
  auto* block = static_cast<char*>(BlockHeap::allocate(sizes[0]));
  std::memcpy(block, "0123456789", 10);
  std::size_t kept = 10;
  for (std::size_t i = 1; i < std::size(sizes); ++i) {
    block = static_cast<char*>(BlockHeap::resize(block, sizes[i - 1], sizes[i]));
    kept = std::min(kept, sizes[i]);
    EXPECT_EQ(std::string(block, kept), std::string("0123456789", kept)) << sizes[i];
  }
  BlockHeap::release(block);
}

TEST(BlockHeapTest, ThreadsPassBlocksAround) {
  constexpr int threads = 4;
  constexpr int generations = 4;
  constexpr int steps = 4'000;
  struct Mailbox {
    std::mutex mutex;
    std::vector<Filled> blocks;
  };
  std::array<Mailbox, threads> mailboxes;
  std::atomic<int> spoiled = 0;
  const auto discard = [&](const Filled& block) {
    spoiled += !block.isIntact();
    BlockHeap::release(block.bytes);
  };
  const auto life = [&](unsigned seed) {
    std::mt19937 random(seed);
    std::vector<Filled> own;
    for (int i = 0; i < steps; ++i) {
      const std::size_t size = random() % 16 == 0 ? random() % 6000 + 1 : random() % 400 + 1;
      own.push_back(Filled::make(size, static_cast<unsigned char>(random())));
      std::swap(own.back(), own[random() % own.size()]);
      if (own.size() < 100) continue;
      Mailbox& mailbox = mailboxes[random() % threads];
      std::lock_guard lock(mailbox.mutex);
      std::for_each(mailbox.blocks.begin(), mailbox.blocks.end(), discard);
      mailbox.blocks.assign(own.end() - 60, own.end());
      own.resize(own.size() - 60);
      discard(own.back());
      own.pop_back();
    }
    std::for_each(own.begin(), own.end(), discard);
  };
  for (unsigned generation = 0; generation < generations; ++generation) {
    std::vector<std::thread> running;
    for (unsigned i = 0; i < threads; ++i) running.emplace_back(life, generation * threads + i);
    for (std::thread& thread : running) thread.join();
  }
  for (Mailbox& mailbox : mailboxes) std::for_each(mailbox.blocks.begin(), mailbox.blocks.end(), discard);
  EXPECT_EQ(spoiled, 0);
}

TEST(BlockHeapTest, ThreadsPassContainersAround) {
  constexpr int threads = 3;
  constexpr int steps = 3'000;
  struct Container {
    void* memory;
    std::vector<Filled> blocks;
  };
  struct Mailbox {
    std::mutex mutex;
    std::vector<Container> containers;
  };
  std::array<Mailbox, threads> mailboxes;
  std::atomic<int> spoiled = 0;
  const auto discard = [&](const Container& container) {
    for (const Filled& block : container.blocks) spoiled += !block.isIntact();
    if (!BlockHeap::HomeComing::isFor(container.memory)) {
      for (const Filled& block : container.blocks) BlockHeap::release(block.bytes);
      return BlockHeap::release(container.memory);
    }
    BlockHeap::HomeComing way(container.memory);
    for (const Filled& block : container.blocks) way.add(block.bytes);
    way.close();
  };
  const auto life = [&](unsigned seed) {
    std::mt19937 random(seed);
    for (int i = 0; i < steps; ++i) {
      Container made{BlockHeap::allocate(16 + 8 * 16), {}};
      for (auto count = random() % 17; count > 0; --count)
        made.blocks.push_back(Filled::make(random() % 200 + 1, static_cast<unsigned char>(random())));
      Mailbox& mailbox = mailboxes[random() % threads];
      std::lock_guard lock(mailbox.mutex);
      if (!mailbox.containers.empty() && !made.blocks.empty() && !mailbox.containers.back().blocks.empty())
        std::swap(made.blocks.back(), mailbox.containers.back().blocks.back());
      mailbox.containers.push_back(std::move(made));
      if (mailbox.containers.size() < 40) continue;
      std::for_each(mailbox.containers.begin(), mailbox.containers.end(), discard);
      mailbox.containers.clear();
    }
  };
  std::vector<std::thread> running;
  for (unsigned i = 0; i < threads; ++i) running.emplace_back(life, i);
  for (std::thread& thread : running) thread.join();
  for (Mailbox& mailbox : mailboxes) std::for_each(mailbox.containers.begin(), mailbox.containers.end(), discard);
  EXPECT_EQ(spoiled, 0);
}

// The sanitizers' own memory doesn't fit under a limit.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
namespace {

void limitAddresses() {
  rlimit limit;
  limit.rlim_cur = limit.rlim_max = 1 << 30;
  setrlimit(RLIMIT_AS, &limit);
}

}  // namespace

TEST(BlockHeapDeathTest, WithoutItsAddressesTheHeapLeavesItToMalloc) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        limitAddresses();
        std::vector<Filled> blocks;
        for (std::size_t size = 1; size < 2000; ++size) blocks.push_back(Filled::make(size, 7));
        const bool areIntact =
            std::all_of(blocks.begin(), blocks.end(), [](const Filled& block) { return block.isIntact(); });
        for (const Filled& block : blocks) BlockHeap::release(block.bytes);
        std::exit(areIntact && Arena::isRefused() ? 0 : 1);
      },
      testing::ExitedWithCode(0), "^$");
}
#endif
