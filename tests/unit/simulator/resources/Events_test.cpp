#include "tests/unit/simulator/PlatformTest.h"

namespace simulator {
namespace {

class EventsTest : public PlatformTest {};

TEST_F(EventsTest, CreateAnswersWithTheWholeDocument) {
  const Received created = client.post("/event/events", eventOf(device()));
  EXPECT_EQ(created.status, 201);
  EXPECT_EQ(created.contentType, "application/vnd.com.rdx.marlovance.event+json");
  boost::json::object expected = object(R"({"id":"2504002","source":{"id":"2504001"},"type":"door","text":"Opened",
      "time":"2024-05-01T12:00:00Z","creationTime":"1970-01-01T00:00:00.000Z",
      "lastUpdated":"1970-01-01T00:00:00.000Z"})");
  expected["self"] = platform.url() + "/event/events/2504002";
  EXPECT_EQ(created.json(), expected);
  EXPECT_EQ(client.get("/event/events/2504002").json(), expected);
}

TEST_F(EventsTest, EqualEventsStayApart) {
  const std::string source = device();
  client.post("/event/events", eventOf(source));
  client.post("/event/events", eventOf(source));
  EXPECT_EQ(platform.counts().at("events"), 2);
}

TEST_F(EventsTest, UpdateChangesTheText) {
  const std::string id = client.post("/event/events", eventOf(device())).id();
  const Received updated = client.put("/event/events/" + id, R"({"text":"Closed"})");
  EXPECT_EQ(updated.status, 200);
  EXPECT_EQ(client.get("/event/events/" + id).json().at("text"), "Closed");
}

TEST_F(EventsTest, TimeIsFixed) {
  const std::string id = client.post("/event/events", eventOf(device())).id();
  expectError(client.put("/event/events/" + id, R"({"time":"2024-05-01T13:00:00Z"})"), 422, "unprocessable",
              R"("time" is fixed at creation, an update can't change it)");
}

TEST_F(EventsTest, TellsAllRequiredFieldsAtOnce) {
  expectError(client.post("/event/events", "{}"), 422, "unprocessable",
              R"("source" is missing; "type" is missing; "text" is missing; "time" is missing)");
}

TEST_F(EventsTest, RefusedEventLeavesNothing) {
  const std::string source = device();
  client.post("/event/events", R"({"type":"door"})");
  EXPECT_EQ(platform.counts().at("events"), 0);
  EXPECT_EQ(client.post("/event/events", eventOf(source)).id(), "2504002");
}

TEST_F(EventsTest, DeleteLeavesNothing) {
  const std::string id = client.post("/event/events", eventOf(device())).id();
  const Received answer = client.request("DELETE", "/event/events/" + id);
  EXPECT_EQ(answer.status, 204);
  EXPECT_EQ(answer.body, "");
  EXPECT_EQ(answer.contentType, "");
  expectError(client.get("/event/events/" + id), 404, "notFound", "there is no event with the id \"" + id + "\"");
}

TEST_F(EventsTest, DeleteOfNothingIsRefused) {
  expectError(client.request("DELETE", "/event/events/7"), 404, "notFound", R"(there is no event with the id "7")");
}

TEST_F(EventsTest, ListGivesTheEvents) {
  client.post("/event/events", eventOf(device()));
  const Received list = client.get("/event/events?pageSize=0");
  EXPECT_EQ(list.contentType, "application/vnd.com.rdx.marlovance.eventcollection+json");
  EXPECT_EQ(list.json().at("events"), boost::json::array{});
}

}  // namespace
}  // namespace simulator
