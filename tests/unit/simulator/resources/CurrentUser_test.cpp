#include "tests/unit/simulator/PlatformTest.h"

namespace simulator {
namespace {

class CurrentUserTest : public PlatformTest {};

TEST_F(CurrentUserTest, IsMadeUpFromTheNameWithTimes) {
  const Received answer = client.get("/user/current");
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.contentType, "application/vnd.com.rdx.marlovance.user+json");
  boost::json::object expected = object(R"({"id":"fleet","userName":"fleet","email":"fleet@fleet.example",
      "enabled":true,"creationTime":"2024-01-01T00:00:00.000Z","lastUpdated":"2024-01-01T00:00:00.000Z"})");
  expected["self"] = platform.url() + "/user/current";
  EXPECT_EQ(answer.json(), expected);
}

TEST_F(CurrentUserTest, LoadedFieldsStandOverIt) {
  platform.load(R"({"currentUser":{"firstName":"Žofie","lastUpdated":"2026-03-01T12:00:00.250+02:00"}})");
  const boost::json::object user = client.get("/user/current").json();
  EXPECT_EQ(user.at("firstName"), "Žofie");
  EXPECT_EQ(user.at("lastUpdated"), "2026-03-01T12:00:00.250+02:00");
  EXPECT_EQ(user.at("userName"), "fleet");
}

TEST_F(CurrentUserTest, OtherPathsAndMethodsAreRefused) {
  EXPECT_EQ(client.get("/user").status, 404);
  EXPECT_EQ(client.get("/user/current/7").status, 404);
  EXPECT_EQ(client.put("/user/current", "{}").headers.at("allow"), "GET");
}

}  // namespace
}  // namespace simulator
