// Fields of a payload, named by their path.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "chainrunner/values.h"

namespace chainrunner {

/// Names from the payload down; "*" is every entry of a map or list.
using FieldPath = std::vector<std::string>;

/// Splits "measurements/*/*/value". [any thread]
FieldPath parseField(std::string_view text);

/// The path as `parseField` reads it. [any thread]
std::string fieldText(const FieldPath& path);

/// A path that is made ready to be followed again and again: no name is hashed twice. Read-only. [any thread]
class PayloadField {
 public:
  explicit PayloadField(const FieldPath& path);

  /// Calls `visit` with each value that the path leads to.
  template <class Visit>
  void visit(data_t& payload, const Visit& visit) const {
    follow(payload, 0, names.size(), visit);
  }

  /// Takes the field out of the payload; nothing when it isn't there. Of several fields all go and the last is given.
  std::optional<data_t> take(data_t& payload) const;

 private:
  struct Name {
    hashed_key key;
    bool isAny;  ///< "*"
  };

  /// Visits what the first `length` names lead to, of which `level` are behind.
  template <class Visit>
  void follow(data_t& value, std::size_t level, std::size_t length, const Visit& visit) const;

  std::vector<Name> names;
};

template <class Visit>
void PayloadField::follow(data_t& value, std::size_t level, std::size_t length, const Visit& visit) const {
  if (level == length) {
    visit(value);
    return;
  }
  const Name& name = names[level];
  if (value.is(Tag::map)) {
    map_t& map = value.get<map_t>();
    if (name.isAny) {
      for (auto& entry : map) follow(entry.second, level + 1, length, visit);
    } else if (const auto entry = map.find(name.key); entry != map.end()) {
      follow(entry->second, level + 1, length, visit);
    }
  } else if (value.is(Tag::list) && name.isAny) {
    for (data_t& element : value.get<list_t>()) follow(element, level + 1, length, visit);
  }
}

}  // namespace chainrunner
