// What tells the event types from each other: one row each.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/blackbox/BlackboxTest.h"
#include "tests/blackbox/codec_events.h"

namespace tests {
namespace {

struct EventTypeCase {
  const char* type;
  const char* path;
  const char* emptyFields;    ///< with a field that no list names
  const char* fields;         ///< every field that a list names
  const char* createdFields;  ///< what a POST has of them
  const char* updatedFields;  ///< what a PUT has of them
  const char* key;            ///< the ordering key of the POST, as JSON
};

void PrintTo(const EventTypeCase& each, std::ostream* out) {
  *out << each.type;
}

std::string typeNamed(const EventTypeCase& each) {
  return std::string("com.kelvo.marlovance.") + each.type;
}

class EventTypesTest : public BlackboxTest, public testing::WithParamInterface<EventTypeCase> {
 protected:
  MessageBuilder eventWith(std::string_view payload) const {
    return event(typeNamed(GetParam())).path(GetParam().path).payload(payload);
  }

  /// The fields as JSON, with an id in front.
  static std::string withId(const char* fields) { return R"({"id": "77", )" + std::string(fields).substr(1); }
};

TEST_P(EventTypesTest, DropEmptyFieldsOfTheirOwn) {
  send(eventWith(GetParam().emptyFields));
  EXPECT_EQ(takeRequest().payload(), R"({"other":""})");
}

TEST_P(EventTypesTest, CreateWithTheFieldsOfACreation) {
  send(eventWith(GetParam().fields));
  const Received request = takeRequest();
  EXPECT_EQ(request.http("method"), R"("POST")");
  EXPECT_EQ(request.http("path"), tests::quoted(GetParam().path));
  EXPECT_EQ(request.payload(), json(GetParam().createdFields));
}

TEST_P(EventTypesTest, UpdateWithTheFieldsOfAnUpdate) {
  send(eventWith(withId(GetParam().fields)));
  const Received request = takeRequest();
  EXPECT_EQ(request.http("method"), R"("PUT")");
  EXPECT_EQ(request.http("path"), tests::quoted(std::string(GetParam().path) + "/77"));
  EXPECT_EQ(request.payload(), json(GetParam().updatedFields));
}

TEST_P(EventTypesTest, AreOrderedByTheirKey) {
  createPlugin(R"({"username": "user", "password": "secret", "concurrencyMode": "auto"})");
  send(eventWith(GetParam().fields));
  EXPECT_EQ(takeRequest().metadata("concurrencyControlKey"), GetParam().key);
}

TEST_P(EventTypesTest, NameThePayloadOfTheirAcknowledgement) {
  send(eventWith(GetParam().fields).reqId(1).requiresResponse());
  respond(created(0));
  const Received acknowledgement = takeHostEvents().at(0);
  EXPECT_EQ(acknowledgement.type(), "com.kelvo.marlovance.ObjectCommitted");
  EXPECT_EQ(acknowledgement.document.at("payload").at("$name"), boost::json::value(typeNamed(GetParam()).c_str()));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, EventTypesTest,
    testing::Values(
        EventTypeCase{"ManagedObject", "/registry/managed-objects",
                      R"({"name": "", "type": "", "q4v_Position": {}, "q4v_SupportedMeasurements": [],
                "q4v_SupportedOperations": [], "other": ""})",
                      R"({"name": "n", "type": "t", "q4v_Position": {"lat": 1.5}, "q4v_SupportedMeasurements": ["m"],
                "q4v_SupportedOperations": ["o"], "time": "1.5"})",
                      R"({"name": "n", "type": "t", "q4v_Position": {"lat": 1.5}, "q4v_SupportedMeasurements": ["m"],
                "q4v_SupportedOperations": ["o"], "time": "1970-01-01T00:00:01.500Z"})",
                      R"({"name": "n", "type": "t", "q4v_Position": {"lat": 1.5}, "q4v_SupportedMeasurements": ["m"],
                "q4v_SupportedOperations": ["o"], "time": "1970-01-01T00:00:01.500Z"})",
                      "absent"},
        EventTypeCase{"Alarm", "/alarm/alarms",
                      R"({"source": "", "type": "", "time": "", "text": "", "status": "", "severity": "",
                          "other": ""})",
                      R"({"source": {"id": "12"}, "type": "t", "time": 1700000000.25, "text": "x", "status": "ACTIVE",
                          "severity": "MAJOR"})",
                      R"({"source": {"id": "12"}, "type": "t", "time": "2023-11-14T22:13:20.250Z", "text": "x",
                          "status": "ACTIVE", "severity": "MAJOR"})",
                      R"({"source": {"id": "12"}, "text": "x", "status": "ACTIVE", "severity": "MAJOR"})", R"("12")"},
        EventTypeCase{"Event", "/event/events", R"({"source": "", "type": "", "time": "", "text": "", "other": ""})",
                      R"({"source": {"id": "12"}, "type": "t", "time": 1700000000.25, "text": "x", "status": "s"})",
                      R"({"source": {"id": "12"}, "type": "t", "time": "2023-11-14T22:13:20.250Z", "text": "x",
                          "status": "s"})",
                      R"({"text": "x", "status": "s"})", R"("12")"},
        EventTypeCase{"Operation", "/operation/operations", R"({"deviceId": "", "status": "", "other": ""})",
                      R"({"deviceId": "34", "status": "PENDING", "delivery": {"log": []}, "type": "t"})",
                      R"({"deviceId": "34", "delivery": {"log": []}, "type": "t"})",
                      R"({"status": "PENDING", "type": "t"})", R"("34")"}),
    [](const auto& row) { return row.param.type; });

class OtherTypesTest : public BlackboxTest {};

TEST_F(OtherTypesTest, KeepEmptyFieldsThatTheyDoNotName) {
  send(event("com.kelvo.marlovance.Operation").path("/operation/operations").payload(R"({"text": "", "type": ""})"));
  EXPECT_EQ(takeRequest().payload(), R"({"text":"","type":""})");
  send(event("com.kelvo.marlovance.Event").path("/event/events").payload(R"({"status": "", "severity": ""})"));
  EXPECT_EQ(takeRequest().payload(), R"({"severity":"","status":""})");
}

TEST_F(OtherTypesTest, DropAnEmptySourceAndAnEmptyFieldWithoutANameFromMeasurements) {
  send(event("com.kelvo.marlovance.Measurement")
           .path("/measurement/measurements")
           .payload(R"({"source": "", "": "", "type": ""})"));
  EXPECT_EQ(takeRequest().payload(), R"({"measurements":[{"type":""}]})");
  send(event("com.kelvo.marlovance.MeasurementFragment")
           .path("/measurement/measurements")
           .payload(R"({"source": "", "": "", "type": "", "valueFragment": "f", "valueSeries": "s", "value": 1.5})"));
  EXPECT_EQ(takeRequest().payload(), R"({"f":{"s":{"value":1.5}},"type":""})");
}

}  // namespace
}  // namespace tests
