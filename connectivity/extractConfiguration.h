// Reads a declared list of typed elements out of a configuration map in one step, and rejects whatever is left over.
#pragma once

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "connectivity/ConfigElement.h"
#include "connectivity/ConfigKey.h"
#include "connectivity/map_t.h"

namespace com::tallowmere::connectivity10_15_4 {

/// Where a key was found, or would be.
struct ResolvedKey {
  map_t* map;                ///< the map that holds or would hold it
  std::string displayName;   ///< how messages call it
  map_t::iterator position;  ///< at the end when it wasn't found
};

/// Looks a key up in `root`. Throws std::runtime_error "LABEL configuration cannot specify an empty nested{} name",
/// "LABEL configuration A/B incorrectly nested map" or "You cannot specify both A and B for LABEL configuration".
ResolvedKey resolve(const std::string& label, const ConfigKey& key, map_t& root);

/// How an element's value is read, and by which noun messages describe its type.
template <class T>
struct Conversion;

template <>
struct Conversion<std::string> {
  static std::string noun() { return "a string"; }
  static std::string convert(const data_t& value);
};

template <>
struct Conversion<std::int64_t> {
  static std::string noun() { return "an integer"; }
  static std::int64_t convert(const data_t& value);
};

template <>
struct Conversion<bool> {
  static std::string noun() { return "a boolean"; }
  static bool convert(const data_t& value);
};

/// The words as a message shows them: "a, b or c".
std::string joinWords(const std::vector<std::string>& words);

/// The value's text in lower case, which must be one of the words. Throws std::runtime_error "not in the enumeration".
std::string convertWord(const data_t& value, const std::vector<std::string>& words);

template <class Words>
struct Conversion<Enumeration<Words>> {
  static std::string noun() { return joinWords(Words::words()); }
  static Enumeration<Words> convert(const data_t& value) { return convertWord(value, Words::words()); }
};

/// Throws std::runtime_error "Unknown configuration element A/B in LABEL" for the first entry of the map, in slot
/// order, that is no map. Empty nested maps pass. A map nested 10,000 deep is within an 8 MiB stack.
void checkNothingLeft(const std::string& label, const map_t& config);

[[noreturn]] void failElement(const std::string& label, const std::string& displayName, const std::string& noun);
[[noreturn]] void failMissing(const std::string& label, const std::string& displayName);

/// One element, consumed out of `config`.
template <class T>
T extractElement(const std::string& label, map_t& config, const ConfigElement<T>& element) {
  const ResolvedKey found = resolve(label, element.key, config);
  if (found.position == found.map->end()) {
    if (element.mandatory) failMissing(label, found.displayName);
    return element.defaultValue;
  }
  try {
    T value = Conversion<T>::convert(found.position->second);
    found.map->erase(found.position);
    return value;
  } catch (...) {
    failElement(label, found.displayName, Conversion<T>::noun());
  }
}

/// The values of the elements, taken in the declared order; the first failure ends everything. `label` is the plug-in's
/// name in messages; `config` is not changed. Throws std::runtime_error as above, or "LABEL configuration K must be
/// NOUN", or "LABEL missing required configuration element K".
template <class... T>
std::tuple<T...> extractConfiguration(const std::string& label, const map_t& config,
                                      const ConfigElement<T>&... elements) {
  map_t left = config.copy();
  // A braced list takes its elements from left to right.
  std::tuple<T...> values{extractElement(label, left, elements)...};
  checkNothingLeft(label, left);
  return values;
}

}  // namespace com::tallowmere::connectivity10_15_4
