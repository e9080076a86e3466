#include "simulator/resources/Alarms.h"

#include "simulator/json_text.h"

namespace simulator {
namespace json = boost::json;

namespace {

constexpr Selector selectors[] = {
    {"source", Selector::Test::Text, "source.id"},
    {"type", Selector::Test::Text, "type"},
    {"severity", Selector::Test::AnyText, "severity"},
    {"status", Selector::Test::AnyText, "status"},
    {"resolved", Selector::Test::IsResolved, "status"},
    {"dateFrom", Selector::Test::From, "time"},
    {"dateTo", Selector::Test::To, "time"},
    {"createdFrom", Selector::Test::From, "creationTime"},
    {"createdTo", Selector::Test::To, "creationTime"},
    {"q", Selector::Test::Filter, ""},
    {"query", Selector::Test::Filter, ""},
};
constexpr Column columns[] = {
    {"source.id", "source"}, {"type", "type"}, {"status", "status"}, {"severity", "severity"}};

}  // namespace

Alarms::Alarms(Workplace& workplace)
    : DocumentResource(workplace, {.kind = Kind::Alarm,
                                   .path = "/alarm/alarms",
                                   .name = "alarm",
                                   .what = "alarm",
                                   .collection = "alarms",
                                   .fixed = {"source", "type", "time"},
                                   .maintained = {"count", "firstOccurrenceTime"},
                                   .selectors = selectors,
                                   .columns = columns}) {}

void Alarms::examine(FieldCheck& check, json::object& document, const json::object* before) {
  if (before == nullptr) document.emplace("status", "ACTIVE");
  check.source("source", managedObjectExists());
  check.text("type");
  check.text("text");
  check.timestamp("time");
  check.oneOf("severity", {"CRITICAL", "MAJOR", "MINOR", "WARNING"});
  check.oneOf("status", {"ACTIVE", "ACKNOWLEDGED", "CLEARED"});
}

std::string Alarms::keep(json::object document) {
  std::optional<StoredDocument> active;
  if (document.at("status") == "ACTIVE") {
    active = workplace.store.activeAlarm(std::string(document.at("source").at("id").as_string()),
                                         std::string(document.at("type").as_string()));
  }
  if (!active) {
    document["count"] = 1;
    document["firstOccurrenceTime"] = document.at("time");
    return insert(document);
  }
  json::object repeated = parseJson(active->text).as_object();
  merge(repeated, document);
  const json::value* count = repeated.if_contains("count");
  repeated["count"] = (count != nullptr && count->is_int64() ? count->get_int64() : 1) + 1;
  replace(repeated);
  return active->id;
}

}  // namespace simulator
