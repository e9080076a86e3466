#pragma once

#include "connectivity/data_t.h"

namespace com::tallowmere::connectivity::plugins {

using namespace com::tallowmere::connectivity10_15_4;

/// A key that finds the entry of `key`. A copy would not do: the host may copy a borrowed string as an owned one, which
/// is another key. [any thread]
inline data_t sameKey(const data_t& key) {
  return key.is(Tag::borrowedString) ? data_t::adopt(key.view()) : key.copy();
}

}  // namespace com::tallowmere::connectivity::plugins
