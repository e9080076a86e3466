// Which blocks live, of which kind they are, and who freed those that don't live any more.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <unordered_map>

#include "devhost/devhost.h"
#include "devhost/kvclient/BlockKind.h"
#include "devhost/kvclient/misuse.h"

namespace devhost {

/// The books of levels `ledger` and `strict`, beside the blocks and not inside them: a block looks the same at each
/// level, and a wild pointer can be looked up without being followed.
///
/// A block is entered when it is allocated. At `ledger` its entry goes when it is freed. At `strict` the entry stays,
/// the block is filled with `poison` and waits in a queue until so many younger ones stand behind it; only then is it
/// checked for writes and its memory given back. Until then a second free and a write are told with the name of who
/// freed it.
class BlockLedger {
 public:
  /// The one ledger. It is never destroyed: plug-ins free their constants while the process ends. [any thread]
  static BlockLedger& instance();

  /// Enters a new block. [any thread, locks mutex]
  void add(void* block, BlockKind kind, std::size_t size);

  /// Takes a block out of the live ones. Tells whether its memory is to be given back now. Aborts as checkFreeable.
  /// [any thread, locks mutex]
  bool retire(void* block, BlockKind kind, const CallSite& site);

  /// Aborts when `block` is of another kind, was freed already or, at `strict`, isn't known. [any thread, locks mutex]
  void checkFreeable(const void* block, BlockKind kind, const CallSite& site);

  /// Aborts when `block` is of another kind or was freed already. [any thread, locks mutex]
  void checkReadable(const void* block, BlockKind kind, const CallSite& site);

  /// Aborts when a freed block was written to. [any thread, locks mutex]
  void checkFreedBlocks();

  /// The live blocks. [any thread, locks mutex]
  LiveBlocks live();

 private:
  struct Entry {
    BlockKind kind;
    std::size_t size;
    bool freed;
    CallSite freedBy;
  };

  static constexpr std::size_t maxFreedBlocks = 64 * 1024;
  static constexpr std::size_t maxFreedBytes = 16 * 1024 * 1024;

  BlockLedger() = default;

  static void checkPoison(const void* block, const Entry& entry);

  // With the mutex held.
  Entry* findReadable(const void* block, BlockKind kind, const CallSite& site);
  Entry* findFreeable(const void* block, BlockKind kind, const CallSite& site);
  void keepBack(void* block, Entry& entry, const CallSite& site);
  void letGoOfOldest();

  std::mutex mutex;
  std::unordered_map<const void*, Entry> entries;  // of live and of freed blocks
  std::array<std::int64_t, blockKinds> counts{};   // of live blocks
  std::deque<void*> freed;                         // oldest first
  std::size_t freedBytes = 0;
};

}  // namespace devhost
