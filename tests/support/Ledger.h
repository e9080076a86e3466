#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace tests {

enum class BlockKind { string, list, map, buffer, custom };

/// "string", "list", "map", "buffer" or "custom".
const char* nameOf(BlockKind kind);

/// Blocks that are allocated and not yet freed.
struct LiveBlocks {
  std::int64_t strings = 0, lists = 0, maps = 0, buffers = 0, customs = 0;
  std::int64_t total() const { return strings + lists + maps + buffers + customs; }
  bool operator==(const LiveBlocks&) const = default;
};

/// Every block that the host hands out, from its birth until long after its death.
///
/// A fresh block is filled with 0xCD. A freed one is filled with 0xDD and stays in quarantine, so that its address
/// does not come back soon and a late read or write meets poison; whoever wrote into it is reported when it leaves the
/// quarantine. What a plug-in does wrong is kept as a fault, a line of text, and nothing aborts. [any thread]
class Ledger {
 public:
  void* allocate(BlockKind kind, std::size_t size);

  /// True when `block` is alive and of `kind`; otherwise notes a fault that names `operation`.
  bool check(const void* block, BlockKind kind, const char* operation);

  /// Ends the life of a block that passed `check`. `operation` is named when the block is freed again.
  void bury(void* block, const char* operation);

  /// Bytes asked for when the live `block` was allocated; 0 for any other pointer.
  std::size_t sizeOf(const void* block) const;

  LiveBlocks live() const;

  void addFault(std::string text);
  std::vector<std::string> takeFaults();

  /// A point in time; `describeLiveSince` lists the blocks that are alive and younger.
  std::uint64_t now() const;
  std::vector<std::string> describeLiveSince(std::uint64_t moment) const;

  /// Frees the quarantine for good and notes a fault for each block in it that was written to.
  void emptyQuarantine();

 private:
  struct Block {
    BlockKind kind;
    std::size_t size;
    std::uint64_t serial;
    const char* freedBy;  // null while alive
  };

  static std::string describe(const void* address, const Block& block);
  void evictOldest();

  mutable std::mutex mutex;
  std::unordered_map<const void*, Block> blocks;
  std::deque<void*> quarantine;
  std::size_t quarantinedBytes = 0;
  std::uint64_t nextSerial = 0;
  std::vector<std::string> faults;
};

}  // namespace tests
