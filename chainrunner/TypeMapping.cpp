#include "chainrunner/TypeMapping.h"

#include <optional>
#include <utility>

namespace chainrunner {

namespace {

using Part = Target::Part;

void merge(map_t& into, map_t&& from) {
  for (auto& entry : from) into[entry.first] = std::move(entry.second);
}

void makeFloat(data_t& value) {
  if (value.is(Tag::integer)) value = static_cast<double>(value.get<std::int64_t>());
}

/// Whole numbers and booleans become text; a double keeps its kind, since a time is one.
void makeText(data_t& value) {
  if (value.is(Tag::integer)) value = std::to_string(value.get<std::int64_t>());
  if (value.is(Tag::boolean)) value = value.get<bool>() ? "true" : "false";
}

struct KindText {
  FieldKind kind;
  Tag tag;
  const char* text;
};

constexpr KindText kindTexts[] = {{FieldKind::boolean, Tag::boolean, "a boolean"},
                                  {FieldKind::integer, Tag::integer, "an integer"},
                                  {FieldKind::string, Tag::string, "a string"},
                                  {FieldKind::object, Tag::map, "an object"},
                                  {FieldKind::list, Tag::list, "a list"}};

void checkKind(const data_t& value, const EventRules::Check& check) {
  for (const KindText& each : kindTexts)
    if (each.kind == check.kind && !value.is(each.tag))
      throw MappingError(fieldText(check.field) + " is not " + each.text + " but " + value.type_name());
}

void checkIsClosed(const data_t& payload) {
  if (payload.empty()) return;
  if (!payload.is(Tag::map)) throw MappingError(std::string("the payload is not an object but ") + payload.type_name());
  for (const auto& entry : payload.get<map_t>())
    throw MappingError("the payload has an unknown field \"" + entry.first.get<std::string>() + "\"");
}

data_t valueOf(const EventRules::Constant& constant) {
  return std::visit([](const auto& value) { return data_t(value); }, constant);
}

/// A deep copy that the host makes in one call.
map_t copyOf(const data_t& map) {
  data_t copy = map.copy();
  return std::move(copy.get<map_t>());
}

}  // namespace

TypeMapping::TypeMapping(std::string fullName, EventRules rules) : name(std::move(fullName)), source(std::move(rules)) {
  map_t commonMetadata, commonHttp;
  if (!source.contentType.empty()) commonMetadata.insert(keys.contentType, source.contentType);
  commonHttp.insert(keys.method, source.method);
  if (!source.path.empty()) commonHttp.insert(keys.path, source.path);
  metadata = std::move(commonMetadata);
  http = std::move(commonHttp);
  for (const FieldPath& field : source.floats) floats.emplace_back(field);
  for (const FieldPath& field : source.texts) texts.emplace_back(field);
  for (const EventRules::Check& rule : source.kinds) checks.push_back({PayloadField(rule.field), rule});
  for (const auto& [field, target] : source.moves) moves.push_back({PayloadField(field), placeOf(target)});
  for (const auto& [target, value] : source.settings) settings.push_back({placeOf(target), valueOf(value)});
  for (const auto& [target, text] : source.required) required.push_back({placeOf(target), text});
}

TypeMapping::Place TypeMapping::placeOf(const Target& target) const {
  switch (target.part) {
    case Part::method:
      return {target.part, hashed_key("method")};
    case Part::path:
      return {target.part, hashed_key("path")};
    default:
      return {target.part, target.name.empty() ? hashed_key() : hashed_key(target.name)};
  }
}

Message TypeMapping::toMessage(data_t payload, map_t lineMetadata) const {
  Draft draft{std::move(payload), copyOf(metadata), copyOf(http)};
  convertFields(draft.payload);
  moveFields(draft);
  if (!lineMetadata.empty()) addLineMetadata(draft.metadata, std::move(lineMetadata));
  for (const auto& [place, value] : settings) putMissing(draft, place, value);
  checkReplyKeys(draft.metadata);
  checkRequired(draft);

  draft.metadata.set(keys.http, std::move(draft.http));
  draft.metadata.set(keys.type, name);
  return Message(std::move(draft.payload), std::move(draft.metadata));
}

void TypeMapping::convertFields(data_t& payload) const {
  for (const PayloadField& field : floats) field.visit(payload, makeFloat);
  for (const PayloadField& field : texts) field.visit(payload, makeText);
  for (const auto& [field, rule] : checks)
    field.visit(payload, [&rule = rule](const data_t& value) { checkKind(value, rule); });
}

/// Moves fields away. What becomes the payload itself does so last, when all else has been taken from the old one.
void TypeMapping::moveFields(Draft& draft) const {
  std::optional<data_t> newPayload;
  for (const auto& [field, place] : moves) {
    std::optional<data_t> value = field.take(draft.payload);
    const bool isContainer = place.part == Part::query || place.part == Part::header || place.part == Part::cookie;
    if (!value && isContainer && place.isWhole()) value = map_t();
    if (!value) continue;
    if (place.part == Part::payload)
      newPayload = std::move(value);
    else
      put(draft, place, std::move(*value));
  }
  if (source.isClosed) checkIsClosed(draft.payload);
  if (newPayload) draft.payload = std::move(*newPayload);
}

/// Where the named parts of a request lie in "http".
const hashed_key& TypeMapping::containerKey(Part part) const {
  switch (part) {
    case Part::query:
      return keys.queryString;
    case Part::header:
      return keys.headers;
    default:
      return keys.cookies;
  }
}

map_t& TypeMapping::containerOf(Draft& draft, Part part) const {
  if (part == Part::metadata) return draft.metadata;
  if (part == Part::method || part == Part::path) return draft.http;
  const hashed_key& key = containerKey(part);
  const auto found = draft.http.find(key);
  if (found != draft.http.end()) return found->second.get<map_t>();
  return draft.http.set(key, map_t()).get<map_t>();
}

/// Puts the value at its place, over what is there. Throws MappingError when it has to be a map and isn't.
void TypeMapping::put(Draft& draft, const Place& place, data_t value) const {
  if (place.part == Part::payload) {
    draft.payload = std::move(value);
    return;
  }
  map_t& container = containerOf(draft, place.part);
  if (!place.isWhole()) {
    container.set(place.key, std::move(value));
    return;
  }
  if (!value.is(Tag::map))
    throw MappingError("the value for " + containerKey(place.part).get<std::string>() + " is not an object but " +
                       value.type_name());
  merge(container, std::move(value.get<map_t>()));
}

void TypeMapping::putMissing(Draft& draft, const Place& place, const data_t& value) const {
  const bool hasName = place.part != Part::payload && !place.isWhole();
  if (hasName && containerOf(draft, place.part).contains(place.key)) return;
  put(draft, place, value.copy());
}

void TypeMapping::addLineMetadata(map_t& metadata, map_t&& added) const {
  for (const hashed_key* reserved : {&keys.type, &keys.http})
    if (added.contains(*reserved)) throw MappingError("metadata may not hold \"" + reserved->get<std::string>() + "\"");
  merge(metadata, std::move(added));
}

/// The codec looks only whether "requiresResponse" is there, so one that says no has to go. An answer without "reqId"
/// couldn't be made, and the event would end without an outcome.
void TypeMapping::checkReplyKeys(map_t& metadata) const {
  const auto requires_ = metadata.find(keys.requiresResponse);
  if (requires_ != metadata.end()) {
    if (!requires_->second.is(Tag::boolean))
      throw MappingError(std::string("requiresResponse is not a boolean but ") + requires_->second.type_name());
    if (!requires_->second.get<bool>()) metadata.erase(requires_);
  }
  const auto reqId = metadata.find(keys.reqId);
  if (reqId != metadata.end() && !reqId->second.is(Tag::integer))
    throw MappingError(std::string("reqId is not an integer but ") + reqId->second.type_name());
  if (reqId == metadata.end() && metadata.contains(keys.requiresResponse))
    throw MappingError("requiresResponse needs a reqId");
  const auto channel = metadata.find(keys.responseChannel);
  if (channel != metadata.end() && !channel->second.isString())
    throw MappingError(std::string("responseChannel is not a string but ") + channel->second.type_name());
}

void TypeMapping::checkRequired(const Draft& draft) const {
  for (const auto& [place, text] : required) {
    const map_t& map = place.part == Part::metadata ? draft.metadata : draft.http;
    if (!map.contains(place.key)) throw MappingError(text + " is missing");
  }
}

}  // namespace chainrunner
