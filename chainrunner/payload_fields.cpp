#include "chainrunner/payload_fields.h"

#include <utility>

namespace chainrunner {

namespace {

/// Visits what the first `length` names of the path lead to, of which `level` are behind.
void visitFrom(data_t& value, const FieldPath& path, std::size_t length, std::size_t level,
               const std::function<void(data_t&)>& visit) {
  if (level == length) return visit(value);
  const std::string& name = path[level];
  if (value.is(Tag::list) && name == "*") {
    for (data_t& element : value.get<list_t>()) visitFrom(element, path, length, level + 1, visit);
  } else if (value.is(Tag::map) && name == "*") {
    for (auto& entry : value.get<map_t>()) visitFrom(entry.second, path, length, level + 1, visit);
  } else if (value.is(Tag::map)) {
    const auto entry = value.get<map_t>().find(data_t(name));
    if (entry != value.get<map_t>().end()) visitFrom(entry->second, path, length, level + 1, visit);
  }
}

}  // namespace

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

void visitField(data_t& payload, const FieldPath& path, const std::function<void(data_t&)>& visit) {
  visitFrom(payload, path, path.size(), 0, visit);
}

std::optional<data_t> takeField(data_t& payload, const FieldPath& path) {
  std::optional<data_t> taken;
  visitFrom(payload, path, path.size() - 1, 0, [&](data_t& parent) {
    if (!parent.is(Tag::map)) return;
    map_t& map = parent.get<map_t>();
    const auto entry = map.find(data_t(path.back()));
    if (entry == map.end()) return;
    taken = std::move(entry->second);
    map.erase(entry);
  });
  return taken;
}

}  // namespace chainrunner
