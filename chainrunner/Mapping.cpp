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

/// Whether the target is all of the query, the headers or the cookies.
bool isWhole(const Target& target) {
  return target.name.empty() &&
         (target.part == Part::query || target.part == Part::header || target.part == Part::cookie);
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

void makeFloat(data_t& value) {
  if (value.is(Tag::integer)) value = static_cast<double>(value.get<std::int64_t>());
}

/// Whole numbers and booleans become text; a double keeps its kind, since a time is one.
void makeText(data_t& value) {
  if (value.is(Tag::integer)) value = std::to_string(value.get<std::int64_t>());
  if (value.is(Tag::boolean)) value = value.get<bool>() ? "true" : "false";
}

struct KindName {
  const char* name;
  const char* article;
  FieldKind kind;
  Tag tag;
};

constexpr KindName kindNames[] = {{"boolean", "a", FieldKind::boolean, Tag::boolean},
                                  {"integer", "an", FieldKind::integer, Tag::integer},
                                  {"string", "a", FieldKind::string, Tag::string},
                                  {"object", "an", FieldKind::object, Tag::map},
                                  {"list", "a", FieldKind::list, Tag::list}};

void checkKind(const data_t& value, const EventRules::Check& check) {
  for (const KindName& each : kindNames)
    if (each.kind == check.kind && !value.is(each.tag))
      throw MappingError(fieldText(check.field) + " is not " + each.article + " " + each.name + " but " +
                         value.type_name());
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

void checkIsClosed(const data_t& payload) {
  if (payload.empty()) return;
  if (!payload.is(Tag::map)) throw MappingError(std::string("the payload is not an object but ") + payload.type_name());
  for (const auto& entry : payload.get<map_t>())
    throw MappingError("the payload has an unknown field \"" + entry.first.get<std::string>() + "\"");
}

/// Moves fields away. What becomes the payload itself does so last, when all else has been taken from the old one.
void applyMoves(Draft& draft, const EventRules& rules) {
  std::optional<data_t> newPayload;
  for (const auto& [field, target] : rules.moves) {
    auto value = takeField(draft.payload, field);
    if (!value && isWhole(target)) value = map_t();
    if (!value) continue;
    if (target.part == Part::payload)
      newPayload = std::move(value);
    else
      put(draft, target, std::move(*value), true);
  }
  if (rules.isClosed) checkIsClosed(draft.payload);
  if (newPayload) draft.payload = std::move(*newPayload);
}

void applyRules(Draft& draft, const EventRules& rules) {
  for (const auto& field : rules.floats) visitField(draft.payload, field, makeFloat);
  for (const auto& field : rules.texts) visitField(draft.payload, field, makeText);
  for (const auto& check : rules.kinds)
    visitField(draft.payload, check.field, [&](const data_t& value) { checkKind(value, check); });
  put(draft, {Part::method, {}}, data_t(rules.method), true);
  if (!rules.path.empty()) put(draft, {Part::path, {}}, data_t(rules.path), true);
  if (!rules.contentType.empty()) put(draft, {Part::metadata, "contentType"}, data_t(rules.contentType), true);
  applyMoves(draft, rules);
}

void checkRequired(const Draft& draft, const EventRules& rules) {
  for (const auto& [target, name] : rules.required) {
    const bool isThere = target.part == Part::metadata ? draft.metadata.contains(data_t(target.name))
                                                       : draft.http.contains(data_t("path"));
    if (!isThere) throw MappingError(name + " is missing");
  }
}

void applySettings(Draft& draft, const EventRules& rules) {
  for (const auto& setting : rules.settings)
    put(draft, setting.target, std::visit([](const auto& value) { return data_t(value); }, setting.value), false);
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

std::optional<FieldKind> parseFieldKind(std::string_view text) {
  for (const KindName& each : kindNames)
    if (text == each.name) return each.kind;
  return std::nullopt;
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

const EventRules* Mapping::rulesOf(const std::string& name) const {
  const std::string* fullName = find(name);
  return fullName ? &rulesByName.at(*fullName) : nullptr;
}

std::vector<std::string> Mapping::types() const {
  std::vector<std::string> names;
  for (const auto& [name, rules] : rulesByName) names.push_back(name);
  return names;
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
  checkRequired(draft, rules);

  draft.metadata[data_t("http")] = std::move(draft.http);
  draft.metadata[data_t(HOST_MESSAGE_TYPE)] = *fullName;
  return Message(std::move(draft.payload), std::move(draft.metadata));
}

}  // namespace chainrunner
