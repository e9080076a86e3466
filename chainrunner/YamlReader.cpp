#include "chainrunner/YamlReader.h"

#include <algorithm>

namespace chainrunner {

YamlReader::YamlReader(std::string fileName, const std::string& text) : fileName(std::move(fileName)) {
  try {
    root = YAML::Load(text);
  } catch (const YAML::ParserException& error) {
    failAt(error.mark, error.msg);
  }
}

void YamlReader::readMap(const YAML::Node& map, const Keys& keys) {
  std::vector<std::pair<std::string, YAML::Node>> entries;
  forEach(map, [&](const std::string& key, const YAML::Node& value) {
    const bool known = std::any_of(keys.begin(), keys.end(), [&](const auto& each) { return each.first == key; });
    if (!known) fail(value, "unknown key");
    entries.emplace_back(key, value);
  });
  for (const auto& key : keys)
    for (const auto& entry : entries)
      if (entry.first == key.first) within(key.first, [&] { key.second(entry.second); });
}

void YamlReader::forEach(const YAML::Node& map,
                         const std::function<void(const std::string&, const YAML::Node&)>& visit) {
  if (map.IsNull()) return;
  if (!map.IsMap()) fail(map, "not a map");
  std::set<std::string> seen;
  for (const auto& entry : map) {
    if (!entry.first.IsScalar()) fail(entry.first, "a key is not a text");
    const std::string key = entry.first.Scalar();
    within(key, [&] {
      if (!seen.insert(key).second) fail(entry.first, "given twice");
      visit(key, entry.second);
    });
  }
}

std::string YamlReader::text(const YAML::Node& value) const {
  if (!value.IsScalar()) fail(value, "not a text");
  return value.Scalar();
}

std::vector<std::string> YamlReader::texts(const YAML::Node& value) const {
  if (!value.IsSequence()) fail(value, "not a list");
  std::vector<std::string> result;
  for (const YAML::Node& element : value) result.push_back(text(element));
  return result;
}

void YamlReader::within(const std::string& key, const std::function<void()>& body) {
  const std::string outer = path;
  path = outer.empty() ? key : outer + "/" + key;
  body();
  path = outer;
}

void YamlReader::fail(const YAML::Node& node, const std::string& reason) const {
  failAt(node.Mark(), (path.empty() ? "the document" : path) + ": " + reason);
}

void YamlReader::failAt(const YAML::Mark& mark, const std::string& reason) const {
  throw ChainFileError(fileName + ":" + std::to_string(mark.line + 1) + ": " + reason);
}

}  // namespace chainrunner
