#include "simulator/resources/Events.h"

namespace simulator {
namespace json = boost::json;

Events::Events(Workplace& workplace)
    : DocumentResource(workplace, {.kind = Kind::Event,
                                   .path = "/event/events",
                                   .name = "event",
                                   .what = "event",
                                   .collection = "events",
                                   .fixed = {"source", "type", "time"},
                                   .maintained = {},
                                   .removable = true}) {}

void Events::examine(FieldCheck& check, json::object&, const json::object*) {
  check.source("source", managedObjectExists());
  check.text("type");
  check.text("text");
  check.timestamp("time");
}

}  // namespace simulator
