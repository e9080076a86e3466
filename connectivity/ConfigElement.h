#pragma once

#include <string>
#include <utility>

#include "connectivity/ConfigKey.h"

namespace com::tallowmere::connectivity10_15_4 {

/// An element that is one of a fixed set of words, read in lower case. `Words` gives them by a static `words()`.
template <class Words>
struct Enumeration {
  Enumeration() = default;
  Enumeration(std::string word) : word(std::move(word)) {}
  std::string word;
};

/// The declaration of one element of type `T`: std::string, std::int64_t, bool or an `Enumeration`.
template <class T>
struct ConfigElement {
  ConfigKey key;
  bool mandatory;
  T defaultValue;  ///< given for a missing key that isn't mandatory; not validated
};

}  // namespace com::tallowmere::connectivity10_15_4
