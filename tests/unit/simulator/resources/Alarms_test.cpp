#include "tests/unit/simulator/PlatformTest.h"

namespace simulator {
namespace {

class AlarmsTest : public PlatformTest {};

TEST_F(AlarmsTest, CreateAnswersWithTheWholeDocument) {
  const std::string source = device();
  const Received created = client.post("/alarm/alarms", alarmOf(source));
  EXPECT_EQ(created.status, 201);
  EXPECT_EQ(created.contentType, "application/vnd.com.rdx.marlovance.alarm+json");
  EXPECT_EQ(created.headers.at("location"), platform.url() + "/alarm/alarms/2504002");
  boost::json::object expected = object(R"({"id":"2504002","source":{"id":"2504001"},"type":"leak","text":"Leaking",
      "severity":"MAJOR","status":"ACTIVE","count":1,"time":"2024-05-01T12:00:00.000+02:00",
      "firstOccurrenceTime":"2024-05-01T12:00:00.000+02:00",
      "creationTime":"1970-01-01T00:00:00.000Z","lastUpdated":"1970-01-01T00:00:00.000Z"})");
  expected["self"] = platform.url() + "/alarm/alarms/2504002";
  EXPECT_EQ(created.json(), expected);
  EXPECT_EQ(client.get("/alarm/alarms/2504002").json(), expected);
}

TEST_F(AlarmsTest, ActiveAlarmOfTheSameSourceAndTypeRaisesTheCount) {
  const std::string source = device();
  const boost::json::object first = client.post("/alarm/alarms", alarmOf(source)).json();
  const Received second =
      client.post("/alarm/alarms", R"({"source":{"id":")" + source +
                                       R"("},"type":"leak","text":"Still leaking","severity":"CRITICAL",
                                       "time":"2024-05-01T13:00:00Z","depth":0.5})");
  EXPECT_EQ(second.status, 201);
  boost::json::object expected = first;
  expected["count"] = 2;
  expected["text"] = "Still leaking";
  expected["severity"] = "CRITICAL";
  expected["time"] = "2024-05-01T13:00:00Z";
  expected["depth"] = 0.5;
  EXPECT_EQ(second.json(), expected);
  EXPECT_EQ(platform.counts().at("alarms"), 1);
}

TEST_F(AlarmsTest, OtherTypeSourceOrStatusMakesAnotherAlarm) {
  const std::string source = device();
  client.post("/alarm/alarms", alarmOf(source));
  client.post("/alarm/alarms", alarmOf(source, "fire"));
  client.post("/alarm/alarms", alarmOf(device()));
  EXPECT_EQ(platform.counts().at("alarms"), 3);
}

TEST_F(AlarmsTest, ClearedAlarmIsNotRaisedAgain) {
  const std::string source = device();
  const std::string id = client.post("/alarm/alarms", alarmOf(source)).id();
  EXPECT_EQ(client.put("/alarm/alarms/" + id, R"({"status":"CLEARED"})").json().at("status"), "CLEARED");
  const Received next = client.post("/alarm/alarms", alarmOf(source));
  EXPECT_NE(next.id(), id);
  EXPECT_EQ(next.json().at("count"), 1);
}

TEST_F(AlarmsTest, UpdateMayRepeatItsSourceButNotChangeIt) {
  const std::string source = device();
  const std::string other = device();
  const std::string id = client.post("/alarm/alarms", alarmOf(source)).id();
  EXPECT_EQ(client.put("/alarm/alarms/" + id, R"({"source":{"id":")" + source + R"("},"severity":"MINOR"})").status,
            200);
  expectError(client.put("/alarm/alarms/" + id, R"({"source":{"id":")" + other + R"("},"type":"x"})"), 422,
              "unprocessable",
              R"("source" is fixed at creation, an update can't change it; )"
              R"("type" is fixed at creation, an update can't change it)");
}

TEST_F(AlarmsTest, UpdateLooksOnlyAtWhatItSends) {
  platform.load(R"({"alarms":[{"id":"a","source":{"id":"p","name":"Pump"},"type":7,"status":"ACTIVE"}]})");
  const Received cleared = client.put("/alarm/alarms/a", R"({"status":"CLEARED"})");
  EXPECT_EQ(cleared.status, 200) << cleared.body;
  EXPECT_EQ(cleared.json().at("status"), "CLEARED");
  EXPECT_EQ(cleared.json().at("source"), object(R"({"id":"p","name":"Pump"})"));
}

TEST_F(AlarmsTest, UpdateMayRepeatALoadedSource) {
  platform.load(R"({"alarms":[{"id":"a","source":{"id":"7","name":"Pump"}}]})");
  for (const char* source : {R"({"id":"7","name":"Pump"})", R"({"id":"7"})", R"({"id":7})"}) {
    const Received answer = client.put("/alarm/alarms/a", std::string(R"({"source":)") + source + "}");
    EXPECT_EQ(answer.status, 200) << answer.body;
  }
}

TEST_F(AlarmsTest, AlarmOfADeletedDeviceCanBeCleared) {
  const std::string source = device();
  const std::string id = client.post("/alarm/alarms", alarmOf(source)).id();
  client.request("DELETE", "/registry/managed-objects/" + source);
  EXPECT_EQ(client.put("/alarm/alarms/" + id, R"({"status":"ACKNOWLEDGED"})").status, 200);
  EXPECT_EQ(client.put("/alarm/alarms/" + id, R"({"source":{"id":")" + source + R"("},"status":"CLEARED"})").status,
            200);
}

TEST_F(AlarmsTest, TellsAllRequiredFieldsAtOnce) {
  expectError(client.post("/alarm/alarms", "{}"), 422, "unprocessable",
              R"("source" is missing; "type" is missing; "text" is missing; "time" is missing; "severity" is missing)");
}

TEST_F(AlarmsTest, UpdateCannotRemoveWhatIsRequired) {
  const std::string id = client.post("/alarm/alarms", alarmOf(device())).id();
  expectError(client.put("/alarm/alarms/" + id, R"({"text":null})"), 422, "unprocessable", R"("text" is missing)");
}

TEST_F(AlarmsTest, NamesWhatIsWrongWithEachField) {
  expectError(
      client.post("/alarm/alarms",
                  R"({"source":"7","type":"","text":7,"severity":"HIGH","status":"OPEN","time":"now"})"),
      422, "unprocessable",
      R"("source" must be an object with an "id", not a text; "type" must not be empty; )"
      R"("text" must be a text, not a number; )"
      R"("time" must be an ISO 8601 timestamp with an offset or Z, such as 2024-05-01T12:00:00.000+02:00, not "now"; )"
      R"("severity" must be one of CRITICAL, MAJOR, MINOR, WARNING, not "HIGH"; )"
      R"("status" must be one of ACTIVE, ACKNOWLEDGED, CLEARED, not "OPEN")");
}

TEST_F(AlarmsTest, SourceMustBeAManagedObject) {
  expectError(client.post("/alarm/alarms", alarmOf("77")), 422, "unprocessable",
              R"("source.id" names no managed object: "77")");
  expectError(client.post("/alarm/alarms", R"({"source":{},"type":"a","text":"b","severity":"MINOR",)"
                                           R"("time":"2024-05-01T12:00:00Z"})"),
              422, "unprocessable", R"("source.id" is missing)");
}

TEST_F(AlarmsTest, SourceIdMayBeANumber) {
  device();
  const Received created = client.post("/alarm/alarms", R"({"source":{"id":2504001},"type":"a","text":"b",)"
                                                        R"("severity":"MINOR","time":"2024-05-01T12:00:00Z"})");
  EXPECT_EQ(created.json().at("source"), object(R"({"id":"2504001"})"));
}

TEST_F(AlarmsTest, ListGivesTheAlarms) {
  client.post("/alarm/alarms", alarmOf(device()));
  const Received list = client.get("/alarm/alarms");
  EXPECT_EQ(list.contentType, "application/vnd.com.rdx.marlovance.alarmcollection+json");
  ASSERT_EQ(list.json().at("alarms").as_array().size(), 1u);
  EXPECT_EQ(list.json().at("statistics"), object(R"({"currentPage":1,"pageSize":5})"));
}

TEST_F(AlarmsTest, AreNotDeleted) {
  const std::string id = client.post("/alarm/alarms", alarmOf(device())).id();
  expectError(client.request("DELETE", "/alarm/alarms/" + id), 405, "methodNotAllowed",
              "DELETE is not served at \"/alarm/alarms/" + id + "\", but GET, PUT");
}

}  // namespace
}  // namespace simulator
