#include "simulator/resources/DocumentResource.h"

#include <algorithm>

#include "simulator/errors.h"
#include "simulator/json_text.h"
#include "simulator/paging.h"

namespace simulator {
namespace json = boost::json;

namespace {

void mergeField(json::object& document, std::string_view name, const json::value& value) {
  if (value.is_null()) {
    document.erase(name);
  } else {
    document[name] = value;
  }
}

/// Whether two values of a client name the same managed object: by its id, or by an object that holds it.
bool namesTheSame(const json::value& one, const json::value& other) {
  if (one.is_object() && other.is_object()) {
    const json::value* const id = one.get_object().if_contains("id");
    const json::value* const otherId = other.get_object().if_contains("id");
    return id != nullptr && otherId != nullptr && namesTheSame(*id, *otherId);
  }
  const auto textOf = [](const json::value& id) { return id.is_int64() ? json::value(toJson(id)) : id; };
  return textOf(one) == textOf(other);
}

/// Takes a field out of `changes` that stays what it was `before`.
void dropRepeated(json::object& changes, std::string_view name, const json::object& before) {
  const json::value* const now = changes.if_contains(name);
  if (now == nullptr) return;
  const json::value* const then = before.if_contains(name);
  const bool isReference = name == "source" || name == "deviceId";
  const bool isRepeated =
      then == nullptr ? now->is_null() : *now == *then || (isReference && namesTheSame(*now, *then));
  if (isRepeated) changes.erase(name);
}

}  // namespace

Answer DocumentResource::answer(const Request& request, std::span<const std::string> below) {
  if (below.empty()) {
    if (request.method == "GET") return list(request);
    if (request.method == "POST") return create(request);
    refuseMethod(request, "GET, POST");
  }
  if (below.size() > 1) return answerBelow(request, below);
  if (request.method == "GET") return documentAnswer(200, below[0], find(below[0]));
  if (request.method == "PUT") return update(request, below[0]);
  if (request.method == "DELETE" && kind.removable) return remove(below[0]);
  refuseMethod(request, kind.removable ? "GET, PUT, DELETE" : "GET, PUT");
}

Answer DocumentResource::answerBelow(const Request& request, std::span<const std::string>) {
  refusePath(request);
}

Answer DocumentResource::create(const Request& request) {
  return createdAnswer(createFrom(readBody(request, kind.name)));
}

std::string DocumentResource::createFrom(const json::object& fields) {
  json::object document;
  mergeClientFields(document, fields);
  FieldCheck check(document);
  examine(check, document, nullptr);
  check.finish();
  return keep(std::move(document));
}

Answer DocumentResource::createdAnswer(const std::string& id) {
  Answer answer = documentAnswer(201, id, find(id));
  answer.headers.push_back({"Location", link(id)});
  return answer;
}

Answer DocumentResource::update(const Request& request, const std::string& id) {
  const json::object before = parseJson(find(id)).as_object();
  json::object changes = readBody(request, kind.name);
  for (const std::string_view name : kind.fixed) dropRepeated(changes, name, before);
  json::object document = before;
  mergeClientFields(document, changes);
  FieldCheck check(document, changes);
  examine(check, document, &before);
  check.fixed(kind.fixed);
  check.finish();
  replace(document);
  return documentAnswer(200, id, toJson(document));
}

Answer DocumentResource::remove(const std::string& id) {
  find(id);
  forget(id);
  workplace.store.remove(kind.kind, id);
  Answer answer;
  answer.status = 204;
  return answer;
}

Answer DocumentResource::list(const Request& request) {
  const PageRequest page = readPageRequest(request, kind.selectors);
  const Condition selected = readSelection(request, kind.selectors, kind.columns);
  Answer answer;
  answer.contentType = mediaType(kind.name + "collection");
  answer.body = "{\"self\":";
  appendJsonString(answer.body, workplace.baseUrl + request.target);
  answer.body += ",\"" + kind.collection + "\":[";
  const char* separator = "";
  for (const StoredDocument& document : workplace.store.page(kind.kind, selected, page.size, page.offset())) {
    answer.body += separator;
    appendDocument(answer.body, document.id, document.text);
    separator = ",";
  }
  answer.body +=
      "],\"statistics\":" + statistics(page, [&] { return workplace.store.count(kind.kind, selected); }) + "}";
  return answer;
}

void DocumentResource::mergeClientFields(json::object& document, const json::object& fields) const {
  const auto isOurs = [&](std::string_view name) {
    return name == "id" || name == "self" || name == "creationTime" || name == "lastUpdated" ||
           std::ranges::find(kind.maintained, name) != kind.maintained.end();
  };
  for (const auto& [name, value] : fields) {
    if (!isOurs(name)) mergeField(document, name, value);
  }
}

void DocumentResource::merge(json::object& document, const json::object& changes) {
  for (const auto& [name, value] : changes) mergeField(document, name, value);
}

std::string DocumentResource::keep(json::object document) {
  return insert(document);
}

std::string DocumentResource::insert(const json::object& document) {
  const std::string id = workplace.store.nextId();
  const std::string now = timestampNow();
  std::string text = R"({"id":")" + id + R"(","creationTime":")" + now + R"(","lastUpdated":")" + now + '"';
  if (!document.empty()) text += ',';
  appendFields(text, document);
  text += '}';
  workplace.store.insert(kind.kind, id, text);
  return id;
}

void DocumentResource::replace(json::object& document) {
  document["lastUpdated"] = timestampNow();
  workplace.store.update(kind.kind, std::string(document.at("id").as_string()), toJson(document));
}

std::string DocumentResource::find(const std::string& id) const {
  if (std::optional<std::string> text = workplace.store.find(kind.kind, id)) return *std::move(text);
  throw RequestError(404, "there is no " + kind.what + " with the id " + quoted(id));
}

std::function<bool(const std::string&)> DocumentResource::managedObjectExists() const {
  return [this](const std::string& id) { return workplace.store.contains(Kind::ManagedObject, id); };
}

void DocumentResource::forget(const std::string&) {}

std::string DocumentResource::furtherFields(const std::string&) {
  return {};
}

Answer DocumentResource::documentAnswer(int status, const std::string& id, const std::string& text) {
  Answer answer;
  answer.status = status;
  answer.contentType = mediaType(kind.name);
  appendDocument(answer.body, id, text);
  return answer;
}

void DocumentResource::appendDocument(std::string& out, const std::string& id, const std::string& text) {
  // The stored text is an object with at least an id: what isn't stored goes in front of its closing brace.
  out.append(text, 0, text.size() - 1);
  out += ",\"self\":";
  appendJsonString(out, link(id));
  out += furtherFields(id);
  out += '}';
}

}  // namespace simulator
