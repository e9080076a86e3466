#include "simulator/resources/Measurements.h"

#include "simulator/errors.h"
#include "simulator/json_text.h"

namespace simulator {
namespace json = boost::json;

namespace {

constexpr Selector selectors[] = {
    {"source", Selector::Test::Text, "source.id"},
    {"type", Selector::Test::Text, "type"},
    {"valueFragmentType", Selector::Test::Has, ""},
    {"valueFragmentSeries", Selector::Test::HasWithin, "valueFragmentType"},
    {"dateFrom", Selector::Test::From, "time"},
    {"dateTo", Selector::Test::To, "time"},
    {"q", Selector::Test::Filter, ""},
    {"query", Selector::Test::Filter, ""},
};
constexpr Column columns[] = {{"source.id", "source"}, {"type", "type"}};

constexpr const char* listField = "measurements";

}  // namespace

Measurements::Measurements(Workplace& workplace)
    : DocumentResource(workplace, {.kind = Kind::Measurement,
                                   .path = "/measurement/measurements",
                                   .name = "measurement",
                                   .what = "measurement",
                                   .collection = listField,
                                   .fixed = {"source", "type", "time"},
                                   .maintained = {},
                                   .selectors = selectors,
                                   .columns = columns,
                                   .removable = true}) {}

void Measurements::examine(FieldCheck& check, json::object&, const json::object*) {
  check.source("source", managedObjectExists());
  check.text("type");
  check.timestamp("time");
}

Answer Measurements::answer(const Request& request, std::span<const std::string> below) {
  if (!below.empty() || request.method != "POST") return DocumentResource::answer(request, below);
  if (hasMediaType(request, "measurementcollection")) {
    const json::object body = readBody(request, "measurementcollection");
    if (const json::value* elements = body.if_contains(listField)) return createMany(*elements);
    throw RequestError(422, quoted(listField) + " is missing");
  }
  const json::object body = readBody(request, "measurement");
  const json::value* elements = body.if_contains(listField);
  const bool isCollection = elements != nullptr && elements->is_array() && !hasMediaType(request, "measurement");
  return isCollection ? createMany(*elements) : createdAnswer(createFrom(body));
}

Answer Measurements::createMany(const json::value& elements) {
  if (!elements.is_array()) {
    throw RequestError(422, quoted(listField) + " must be an array, not " + describeKind(elements));
  }
  Answer answer;
  answer.status = 201;
  answer.contentType = mediaType("measurementcollection");
  answer.body = "{\"measurements\":[";
  std::size_t index = 0;
  for (const json::value& element : elements.get_array()) {
    answer.body += index == 0 ? "{\"id\":" : ",{\"id\":";
    appendJsonString(answer.body, createElement(element, index));
    answer.body += '}';
    ++index;
  }
  answer.body += "]}";
  return answer;
}

std::string Measurements::createElement(const json::value& element, std::size_t index) {
  const std::string label = quoted(std::string(listField) + "[" + std::to_string(index) + "]");
  if (!element.is_object()) {
    throw RequestError(422, label + " must be an object, not " + describeKind(element));
  }
  try {
    return createFrom(element.get_object());
  } catch (const RequestError& refusal) {
    throw RequestError(refusal.status, label + ": " + refusal.what());
  }
}

}  // namespace simulator
