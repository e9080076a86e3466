#pragma once

#include <cstddef>

namespace devhost {

/// What a block is; each kind has its own function that frees it.
enum class BlockKind { string, list, map, buffer, custom };
constexpr std::size_t blockKinds = 5;

/// "string", "list", "map", "buffer" or "custom". [any thread]
const char* nameOf(BlockKind kind);

}  // namespace devhost
