#include "devhost/kvclient/BlockLedger.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "devhost/kvclient/block_memory.h"
#include "devhost/kvclient/ledger_level.h"

namespace devhost {
namespace {

// As the upper half of an address it is none that a program can have, so that following a pointer out of a freed block
// traps.
constexpr unsigned char poison = 0xDB;

std::size_t indexOf(BlockKind kind) {
  return static_cast<std::size_t>(kind);
}

bool isPoisonOnly(const unsigned char* bytes, std::size_t size) {
  return size == 0 || (bytes[0] == poison && std::memcmp(bytes, bytes + 1, size - 1) == 0);
}

}  // namespace

BlockLedger& BlockLedger::instance() {
  static BlockLedger& ledger = *new BlockLedger;
  return ledger;
}

void BlockLedger::add(void* block, BlockKind kind, std::size_t size) {
  std::lock_guard lock(mutex);
  entries.insert_or_assign(block, Entry{kind, size, false, {}});
  ++counts[indexOf(kind)];
}

bool BlockLedger::retire(void* block, BlockKind kind, const CallSite& site) {
  std::lock_guard lock(mutex);
  Entry* entry = findFreeable(block, kind, site);
  if (entry == nullptr) return true;
  --counts[indexOf(kind)];
  if (currentLevel() == LedgerLevel::strict) {
    keepBack(block, *entry, site);
    return false;
  }
  entries.erase(block);
  return true;
}

void BlockLedger::checkFreeable(const void* block, BlockKind kind, const CallSite& site) {
  std::lock_guard lock(mutex);
  findFreeable(block, kind, site);
}

void BlockLedger::checkReadable(const void* block, BlockKind kind, const CallSite& site) {
  std::lock_guard lock(mutex);
  findReadable(block, kind, site);
}

void BlockLedger::checkFreedBlocks() {
  std::lock_guard lock(mutex);
  for (const void* block : freed) checkPoison(block, entries.at(block));
}

LiveBlocks BlockLedger::live() {
  std::lock_guard lock(mutex);
  return {counts[indexOf(BlockKind::string)], counts[indexOf(BlockKind::list)], counts[indexOf(BlockKind::map)],
          counts[indexOf(BlockKind::buffer)], counts[indexOf(BlockKind::custom)]};
}

/// The entry of `block`, or null when it has none; aborts when it isn't a live block of the kind.
BlockLedger::Entry* BlockLedger::findReadable(const void* block, BlockKind kind, const CallSite& site) {
  const auto found = entries.find(block);
  if (found == entries.end()) return nullptr;
  Entry& entry = found->second;
  if (entry.freed) reportMisuse(site, "a block already freed (by " + describe(entry.freedBy) + ")");
  if (entry.kind != kind) {
    reportMisuse(site, "a " + std::string(nameOf(entry.kind)) + " block, not a " + nameOf(kind) + " block");
  }
  return &entry;
}

/// The same, but at `strict` a block must be known to be freed.
BlockLedger::Entry* BlockLedger::findFreeable(const void* block, BlockKind kind, const CallSite& site) {
  Entry* entry = findReadable(block, kind, site);
  if (entry == nullptr && currentLevel() == LedgerLevel::strict) {
    reportMisuse(site, "a pointer that is no live block of the host");
  }
  return entry;
}

void BlockLedger::keepBack(void* block, Entry& entry, const CallSite& site) {
  std::memset(block, poison, entry.size);
  entry.freed = true;
  entry.freedBy = site;
  freed.push_back(block);
  freedBytes += entry.size;
  while (freed.size() > maxFreedBlocks || freedBytes > maxFreedBytes) letGoOfOldest();
}

void BlockLedger::letGoOfOldest() {
  void* block = freed.front();
  freed.pop_front();
  const auto found = entries.find(block);
  checkPoison(block, found->second);
  freedBytes -= found->second.size;
  entries.erase(found);
  returnMemory(block);
}

void BlockLedger::checkPoison(const void* block, const Entry& entry) {
  const auto* bytes = static_cast<const unsigned char*>(block);
  if (isPoisonOnly(bytes, entry.size)) return;
  const auto* written = std::find_if(bytes, bytes + entry.size, [](unsigned char byte) { return byte != poison; });
  abortWith("plug-in misbehaving: a " + std::string(nameOf(entry.kind)) + " block was written to at offset " +
            std::to_string(written - bytes) + " after it was freed (by " + describe(entry.freedBy) + ")");
}

LiveBlocks liveBlocks() {
  return BlockLedger::instance().live();
}

void checkFreedBlocks() {
  BlockLedger::instance().checkFreedBlocks();
}

}  // namespace devhost
