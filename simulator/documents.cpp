#include "simulator/documents.h"

#include <algorithm>
#include <boost/beast/core/string.hpp>

#include "simulator/errors.h"
#include "simulator/json_text.h"
#include "simulator/timestamp.h"

namespace simulator {
namespace json = boost::json;

namespace {

std::string_view withoutParameters(std::string_view contentType) {
  contentType = contentType.substr(0, contentType.find(';'));
  while (!contentType.empty() && contentType.back() == ' ') contentType.remove_suffix(1);
  return contentType;
}

void checkContentType(const Request& request, std::string_view name) {
  const std::string_view given = withoutParameters(request.header("Content-Type"));
  const std::string own = mediaType(name);
  if (boost::beast::iequals(given, "application/json") || hasMediaType(request, name)) return;
  const std::string complaint =
      given.empty() ? "the request has no content type" : "the content type is " + quoted(given);
  throw RequestError(415, complaint + ", where application/json or " + own + " is expected");
}

}  // namespace

std::string mediaType(std::string_view name) {
  return std::string("application/vnd.com.rdx.marlovance.").append(name).append("+json");
}

std::string describeKind(const json::value& value) {
  switch (value.kind()) {
    case json::kind::null:
      return "null";
    case json::kind::bool_:
      return "a boolean";
    case json::kind::string:
      return "a text";
    case json::kind::array:
      return "an array";
    case json::kind::object:
      return "an object";
    default:
      return "a number";
  }
}

bool hasMediaType(const Request& request, std::string_view name) {
  return boost::beast::iequals(withoutParameters(request.header("Content-Type")), mediaType(name));
}

bool isJson(std::string_view contentType) {
  const std::string_view type = withoutParameters(contentType);
  return boost::beast::iequals(type, "application/json") ||
         (type.size() > 5 && boost::beast::iequals(type.substr(type.size() - 5), "+json"));
}

json::object readBody(const Request& request, std::string_view name) {
  checkContentType(request, name);
  try {
    json::value body = parseJson(request.body);
    if (body.is_object()) return std::move(body.get_object());
    throw RequestError(422, "the body must be a JSON object, not " + describeKind(body));
  } catch (const JsonError& error) {
    throw RequestError(400, std::string("the body is no JSON: ") + error.what());
  }
}

void FieldCheck::problem(const std::string& text) {
  if (!problems.empty()) problems += "; ";
  problems += text;
}

void FieldCheck::finish() const {
  if (!problems.empty()) throw RequestError(422, problems);
}

std::string FieldCheck::label(std::string_view name) const {
  return quoted(std::string(prefix).append(name));
}

const json::value* FieldCheck::present(const char* name) {
  if (!concerns(name)) return nullptr;
  const json::value* value = document.if_contains(name);
  if (value == nullptr) problem(label(name) + " is missing");
  return value;
}

const json::string* FieldCheck::presentText(const char* name) {
  const json::value* value = present(name);
  if (value == nullptr) return nullptr;
  if (!value->is_string()) problem(label(name) + " must be a text, not " + describeKind(*value));
  return value->if_string();
}

void FieldCheck::text(const char* name) {
  const json::string* text = presentText(name);
  if (text != nullptr && text->empty()) problem(label(name) + " must not be empty");
}

void FieldCheck::optionalText(const char* name) {
  if (document.contains(name)) presentText(name);
}

void FieldCheck::texts(const char* name) {
  const json::value* value = present(name);
  if (value == nullptr) return;
  if (value->is_array() && value->get_array().empty()) problem(label(name) + " must not be empty");
  optionalTexts(name);
}

void FieldCheck::optionalTexts(const char* name) {
  const json::value* value = document.if_contains(name);
  if (value == nullptr || !concerns(name)) return;
  if (!value->is_array()) {
    problem(label(name) + " must be an array of texts, not " + describeKind(*value));
    return;
  }
  std::size_t index = 0;
  for (const json::value& element : value->get_array()) {
    const std::string elementLabel = quoted(prefix + name + "[" + std::to_string(index++) + "]");
    if (!element.is_string()) return problem(elementLabel + " must be a text, not " + describeKind(element));
    if (element.get_string().empty()) return problem(elementLabel + " must not be empty");
  }
}

json::object* FieldCheck::object(const char* name) {
  if (present(name) == nullptr) return nullptr;
  json::value& value = document.at(name);
  if (!value.is_object()) problem(label(name) + " must be an object, not " + describeKind(value));
  return value.if_object();
}

void FieldCheck::take(const FieldCheck& other) {
  if (!other.problems.empty()) problem(other.problems);
}

void FieldCheck::timestamp(const char* name) {
  const json::string* text = presentText(name);
  if (text == nullptr || parseTimestamp(*text)) return;
  problem(label(name) +
          " must be an ISO 8601 timestamp with an offset or Z, such as 2024-05-01T12:00:00.000+02:00, not " +
          quoted(*text));
}

void FieldCheck::oneOf(const char* name, std::initializer_list<std::string_view> words) {
  const json::string* text = presentText(name);
  if (text == nullptr || std::find(words.begin(), words.end(), std::string_view(*text)) != words.end()) return;
  std::string list;
  for (const std::string_view word : words) list.append(list.empty() ? "" : ", ").append(word);
  problem(label(name) + " must be one of " + list + ", not " + quoted(*text));
}

void FieldCheck::id(const char* name, const std::function<bool(const std::string&)>& exists) {
  const std::string known = knownId(prefix + name, present(name), exists);
  if (!known.empty()) document[name] = known;
}

void FieldCheck::source(const char* name, const std::function<bool(const std::string&)>& exists) {
  const json::value* value = present(name);
  if (value == nullptr) return;
  const json::object* object = value->if_object();
  if (object == nullptr) {
    problem(label(name) + " must be an object with an \"id\", not " + describeKind(*value));
    return;
  }
  const std::string idName = prefix + name + ".id";
  const json::value* idValue = object->if_contains("id");
  if (idValue == nullptr) problem(quoted(idName) + " is missing");
  const std::string known = knownId(idName, idValue, exists);
  if (!known.empty()) document[name] = json::object({{"id", known}});
}

std::string FieldCheck::knownId(const std::string& label, const json::value* value,
                                const std::function<bool(const std::string&)>& exists) {
  if (value == nullptr) return {};
  if (!value->is_string() && !value->is_int64()) {
    problem(quoted(label) + " must be a text, not " + describeKind(*value));
    return {};
  }
  const std::string id = value->is_string() ? std::string(value->get_string()) : toJson(*value);
  if (exists(id)) return id;
  problem(quoted(label) + " names no managed object: " + quoted(id));
  return {};
}

void FieldCheck::fixed(const std::vector<std::string_view>& names) {
  for (const std::string_view name : names) {
    if (concerns(name)) problem(label(name) + " is fixed at creation, an update can't change it");
  }
}

}  // namespace simulator
