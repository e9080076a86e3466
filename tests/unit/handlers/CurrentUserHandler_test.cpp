#include "tests/unit/handlers/HandlerFixture.h"

namespace tests {
namespace {

class CurrentUserTest : public HandlerFixture {
 protected:
  CurrentUserTest() { use("GetCurrentUser"); }

  MessageBuilder user() const { return event("/user/currentUser").method("GET").reqId(7); }

  static MessageBuilder found(std::string_view payload) {
    return response(0).contentType("application/json").payload(payload);
  }

  std::string refusalOf(const MessageBuilder& event) {
    return thrownBy([&] { send(event); });
  }
};

TEST_F(CurrentUserTest, IsAskedForAsTheEventSays) {
  configure(R"({"appKey": "k"})");
  send(user().payload(R"({"own": 1})").query("a", "b"));
  EXPECT_EQ(takeRequest().json(),
            json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.GetCurrentUser", "requestId": 0, "reqId": 7,
                                  "http": {"method": "GET", "path": "/user/currentUser", "queryString": {"a": "b"},
                                           "headers": {"X-Marlovance-Application-Key": "k",
                                                       "authorization": "Basic dXNlcjpzZWNyZXQ="}},
                                  "metrics": )" +
                 std::string(firstStamp) + R"(}, "payload": {"own": 1}})"));
}

TEST_F(CurrentUserTest, KeepsTheSessionThatTheEventBrings) {
  send(user().cookie("authorization", "abc").header("X-XSRF-TOKEN", "t"));
  const Received request = takeRequest();
  EXPECT_EQ(request.http("headers"), json(R"({"X-XSRF-TOKEN": "t"})"));
  EXPECT_EQ(request.http("cookies"), json(R"({"authorization": "abc"})"));
}

TEST_F(CurrentUserTest, ComesWithItsTimesAsSeconds) {
  send(user());
  respond(found(R"({"userName": "u", "lastUpdated": "1970-01-01T00:00:02.500Z", "time": 5, "roles": ["a"]})"));
  EXPECT_EQ(jsons(takeHostEvents()),
            Texts{json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.GetCurrentUserResponse",
                                        "qel.channel": "marlovance.findcurrentuser.response", "requestId": 0,
                                        "contentType": "application/json",
                                        "http": {"statusCode": 200, "statusReason": "OK"}},
                           "payload": {"reqId": 7, "user": {"userName": "u", "lastUpdated": 2.5, "time": 0.0,
                                                            "roles": ["a"]}}})")});
}

TEST_F(CurrentUserTest, TakesTheRequestIdAsItIs) {
  for (const char* id : {R"("seven")", "7", "null", "[7]"}) {
    configure("{}");
    send(user().metadata("reqId", id));
    respond(found("{}"));
    EXPECT_EQ(takeHostEvents().at(0).payload(), json(R"({"user": {}, "reqId": )" + std::string(id) + "}"));
  }
}

TEST_F(CurrentUserTest, ComesOnThePrefixedChannelInBothOutcomes) {
  configure(R"({"queryResponsesChannelPrefix": "q."})");
  send(user());
  send(user());
  respond(found("{}"));
  respond(found("{}").metadata("requestId", "1").status(403));
  for (const Received& event : takeHostEvents())
    EXPECT_EQ(event.metadata("qel.channel"), R"("q.marlovance.findcurrentuser.response")");
}

TEST_F(CurrentUserTest, IsRefusedInAnEventOfItsOwn) {
  send(user());
  forgetLogs();
  respond(found(R"({"message": "no"})").status(403).contentType("application/vnd.com.rdx.marlovance.error+json"));
  EXPECT_EQ(jsons(takeHostEvents()),
            Texts{json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.GetCurrentUserResponseFailed",
                                        "qel.channel": "marlovance.findcurrentuser.response"},
                           "payload": {"error": true, "statusCode": 403, "errorDetails": "no", "reqId": 7}})")});
  EXPECT_EQ(takeLogs(errorLevel).size(), 1u);
}

TEST_F(CurrentUserTest, IsRefusedInOneLineByAPageOfText) {
  send(user());
  respond(found("\"a\\r\\nb\"").status(502).contentType("text/html"));
  EXPECT_EQ(takeHostEvents().at(0).payload(), json(R"({"error": true, "statusCode": 502, "reqId": 7,
                     "errorDetails": "Error 502 received: ab  while performing GET /user/currentUser, params: "})"));
}

TEST_F(CurrentUserTest, IsDroppedWhenItIsNoMap) {
  send(user());
  EXPECT_EQ(thrownBy([&] { respond(found(R"("text")")); }),
            "Incorrect type in get (you asked for map but it's actually string)");
  EXPECT_EQ(takeHostEvents().size(), 0u);
  EXPECT_EQ(parts->outstanding.size(), 0u);
}

TEST_F(CurrentUserTest, CannotBeToldWithoutARequestId) {
  for (const std::int64_t status : {200, 403}) {
    configure("{}");
    send(user().without("reqId"));
    EXPECT_EQ(thrownBy([&] { respond(found("{}").status(status)); }), "Element not in map");
    EXPECT_EQ(takeHostEvents().size(), 0u);
  }
}

TEST_F(CurrentUserTest, RefusesAnEventWithoutItsHttpPart) {
  const std::string text = refusalOf(user().without("http"));
  EXPECT_TRUE(text.ends_with("] as metadata does not have an HTTP mapping")) << text;
}

TEST_F(CurrentUserTest, HasNoOrderingKeyAndIsNotBatchable) {
  const Message request = messageFrom(user());
  EXPECT_TRUE(handler->getConcurrencyKey(request).empty());
  EXPECT_FALSE(handler->isBatchable(request));
}

}  // namespace
}  // namespace tests
