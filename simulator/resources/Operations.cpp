#include "simulator/resources/Operations.h"

#include "simulator/errors.h"

namespace simulator {
namespace json = boost::json;

namespace {

constexpr Selector selectors[] = {
    {"deviceId", Selector::Test::Text, "deviceId"}, {"status", Selector::Test::AnyText, "status"},
    {"fragmentType", Selector::Test::Has, ""},      {"dateFrom", Selector::Test::From, "creationTime"},
    {"dateTo", Selector::Test::To, "creationTime"}, {"q", Selector::Test::Filter, ""},
    {"query", Selector::Test::Filter, ""},
};
constexpr Column columns[] = {{"deviceId", "device"}, {"status", "status"}};

}  // namespace

Operations::Operations(Workplace& workplace)
    : DocumentResource(workplace, {.kind = Kind::Operation,
                                   .path = "/operation/operations",
                                   .name = "operation",
                                   .what = "operation",
                                   .collection = "operations",
                                   .fixed = {"deviceId", "delivery"},
                                   .maintained = {},
                                   .selectors = selectors,
                                   .columns = columns}) {}

void Operations::examine(FieldCheck& check, json::object& document, const json::object* before) {
  if (before == nullptr) document.emplace("status", "PENDING");
  check.id("deviceId", managedObjectExists());
  check.oneOf("status", {"PENDING", "EXECUTING", "SUCCESSFUL", "FAILED"});
  if (before == nullptr && document.at("status") != "PENDING") {
    check.problem("\"status\" of a new operation must be PENDING, or be left out");
  }
}

}  // namespace simulator
