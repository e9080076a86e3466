#include "chainrunner/Mapping.h"

#include <utility>

namespace chainrunner {

namespace {

using Part = Target::Part;

/// The message in the making.
struct Draft {
  data_t payload;
  map_t metadata;
  map_t http;
};

map_t& childMap(map_t& parent, const char* key) {
  data_t& value = parent[data_t(key)];
  if (value.empty()) value = map_t();
  return value.get<map_t>();
}

/// Where the named parts of a request lie in "http".
const char* containerKey(Part part) {
  switch (part) {
    case Part::query:
      return "queryString";
    case Part::header:
      return "headers";
    default:
      return "cookies";
  }
}

void merge(map_t& into, map_t&& from) {
  for (auto& entry : from) into[entry.first] = std::move(entry.second);
}

/// Puts the value at its target. Throws MappingError when it has to be a map and isn't.
void put(Draft& draft, const Target& target, data_t value, bool overwrite) {
  const auto store = [&](map_t& map, const std::string& key) {
    if (overwrite)
      map[data_t(key)] = std::move(value);
    else
      map.insert(data_t(key), std::move(value));
  };
  switch (target.part) {
    case Part::metadata:
      return store(draft.metadata, target.name);
    case Part::method:
      return store(draft.http, "method");
    case Part::path:
      return store(draft.http, "path");
    case Part::payload:
      draft.payload = std::move(value);
      return;
    default:
      break;
  }
  map_t& container = childMap(draft.http, containerKey(target.part));
  if (!target.name.empty()) return store(container, target.name);
  if (!value.is(Tag::map))
    throw MappingError(std::string("the value for ") + containerKey(target.part) + " is not an object but " +
                       value.type_name());
  merge(container, std::move(value.get<map_t>()));
}

/// Calls `visit` with each value that the path leads to, below `value`.
template <class Visit>
void visitField(data_t& value, const EventRules::FieldPath& path, std::size_t level, const Visit& visit) {
  if (level == path.size()) return visit(value);
  const std::string& name = path[level];
  if (value.is(Tag::list) && name == "*") {
    for (data_t& element : value.get<list_t>()) visitField(element, path, level + 1, visit);
  } else if (value.is(Tag::map) && name == "*") {
    for (auto& entry : value.get<map_t>()) visitField(entry.second, path, level + 1, visit);
  } else if (value.is(Tag::map)) {
    const auto entry = value.get<map_t>().find(data_t(name));
    if (entry != value.get<map_t>().end()) visitField(entry->second, path, level + 1, visit);
  }
}

void makeFloat(data_t& value) {
  if (value.is(Tag::integer)) value = static_cast<double>(value.get<std::int64_t>());
}

/// Takes the field out of the payload; nothing when it isn't there.
std::optional<data_t> takeField(data_t& payload, const EventRules::FieldPath& path) {
  std::optional<data_t> taken;
  const EventRules::FieldPath parentPath(path.begin(), path.end() - 1);
  visitField(payload, parentPath, 0, [&](data_t& parent) {
    if (!parent.is(Tag::map)) return;
    map_t& map = parent.get<map_t>();
    const auto entry = map.find(data_t(path.back()));
    if (entry == map.end()) return;
    taken = std::move(entry->second);
    map.erase(entry);
  });
  return taken;
}

/// The codec looks only whether "requiresResponse" is there, so one that says no has to go. An answer without "reqId"
/// couldn't be made, and the event would end without an outcome.
void checkReplyKeys(map_t& metadata) {
  const data_t requiresKey("requiresResponse");
  const auto requires_ = metadata.find(requiresKey);
  if (requires_ != metadata.end()) {
    if (!requires_->second.is(Tag::boolean))
      throw MappingError(std::string("requiresResponse is not a boolean but ") + requires_->second.type_name());
    if (!requires_->second.get<bool>()) metadata.erase(requires_);
  }
  const auto reqId = metadata.find(data_t("reqId"));
  if (reqId != metadata.end() && !reqId->second.is(Tag::integer))
    throw MappingError(std::string("reqId is not an integer but ") + reqId->second.type_name());
  if (reqId == metadata.end() && metadata.contains(requiresKey)) throw MappingError("requiresResponse needs a reqId");
  const auto channel = metadata.find(data_t("responseChannel"));
  if (channel != metadata.end() && !channel->second.isString())
    throw MappingError(std::string("responseChannel is not a string but ") + channel->second.type_name());
}

void addLineMetadata(Draft& draft, map_t&& metadata) {
  for (const char* reserved : {HOST_MESSAGE_TYPE, "http"})
    if (metadata.contains(data_t(reserved)))
      throw MappingError(std::string("metadata may not hold \"") + reserved + "\"");
  merge(draft.metadata, std::move(metadata));
}

void applyRules(Draft& draft, const EventRules& rules) {
  for (const auto& field : rules.floats) visitField(draft.payload, field, 0, makeFloat);
  put(draft, {Part::method, {}}, data_t(rules.method), true);
  put(draft, {Part::path, {}}, data_t(rules.path), true);
  if (!rules.contentType.empty()) put(draft, {Part::metadata, "contentType"}, data_t(rules.contentType), true);
  for (const auto& move : rules.moves)
    if (auto value = takeField(draft.payload, move.field)) put(draft, move.target, std::move(*value), true);
}

void applySettings(Draft& draft, const EventRules& rules) {
  for (const auto& setting : rules.settings)
    put(draft, setting.target, std::visit([](const auto& value) { return data_t(value); }, setting.value), false);
}

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> parts(1);
  for (const char character : text) {
    if (character == separator)
      parts.emplace_back();
    else
      parts.back() += character;
  }
  return parts;
}

}  // namespace

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

EventRules::FieldPath EventRules::parseField(std::string_view text) {
  return split(text, '/');
}

void Mapping::set(const std::string& fullName, EventRules rules) {
  rulesByName[fullName] = std::move(rules);
  fullNames[fullName] = fullName;
  fullNames[fullName.substr(fullName.rfind('.') + 1)] = fullName;
}

const std::string* Mapping::find(const std::string& name) const {
  const auto found = fullNames.find(name);
  return found == fullNames.end() ? nullptr : &found->second;
}

Message Mapping::toMessage(const std::string& type, data_t payload, map_t metadata) const {
  const std::string* fullName = find(type);
  if (!fullName) throw MappingError("unknown event type \"" + type + "\"");
  const EventRules& rules = rulesByName.at(*fullName);

  Draft draft{std::move(payload), {}, {}};
  applyRules(draft, rules);
  addLineMetadata(draft, std::move(metadata));
  applySettings(draft, rules);
  checkReplyKeys(draft.metadata);
  for (const std::string& key : rules.required)
    if (!draft.metadata.contains(data_t(key))) throw MappingError(key + " is missing");

  draft.metadata[data_t("http")] = std::move(draft.http);
  draft.metadata[data_t(HOST_MESSAGE_TYPE)] = *fullName;
  return Message(std::move(draft.payload), std::move(draft.metadata));
}

}  // namespace chainrunner
