#include "chainrunner/EventRules.h"

#include <map>
#include <utility>

namespace chainrunner {

std::optional<Target> Target::parse(std::string_view text) {
  static const std::map<std::string_view, Part> whole = {{"method", Part::method},  {"path", Part::path},
                                                         {"query", Part::query},    {"headers", Part::header},
                                                         {"cookies", Part::cookie}, {"payload", Part::payload}};
  static const std::map<std::string_view, Part> named = {
      {"metadata", Part::metadata}, {"query", Part::query}, {"header", Part::header}, {"cookie", Part::cookie}};
  const std::size_t dot = text.find('.');
  const auto& parts = dot == std::string_view::npos ? whole : named;
  const auto part = parts.find(text.substr(0, dot));
  if (part == parts.end()) return std::nullopt;
  if (dot == std::string_view::npos) return Target{part->second, {}};
  if (dot + 1 == text.size()) return std::nullopt;
  return Target{part->second, std::string(text.substr(dot + 1))};
}

std::optional<FieldKind> parseFieldKind(std::string_view text) {
  static constexpr std::pair<std::string_view, FieldKind> names[] = {{"boolean", FieldKind::boolean},
                                                                     {"integer", FieldKind::integer},
                                                                     {"string", FieldKind::string},
                                                                     {"object", FieldKind::object},
                                                                     {"list", FieldKind::list}};
  for (const auto& [name, kind] : names)
    if (text == name) return kind;
  return std::nullopt;
}

}  // namespace chainrunner
