#include "chainrunner/payload_fields.h"

#include <utility>

namespace chainrunner {

FieldPath parseField(std::string_view text) {
  FieldPath path(1);
  for (const char character : text) {
    if (character == '/')
      path.emplace_back();
    else
      path.back() += character;
  }
  return path;
}

std::string fieldText(const FieldPath& path) {
  std::string text;
  for (const std::string& name : path) text += (text.empty() ? "" : "/") + name;
  return text;
}

PayloadField::PayloadField(const FieldPath& path) {
  names.reserve(path.size());
  for (const std::string& name : path) names.push_back({hashed_key(name), name == "*"});
}

std::optional<data_t> PayloadField::take(data_t& payload) const {
  std::optional<data_t> taken;
  follow(payload, 0, names.size() - 1, [&](data_t& parent) {
    if (!parent.is(Tag::map)) return;
    map_t& map = parent.get<map_t>();
    const auto entry = map.find(names.back().key);
    if (entry == map.end()) return;
    taken = std::move(entry->second);
    map.erase(entry);
  });
  return taken;
}

}  // namespace chainrunner
