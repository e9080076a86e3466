#include "tests/support/Ledger.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#if defined(__SANITIZE_ADDRESS__)
#define POISON_FOR_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define POISON_FOR_SANITIZER
#endif
#endif
#if defined(POISON_FOR_SANITIZER)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(address, size) (static_cast<void>(address), static_cast<void>(size))
#define ASAN_UNPOISON_MEMORY_REGION(address, size) (static_cast<void>(address), static_cast<void>(size))
#endif

namespace tests {
namespace {

constexpr unsigned char fresh = 0xCD;
constexpr unsigned char freed = 0xDD;
constexpr std::size_t quarantineLimit = std::size_t{32} << 20;

}  // namespace

const char* nameOf(BlockKind kind) {
  switch (kind) {
    case BlockKind::string:
      return "string";
    case BlockKind::list:
      return "list";
    case BlockKind::map:
      return "map";
    case BlockKind::buffer:
      return "buffer";
    case BlockKind::custom:
      return "custom";
  }
  return "unknown";
}

void* Ledger::allocate(BlockKind kind, std::size_t size) {
  void* block = std::malloc(std::max<std::size_t>(size, 1));
  if (!block) throw std::bad_alloc();
  std::memset(block, fresh, size);
  std::lock_guard lock(mutex);
  blocks[block] = Block{kind, size, nextSerial++, nullptr};
  return block;
}

bool Ledger::check(const void* block, BlockKind kind, const char* operation) {
  std::lock_guard lock(mutex);
  const auto found = blocks.find(block);
  if (found == blocks.end()) {
    faults.push_back(std::string(operation) + " was given a pointer that this host did not allocate");
    return false;
  }
  if (found->second.freedBy) {
    faults.push_back(std::string(operation) + " was given a " + nameOf(found->second.kind) + " that " +
                     found->second.freedBy + " has freed already");
    return false;
  }
  if (found->second.kind != kind) {
    faults.push_back(std::string(operation) + " was given a " + nameOf(found->second.kind));
    return false;
  }
  return true;
}

void Ledger::bury(void* block, const char* operation) {
  std::lock_guard lock(mutex);
  Block& entry = blocks.at(block);
  entry.freedBy = operation;
  std::memset(block, freed, entry.size);
  ASAN_POISON_MEMORY_REGION(block, entry.size);
  quarantine.push_back(block);
  quarantinedBytes += entry.size;
  while (quarantinedBytes > quarantineLimit) evictOldest();
}

void Ledger::evictOldest() {
  void* block = quarantine.front();
  quarantine.pop_front();
  const Block entry = blocks.at(block);
  blocks.erase(block);
  quarantinedBytes -= entry.size;
  ASAN_UNPOISON_MEMORY_REGION(block, entry.size);
  const auto* bytes = static_cast<const unsigned char*>(block);
  if (!std::all_of(bytes, bytes + entry.size, [](unsigned char byte) { return byte == freed; })) {
    faults.push_back(std::string("a ") + nameOf(entry.kind) + " was written to after " + entry.freedBy +
                     " had freed it");
  }
  std::free(block);
}

void Ledger::emptyQuarantine() {
  std::lock_guard lock(mutex);
  while (!quarantine.empty()) evictOldest();
}

std::size_t Ledger::sizeOf(const void* block) const {
  std::lock_guard lock(mutex);
  const auto found = blocks.find(block);
  return found == blocks.end() || found->second.freedBy ? 0 : found->second.size;
}

LiveBlocks Ledger::live() const {
  LiveBlocks live;
  std::lock_guard lock(mutex);
  for (const auto& [address, block] : blocks) {
    if (block.freedBy) continue;
    switch (block.kind) {
      case BlockKind::string:
        ++live.strings;
        break;
      case BlockKind::list:
        ++live.lists;
        break;
      case BlockKind::map:
        ++live.maps;
        break;
      case BlockKind::buffer:
        ++live.buffers;
        break;
      case BlockKind::custom:
        ++live.customs;
        break;
    }
  }
  return live;
}

void Ledger::addFault(std::string text) {
  std::lock_guard lock(mutex);
  faults.push_back(std::move(text));
}

std::vector<std::string> Ledger::takeFaults() {
  std::lock_guard lock(mutex);
  return std::exchange(faults, {});
}

std::uint64_t Ledger::now() const {
  std::lock_guard lock(mutex);
  return nextSerial;
}

std::vector<std::string> Ledger::describeLiveSince(std::uint64_t moment) const {
  std::lock_guard lock(mutex);
  std::vector<std::pair<std::uint64_t, std::string>> found;
  for (const auto& [address, block] : blocks) {
    if (!block.freedBy && block.serial >= moment) found.emplace_back(block.serial, describe(address, block));
  }
  std::sort(found.begin(), found.end());
  std::vector<std::string> lines;
  for (auto& [serial, line] : found) lines.push_back(std::move(line));
  return lines;
}

std::string Ledger::describe(const void* address, const Block& block) {
  std::string text = std::string(nameOf(block.kind)) + " of " + std::to_string(block.size) + " bytes";
  if (block.kind == BlockKind::string) text += ": \"" + std::string(static_cast<const char*>(address)) + "\"";
  return text;
}

}  // namespace tests
