#pragma once

#include <boost/variant.hpp>
#include <boost/variant/recursive_wrapper.hpp>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace com::tallowmere::connectivity10_15_4 {

struct nested;
struct either;

/// Where the value of a configuration element is to be found: under a plain key, under a path of keys through nested
/// maps, or under one of two such places.
using ConfigKey = boost::variant<std::string, boost::recursive_wrapper<nested>, boost::recursive_wrapper<either>>;

/// A path through nested maps. Messages show it joined with "/".
struct nested {
  nested(std::initializer_list<std::string> path) : path(path) {}
  std::vector<std::string> path;
};

/// Two places, of which a configuration uses at most one.
struct either {
  either(ConfigKey a, ConfigKey b) : a(std::move(a)), b(std::move(b)) {}
  ConfigKey a;
  ConfigKey b;
};

}  // namespace com::tallowmere::connectivity10_15_4
