#include "simulator/resources/Events.h"

namespace simulator {
namespace json = boost::json;

namespace {

constexpr Selector selectors[] = {
    {"source", Selector::Test::Text, "source.id"},
    {"type", Selector::Test::Text, "type"},
    {"fragmentType", Selector::Test::Has, ""},
    {"dateFrom", Selector::Test::From, "time"},
    {"dateTo", Selector::Test::To, "time"},
    {"createdFrom", Selector::Test::From, "creationTime"},
    {"createdTo", Selector::Test::To, "creationTime"},
    {"q", Selector::Test::Filter, ""},
    {"query", Selector::Test::Filter, ""},
};
constexpr Column columns[] = {{"source.id", "source"}, {"type", "type"}};

}  // namespace

Events::Events(Workplace& workplace)
    : DocumentResource(workplace, {.kind = Kind::Event,
                                   .path = "/event/events",
                                   .name = "event",
                                   .what = "event",
                                   .collection = "events",
                                   .fixed = {"source", "type", "time"},
                                   .maintained = {},
                                   .selectors = selectors,
                                   .columns = columns,
                                   .removable = true}) {}

void Events::examine(FieldCheck& check, json::object&, const json::object*) {
  check.source("source", managedObjectExists());
  check.text("type");
  check.text("text");
  check.timestamp("time");
}

}  // namespace simulator
