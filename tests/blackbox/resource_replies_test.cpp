// What the host hears of the platform's answers to managed objects, alarms, events and operations.
#include "tests/blackbox/BlackboxTest.h"

namespace tests {
namespace {

constexpr const char* errorMedia = "application/vnd.com.rdx.marlovance.error+json";

class ResourceRepliesTest : public BlackboxTest {
 protected:
  static MessageBuilder operation() {
    return event("com.kelvo.marlovance.Operation").path("/operation/operations").payload(R"({"deviceId": "20"})");
  }
  static MessageBuilder managedObject() {
    return event("com.kelvo.marlovance.ManagedObject")
        .path("/registry/managed-objects")
        .payload("{}")
        .reqId(7)
        .requiresResponse();
  }
  static MessageBuilder awaited() { return operation().reqId(7).requiresResponse().responseChannel("c"); }

  static MessageBuilder answer(std::int64_t status, std::string_view payload) {
    return response(0).status(status).reason("Word").contentType("application/json").payload(payload);
  }

  /// The events that follow from a request and its answer.
  Texts events(const MessageBuilder& request, const MessageBuilder& answer) {
    EXPECT_EQ(send(request), 0);
    EXPECT_EQ(respond(answer), 0);
    return jsons(takeHostEvents());
  }

  /// The event that all four rows have in common, as JSON.
  static std::string wholeEvent(const std::string& metadata, const std::string& status, const std::string& payload) {
    return json(R"({"metadata": {"requestId": 0, "contentType": "application/json",
                                 "http": {"statusCode": )" +
                status + R"(, "statusReason": "Word"}, )" + metadata + R"(}, "payload": )" + payload + "}");
  }
};

TEST_F(ResourceRepliesTest, AreAcknowledgementsOfASuccessThatIsAwaited) {
  EXPECT_EQ(events(awaited(), answer(201, R"({"id": "1", "creationTime": "2020-09-13T12:26:40.250Z"})")),
            (Texts{wholeEvent(R"("qel.type": "com.kelvo.marlovance.ObjectCommitted", "qel.channel": "c", "reqId": 7)",
                              "201", R"({"$name": "com.kelvo.marlovance.Operation",
                                         "$map": {"id": "1", "creationTime": 1600000000.25}})")}));
}

TEST_F(ResourceRepliesTest, AreNoneOnASuccessThatNobodyAwaits) {
  EXPECT_EQ(events(operation(), answer(201, R"({"id": "1"})")), Texts{});
}

TEST_F(ResourceRepliesTest, AreFailuresThatAreAwaited) {
  EXPECT_EQ(
      events(awaited(), answer(422, R"({"message": "bad"})")),
      (Texts{wholeEvent(R"("qel.type": "com.kelvo.marlovance.ObjectCommitFailed", "qel.channel": "c", "reqId": 7)",
                        "422", R"({"$name": "com.kelvo.marlovance.Operation", "$map": {"message": "bad"}})")}));
  EXPECT_EQ(takeLogs(errorLevel), Texts{});
}

TEST_F(ResourceRepliesTest, AreEmptyNamedMapsForABodyThatIsNoMap) {
  EXPECT_EQ(
      events(awaited(), answer(502, R"("<html>")")),
      (Texts{wholeEvent(R"("qel.type": "com.kelvo.marlovance.ObjectCommitFailed", "qel.channel": "c", "reqId": 7)",
                        "502", R"({"$name": "com.kelvo.marlovance.Operation", "$map": {}})")}));
}

TEST_F(ResourceRepliesTest, AreErrorsOnAFailureThatNobodyAwaits) {
  EXPECT_EQ(events(operation().reqId(7).responseChannel("c"), answer(422, R"({"message": "bad"})")),
            (Texts{wholeEvent(R"("qel.type": "com.kelvo.marlovance.Error")", "422", R"({"message": "bad"})")}));
  EXPECT_EQ(takeLogs(errorLevel),
            (Texts{"Marlovance returned error \"422 Word\" while performing \"POST /operation/operations\" (params: "
                   "None); request payload is {deviceId:20}; response payload is: {message:bad}"}));
}

TEST_F(ResourceRepliesTest, KeepAReasonOfSeveralLinesInOneLogRecord) {
  events(operation(), answer(422, "{}").reason("bad\r\nvery bad"));
  EXPECT_EQ(
      takeLogs(errorLevel),
      (Texts{"Marlovance returned error \"422 bad\n\t---> very bad\" while performing \"POST "
             "/operation/operations\" (params: None); request payload is {deviceId:20}; response payload is: {}"}));
}

// ---------------------------------------------------------------------------------------- answers that are lost

struct Lost {
  const char* name;
  bool isAwaited;
  bool hasReqId;
  std::int64_t status;
  const char* http;  ///< further entries of the answer's map
  const char* payload;
  const char* reason;
  bool isLogged;
};

void PrintTo(const Lost& each, std::ostream* out) {
  *out << each.name;
}

class LostAnswerTest : public ResourceRepliesTest, public testing::WithParamInterface<Lost> {};

TEST_P(LostAnswerTest, CostsAWarningAndNothingElse) {
  MessageBuilder request = operation();
  if (GetParam().isAwaited) request.requiresResponse();
  if (GetParam().hasReqId) request.reqId(7);
  send(request);
  respond(response(0)
              .metadata("http", R"({"statusCode": )" + std::to_string(GetParam().status) + GetParam().http + "}")
              .contentType("application/json")
              .payload(GetParam().payload));
  EXPECT_EQ(jsons(takeHostEvents()), Texts{});
  const Texts warnings = takeLogs(warnLevel);
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_TRUE(warnings[0].starts_with(std::string("Error while transforming message: ") + GetParam().reason + "; "))
      << warnings[0];
  EXPECT_TRUE(warnings[0].ends_with(" will be dropped.")) << warnings[0];
  EXPECT_EQ(takeLogs(errorLevel).size(), GetParam().isLogged ? 1u : 0u);

  EXPECT_EQ(respond(response(0)), 0);
  EXPECT_TRUE(takeLogs(warnLevel).at(0).starts_with(
      "Error while transforming message: Could not find a request matching response "))
      << "the request has ended";
}

constexpr const char* noMap = "Incorrect type in get (you asked for map but it's actually string)";

INSTANTIATE_TEST_SUITE_P(
    Rows, LostAnswerTest,
    testing::Values(Lost{"AwaitedSuccessWithATextBody", true, true, 200, "", R"("done")", noMap, false},
                    Lost{"AwaitedSuccessWithoutReqId", true, false, 200, "", "{}", "Element not in map", false},
                    Lost{"AwaitedFailureWithoutReqId", true, false, 500, "", "{}", "Element not in map", false},
                    Lost{"UnawaitedFailureWithATextBody", false, true, 500, "", R"("no")", noMap, true},
                    Lost{"UnawaitedFailureWithAMessageAndNoReason", false, true, 500, "", R"({"message": "bad"})",
                         "Element not in map", true},
                    Lost{"UnawaitedFailureWithAReasonThatIsNoText", false, true, 500, R"(, "statusReason": 7)", "{}",
                         "Incorrect type in get (you asked for string but it's actually integer)", false}),
    [](const auto& each) { return std::string(each.param.name); });

TEST_F(ResourceRepliesTest, AreDroppedWithAStatusThatCannotBeRead) {
  EXPECT_EQ(events(awaited(), answer(200, "{}").metadata("http", R"({"statusCode": "200"})")), Texts{});
  EXPECT_TRUE(takeLogs(warnLevel).at(0).starts_with(
      "Error while transforming message: Incorrect type in get (you asked for integer but it's actually string); "));
}

// ---------------------------------------------------------------------------------------- documents

TEST_F(ResourceRepliesTest, HoldAManagedObjectInPlainShape) {
  send(managedObject());
  respond(answer(201, R"({"id": "1", "childDevices": {"self": "/x", "references": [{"managedObject": {"id": "2"}}]},
                          "q4v_SupportedOperations": ["restart"],
                          "q4v_Position": {"lat": 52.1, "lng": "13.4", "alt": "0x10", "name": "depot"},
                          "lastUpdated": "2020-09-13T14:26:40.250+02:00"})"));
  EXPECT_EQ(takeHostEvents().at(0).payload(), json(R"({"$name": "com.kelvo.marlovance.ManagedObject",
                     "$map": {"id": "1", "childDeviceIds": ["2"], "supportedOperations": ["restart"],
                              "position": {"lat": 52.1, "lng": "13.4"}, "q4v_Position.alt": "0x10",
                              "q4v_Position.name": "depot", "lastUpdated": 1600000000.25}})"));
}

TEST_F(ResourceRepliesTest, AreLostWithAManagedObjectThatCannotBeRead) {
  send(managedObject());
  respond(answer(201, R"({"childDevices": []})"));
  EXPECT_EQ(jsons(takeHostEvents()), Texts{});
  EXPECT_TRUE(takeLogs(warnLevel).at(0).starts_with(
      "Error while transforming message: Incorrect type in get (you asked for map but it's actually list); "));
}

TEST_F(ResourceRepliesTest, GiveATimestampThatCannotBeReadAsZero) {
  send(awaited());
  respond(answer(201, R"({"time": "yesterday", "lastUpdated": 7, "dateFrom": "2020-09-13T12:26:40.250Z"})"));
  EXPECT_EQ(takeHostEvents().at(0).payload(), json(R"({"$name": "com.kelvo.marlovance.Operation",
                     "$map": {"time": 0.0, "lastUpdated": 0.0, "dateFrom": "2020-09-13T12:26:40.250Z"}})"));
}

TEST_F(ResourceRepliesTest, LeaveNothingBehindWithATransportThatKeepsItsMessages) {
  plugin().transport.takesContents = false;
  plugin().host.takesContents = false;
  EXPECT_EQ(events(awaited(), answer(201, R"({"$name": "theirs", "$map": {"id": "1"}})")).size(), 1u);
}

TEST_F(ResourceRepliesTest, ComeOnAThreadOfTheirOwn) {
  send(awaited());
  onAnotherThread([this] { respond(answer(201, "{}").contentType(errorMedia)); });
  EXPECT_EQ(types(takeHostEvents()), (Texts{"com.kelvo.marlovance.ObjectCommitFailed"}));
}

}  // namespace
}  // namespace tests
