#include "tests/unit/simulator/PlatformTest.h"

namespace simulator {
namespace {

class AdminRoutesTest : public PlatformTest {};

TEST_F(AdminRoutesTest, NeedAuthorizationToo) {
  EXPECT_EQ(client.request("GET", "/admin/journal", "", {{"Authorization", ""}}).status, 401);
}

TEST_F(AdminRoutesTest, CountsTellTheStore) {
  client.post("/event/events", eventOf(device()));
  const Received counts = client.get("/admin/counts");
  EXPECT_EQ(counts.status, 200);
  EXPECT_EQ(counts.contentType, "application/json");
  EXPECT_EQ(counts.json(), object(R"({"alarms":0,"events":1,"managed objects":1,"measurements":0,"operations":0,
      "SMS":0,"e-mails":0})"));
}

TEST_F(AdminRoutesTest, JournalShowsRequestsWithoutCredentials) {
  client.post("/registry/managed-objects", "{}");
  const boost::json::object journal = client.get("/admin/journal").json();
  EXPECT_EQ(journal, object(R"json({"requests":[{"number":1,"time":"1970-01-01T00:00:00.000Z","method":"POST",
      "target":"/registry/managed-objects","headers":[{"name":"Host","value":"platform"},
      {"name":"Authorization","value":"(hidden)"},{"name":"Content-Type","value":"application/json"},
      {"name":"Content-Length","value":"2"}],"body":"{}","status":201,"fault":false}]})json"));
}

TEST_F(AdminRoutesTest, JournalBeginsBehindANumberAndEndsAtALimit) {
  for (int count = 0; count < 4; ++count) device();
  const boost::json::object journal = client.get("/admin/journal?after=1&limit=2").json();
  ASSERT_EQ(journal.at("requests").as_array().size(), 2u);
  EXPECT_EQ(journal.at("requests").at(0).at("number"), 2);
  EXPECT_EQ(journal.at("requests").at(1).at("number"), 3);
}

TEST_F(AdminRoutesTest, JournalShowsBodiesThatAreNoText) {
  client.post("/registry/managed-objects", "\xFF");
  EXPECT_EQ(client.get("/admin/journal").json().at("requests").at(0).at("body"), "\xEF\xBF\xBD");
}

TEST_F(AdminRoutesTest, JournalCanBeCleared) {
  device();
  EXPECT_EQ(client.request("DELETE", "/admin/journal").status, 204);
  EXPECT_TRUE(platform.journal().empty());
}

TEST_F(AdminRoutesTest, FaultIsAddedAndShown) {
  const Received added =
      client.post("/admin/faults", R"({"method":"POST","path":"/alarm/alarms","skip":1,"times":2,"probability":0.5,
          "seed":7,"status":503,"body":"busy","contentType":"text/html","delayMs":10,"dribbleMs":1,
          "ending":"truncated","takesEffect":true})");
  EXPECT_EQ(added.status, 201);
  const boost::json::object expected =
      object(R"({"method":"POST","path":"/alarm/alarms","skip":1,"times":2,"probability":0.5,
          "seed":7,"status":503,"body":"busy","contentType":"text/html","delayMs":10,"dribbleMs":1,
          "ending":"truncated","takesEffect":true,"seen":0,"hits":0})");
  EXPECT_EQ(added.json(), expected);
  EXPECT_EQ(client.get("/admin/faults").json(), (boost::json::object{{"faults", {expected}}}));
}

TEST_F(AdminRoutesTest, AddedFaultActs) {
  client.post("/admin/faults", R"({"path":"/alarm","status":429})");
  EXPECT_EQ(client.get("/event/events").status, 200);
  EXPECT_EQ(client.get("/alarm/alarms").status, 429);
  EXPECT_EQ(client.get("/admin/faults").json().at("faults").at(0).at("hits"), 1);
}

struct BadFault {
  const char* name;
  const char* fault;
  const char* message;
};

class BadFaultTest : public PlatformTest, public ::testing::WithParamInterface<BadFault> {};

TEST_P(BadFaultTest, IsRefusedByField) {
  expectError(client.post("/admin/faults", GetParam().fault), 422, "unprocessable", GetParam().message);
  EXPECT_TRUE(platform.faults().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Fields, BadFaultTest,
    ::testing::Values(
        BadFault{"Unknown", R"({"colour":1})",
                 R"("colour" is no field of a fault; known are method, path, skip, times, probability, seed, status, )"
                 R"(body, contentType, delayMs, dribbleMs, ending, takesEffect)"},
        BadFault{"Method", R"({"method":7})", R"("method" must be a text, not 7)"},
        BadFault{"Skip", R"({"skip":-1})", R"("skip" must be a whole number from 0 to 1000000000, not -1)"},
        BadFault{"Probability", R"({"probability":1.5})", R"("probability" must be a number from 0 to 1, not 1.5)"},
        BadFault{"Status", R"({"status":99})", R"("status" must be a whole number from 200 to 599, not 99)"},
        BadFault{"BodyOfNoContent", R"({"body":"busy","status":204})",
                 R"("body" can't go with the status 204, whose answers have none)"},
        BadFault{"BodyOfNotModified", R"({"status":304,"body":"busy"})",
                 R"("body" can't go with the status 304, whose answers have none)"},
        BadFault{"Ending", R"({"ending":"soon"})",
                 R"("ending" must be one of whole, truncated, garbage, reset, closed, not "soon")"},
        BadFault{"TakesEffect", R"({"takesEffect":"yes"})", R"("takesEffect" must be true or false, not "yes")"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(AdminRoutesTest, OtherPathsAndMethodsAreRefused) {
  EXPECT_EQ(client.get("/admin/secrets").status, 404);
  EXPECT_EQ(client.request("DELETE", "/admin/counts").headers.at("allow"), "GET");
  EXPECT_EQ(client.put("/admin/journal", "{}").headers.at("allow"), "GET, DELETE");
  EXPECT_EQ(client.put("/admin/faults", "{}").headers.at("allow"), "GET, POST, DELETE");
}

}  // namespace
}  // namespace simulator
