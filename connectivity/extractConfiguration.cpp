#include "connectivity/extractConfiguration.h"

#include <algorithm>

// Digits are those of the C locale, whatever locale the host has set.
#define BOOST_LEXICAL_CAST_ASSUME_C_LOCALE
#include <boost/lexical_cast.hpp>
#include <stdexcept>

namespace com::tallowmere::connectivity10_15_4 {

namespace {

std::string joinPath(const std::vector<std::string>& path) {
  std::string joined;
  for (const std::string& name : path) {
    if (&name != &path.front()) joined += '/';
    joined += name;
  }
  return joined;
}

class Resolver : public boost::static_visitor<ResolvedKey> {
 public:
  Resolver(const std::string& label, map_t& root) : label(label), root(root) {}

  ResolvedKey operator()(const std::string& key) const { return {&root, key, root.find(data_t(key))}; }

  ResolvedKey operator()(const nested& key) const {
    if (key.path.empty()) throw std::runtime_error(label + " configuration cannot specify an empty nested{} name");
    const std::string displayName = joinPath(key.path);
    map_t* current = &root;
    for (auto name = key.path.begin();; ++name) {
      const map_t::iterator position = current->find(data_t(*name));
      if (position == current->end()) return {&root, displayName, root.end()};
      if (name + 1 == key.path.end()) return {current, displayName, position};
      if (!position->second.is(Tag::map))
        throw std::runtime_error(label + " configuration " + displayName + " incorrectly nested map");
      current = &position->second.get<map_t>();
    }
  }

  ResolvedKey operator()(const either& key) const {
    ResolvedKey a = boost::apply_visitor(*this, key.a);
    ResolvedKey b = boost::apply_visitor(*this, key.b);
    if (!isFound(a)) return b;
    if (!isFound(b)) return a;
    throw std::runtime_error("You cannot specify both " + a.displayName + " and " + b.displayName + " for " + label +
                             " configuration");
  }

 private:
  static bool isFound(const ResolvedKey& key) { return key.position != key.map->end(); }

  const std::string& label;
  map_t& root;
};

// One path for the whole walk: it grows and shrinks with the level.
void checkLevel(const std::string& label, const map_t& level, std::string& path) {
  for (const auto& [key, value] : level) {
    const std::size_t length = path.size();
    if (length > 0) path += '/';
    path += key.get<const char*>();
    if (!value.is(Tag::map)) throw std::runtime_error("Unknown configuration element " + path + " in " + label);
    checkLevel(label, value.get<map_t>(), path);
    path.resize(length);
  }
}

}  // namespace

ResolvedKey resolve(const std::string& label, const ConfigKey& key, map_t& root) {
  return boost::apply_visitor(Resolver(label, root), key);
}

std::string Conversion<std::string>::convert(const data_t& value) {
  return value.get<const char*>();
}

std::int64_t Conversion<std::int64_t>::convert(const data_t& value) {
  if (value.is(Tag::integer)) return value.get<std::int64_t>();
  return boost::lexical_cast<std::int64_t>(value.get<const char*>());
}

bool Conversion<bool>::convert(const data_t& value) {
  if (value.is(Tag::boolean)) return value.get<bool>();
  const std::string word = toLowerCase(value.get<const char*>());
  if (word != "true" && word != "false") throw std::runtime_error("not a bool");
  return word == "true";
}

std::string joinWords(const std::vector<std::string>& words) {
  std::string joined;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (i > 0) joined += i + 1 == words.size() ? " or " : ", ";
    joined += words[i];
  }
  return joined;
}

std::string convertWord(const data_t& value, const std::vector<std::string>& words) {
  const std::string word = toLowerCase(value.get<const char*>());
  const auto matches = [&](const std::string& allowed) { return toLowerCase(allowed) == word; };
  if (std::none_of(words.begin(), words.end(), matches)) throw std::runtime_error("not in the enumeration");
  return word;
}

void checkNothingLeft(const std::string& label, const map_t& config) {
  std::string path;
  checkLevel(label, config, path);
}

void failElement(const std::string& label, const std::string& displayName, const std::string& noun) {
  throw std::runtime_error(label + " configuration " + displayName + " must be " + noun);
}

void failMissing(const std::string& label, const std::string& displayName) {
  throw std::runtime_error(label + " missing required configuration element " + displayName);
}

}  // namespace com::tallowmere::connectivity10_15_4
