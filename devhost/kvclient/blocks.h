// Every block that the host hands out is allocated and released here, and nowhere else.
#pragma once

#include <cstddef>
#include <cstdint>

#include "devhost/kvclient/misuse.h"

namespace devhost {

/// What a block is; each kind has its own function that frees it.
enum class BlockKind { string, list, map, buffer, custom };
constexpr std::size_t blockKinds = 5;

/// "string", "list", "map", "buffer" or "custom".
const char* nameOf(BlockKind kind);

/// Bytes of a block with a header and `count` items behind it. Too many for memory gives a size that no allocation
/// meets. [any thread]
std::size_t blockSize(std::size_t header, std::uint64_t count, std::size_t item);

/// An uninitialised block, never null: aborts with a line on standard error when memory is exhausted. [any thread]
void* allocateBlock(BlockKind kind, std::size_t size) noexcept;

/// Moves a block that was allocated with `oldSize` bytes into one of `newSize` bytes, as far as these go. The old
/// pointer is dead. Aborts as freeBlock and allocateBlock do. [any thread]
void* resizeBlock(BlockKind kind, void* block, std::size_t oldSize, std::size_t newSize, const CallSite& site) noexcept;

/// Releases a block. At level `ledger`, a block of another kind aborts; at `strict`, a block already freed or a pointer
/// that is no block does too. [any thread]
void freeBlock(BlockKind kind, void* block, const CallSite& site);

/// Aborts where freeBlock would, and does nothing else: for a look inside a block that is about to be freed. [any
/// thread]
void checkFreeable(BlockKind kind, const void* block, const CallSite& site);

/// Aborts when the ledger knows that `block` was freed or is of another kind. Memory that the ledger does not know may
/// be read: hosts build values where they like. [any thread]
void checkReadable(BlockKind kind, const void* block, const CallSite& site);

/// Gives a block's memory back to the system: for the ledger, when it lets go of a freed block. [any thread]
void returnMemory(void* block) noexcept;

}  // namespace devhost
