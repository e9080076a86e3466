#pragma once

#include <cstdint>

#include "connectivity/host_abi.h"

namespace com::tallowmere::connectivity10_15_4 {

/// Raw bytes made by the host: one pointer, null for no buffer. It lives in place inside a `data_t`, which owns it; the
/// library reads, copies and frees buffers and never makes one.
class buffer_t {
 public:
  buffer_t(const buffer_t&) = delete;
  buffer_t& operator=(const buffer_t&) = delete;

  /// The number of bytes; 0 without a block.
  std::uint64_t size() const noexcept { return block ? block->length : 0; }
  bool empty() const noexcept { return size() == 0; }

  /// The bytes; null without a block.
  const unsigned char* begin() const noexcept {
    return block ? reinterpret_cast<const unsigned char*>(block + 1) : nullptr;
  }
  const unsigned char* end() const noexcept { return block ? begin() + block->length : nullptr; }

 private:
  buffer_header* block;
};
static_assert(sizeof(buffer_t) == 8);

}  // namespace com::tallowmere::connectivity10_15_4
