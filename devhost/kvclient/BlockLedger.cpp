#include "devhost/kvclient/BlockLedger.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "devhost/kvclient/ledger_level.h"

namespace devhost {
namespace {

// As the upper half of an address it is none that a program can have, so that following a pointer out of a freed block
// traps.
constexpr unsigned char poison = 0xDB;

}  // namespace

BlockLedger& BlockLedger::instance() {
  static BlockLedger& ledger = *new BlockLedger;
  return ledger;
}

void BlockLedger::add(void* block, BlockKind kind, std::size_t size) {
  Shard& shard = shardOf(block);
  std::lock_guard lock(shard.mutex);
  shard.entries.insert_or_assign(block, Entry{kind, size, false, {}});
  ++shard.live[static_cast<std::size_t>(kind)];
}

bool BlockLedger::retire(void* block, BlockKind kind, const CallSite& site) {
  Shard& shard = shardOf(block);
  std::lock_guard lock(shard.mutex);
  Entry* entry = findChecked(shard, block, kind, site);
  if (entry == nullptr) {
    if (currentLevel() == LedgerLevel::strict) reportMisuse(site, "a pointer that is no live block of the host");
    return true;
  }
  --shard.live[static_cast<std::size_t>(kind)];
  if (currentLevel() == LedgerLevel::strict) {
    keepBack(shard, block, *entry, site);
    return false;
  }
  shard.entries.erase(block);
  return true;
}

void BlockLedger::checkFreeable(const void* block, BlockKind kind, const CallSite& site) {
  Shard& shard = shardOf(block);
  std::lock_guard lock(shard.mutex);
  if (findChecked(shard, block, kind, site) == nullptr && currentLevel() == LedgerLevel::strict) {
    reportMisuse(site, "a pointer that is no live block of the host");
  }
}

void BlockLedger::checkReadable(const void* block, BlockKind kind, const CallSite& site) {
  Shard& shard = shardOf(block);
  std::lock_guard lock(shard.mutex);
  findChecked(shard, block, kind, site);
}

void BlockLedger::checkFreedBlocks() {
  for (Shard& shard : shards) {
    std::lock_guard lock(shard.mutex);
    for (const void* block : shard.freed) checkPoison(block, shard.entries.at(block));
  }
}

LiveBlocks BlockLedger::live() {
  std::array<std::int64_t, blockKinds> sums{};
  for (Shard& shard : shards) {
    std::lock_guard lock(shard.mutex);
    for (std::size_t kind = 0; kind < blockKinds; ++kind) sums[kind] += shard.live[kind];
  }
  const auto of = [&sums](BlockKind kind) { return sums[static_cast<std::size_t>(kind)]; };
  return {of(BlockKind::string), of(BlockKind::list), of(BlockKind::map), of(BlockKind::buffer), of(BlockKind::custom)};
}

BlockLedger::Shard& BlockLedger::shardOf(const void* block) {
  // Blocks are 16 bytes apart at least; the multiplication spreads the rest of the address into the top six bits.
  const std::uint64_t spread = (reinterpret_cast<std::uintptr_t>(block) >> 4) * 0x9E3779B97F4A7C15u;
  return shards[spread >> 58];
}

/// The entry of `block`, or null when it has none; aborts when it can't be used as a live block of the kind.
BlockLedger::Entry* BlockLedger::findChecked(Shard& shard, const void* block, BlockKind kind, const CallSite& site) {
  const auto found = shard.entries.find(block);
  if (found == shard.entries.end()) return nullptr;
  Entry& entry = found->second;
  if (entry.freed) reportMisuse(site, "a block already freed (by " + describe(entry.freedBy) + ")");
  if (entry.kind != kind) {
    reportMisuse(site, "a " + std::string(nameOf(entry.kind)) + " block, not a " + nameOf(kind) + " block");
  }
  return &entry;
}

void BlockLedger::keepBack(Shard& shard, void* block, Entry& entry, const CallSite& site) {
  std::memset(block, poison, entry.size);
  entry.freed = true;
  entry.freedBy = site;
  shard.freed.push_back(block);
  shard.freedBytes += entry.size;
  while (shard.freed.size() > maxFreedBlocks || shard.freedBytes > maxFreedBytes) letGoOfOldest(shard);
}

void BlockLedger::letGoOfOldest(Shard& shard) {
  void* block = shard.freed.front();
  shard.freed.pop_front();
  const auto found = shard.entries.find(block);
  checkPoison(block, found->second);
  shard.freedBytes -= found->second.size;
  shard.entries.erase(found);
  returnMemory(block);
}

void BlockLedger::checkPoison(const void* block, const Entry& entry) {
  const auto* begin = static_cast<const unsigned char*>(block);
  const auto* end = begin + entry.size;
  const auto* written = std::find_if(begin, end, [](unsigned char byte) { return byte != poison; });
  if (written == end) return;
  abortWith("plug-in misbehaving: a " + std::string(nameOf(entry.kind)) + " block was written to at offset " +
            std::to_string(written - begin) + " after it was freed (by " + describe(entry.freedBy) + ")");
}

LiveBlocks liveBlocks() {
  return BlockLedger::instance().live();
}

void checkFreedBlocks() {
  BlockLedger::instance().checkFreedBlocks();
}

}  // namespace devhost
