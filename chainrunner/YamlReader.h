#pragma once

#include <yaml-cpp/yaml.h>

#include <charconv>
#include <cstddef>
#include <functional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace chainrunner {

/// A chain file that can't be used; `what()` names file, line and key.
class ChainFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Reads one YAML document of declared keys. It knows the key at hand, so that every failure, a ChainFileError, reads
/// "FILE:LINE: KEY: reason".
class YamlReader {
 public:
  /// The keys of a map, each with what reads its value. They are read in this order, whatever the file's.
  using Keys = std::vector<std::pair<std::string, std::function<void(const YAML::Node&)>>>;

  /// Parses the text. `fileName` is for messages.
  YamlReader(std::string fileName, const std::string& text);

  const YAML::Node& document() const { return root; }

  /// Reads a map; an unknown key fails. A null value is an empty map.
  void readMap(const YAML::Node& map, const Keys& keys);

  /// Calls `visit` with the key and the value of each entry, that key being the one at hand.
  void forEach(const YAML::Node& map, const std::function<void(const std::string&, const YAML::Node&)>& visit);

  std::string text(const YAML::Node& value) const;
  std::vector<std::string> texts(const YAML::Node& value) const;

  /// A whole number from `least` to `most`.
  template <class Number>
  Number number(const YAML::Node& value, Number least, Number most) const {
    const std::string digits = text(value);
    Number result{};
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), result);
    if (error == std::errc::invalid_argument || end != digits.data() + digits.size())
      fail(value, "\"" + digits + "\" is not a whole number");
    if (error != std::errc() || result < least || result > most)
      fail(value, digits + " is not between " + std::to_string(least) + " and " + std::to_string(most));
    return result;
  }

  /// Fails at the place of the node, for the key at hand.
  [[noreturn]] void fail(const YAML::Node& node, const std::string& reason) const;

 private:
  [[noreturn]] void failAt(const YAML::Mark& mark, const std::string& reason) const;
  void within(const std::string& key, const std::function<void()>& body);

  const std::string fileName;
  YAML::Node root;
  std::string path;  ///< of the key at hand, "transport/retries"
};

}  // namespace chainrunner
