// Managed objects, alarms, events and operations on their way to the transport.
#include "tests/blackbox/BlackboxTest.h"

namespace tests {
namespace {

class ResourceRequestsTest : public BlackboxTest {
 protected:
  static MessageBuilder alarm(std::string_view payload) {
    return event("com.kelvo.marlovance.Alarm").path("/alarm/alarms").payload(payload);
  }

  /// Sends an event that must be refused, and gives the text of the only event that reaches the host.
  std::string refusal(const MessageBuilder& event) {
    EXPECT_EQ(send(event), 0);
    EXPECT_TRUE(takeRequests().empty());
    const std::vector<Received> events = takeHostEvents();
    if (events.size() != 1) return std::to_string(events.size()) + " events";
    EXPECT_EQ(textOf(events[0].document.at("metadata")), json(R"({"qel.type": "com.kelvo.marlovance.Error"})"));
    return events[0].document.at("payload").at("message").as_string().c_str();
  }
};

struct Refused {
  const char* name;
  const char* metadata;
  const char* payload;
  const char* text;
};

void PrintTo(const Refused& event, std::ostream* out) {
  *out << event.name;
}

class RefusedEventTest : public ResourceRequestsTest, public testing::WithParamInterface<Refused> {};

TEST_P(RefusedEventTest, BecomesOneErrorEventAndOneErrorLine) {
  MessageBuilder refused = event("com.kelvo.marlovance.Alarm").payload(GetParam().payload);
  if (*GetParam().metadata) refused.metadata("http", GetParam().metadata);
  EXPECT_EQ(refusal(refused), GetParam().text);
  EXPECT_EQ(takeLogs(errorLevel), (Texts{std::string("Error while transforming message: ") + GetParam().text}));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, RefusedEventTest,
    testing::Values(
        Refused{"PayloadIsText", "", R"("hot")",
                "Dropping [{qel.type:com.kelvo.marlovance.Alarm} / hot] as payload is not a map"},
        Refused{"PayloadIsEmpty", "", "null",
                "Dropping [{qel.type:com.kelvo.marlovance.Alarm} / (null)] as payload is not a map"},
        Refused{"NoHttp", "", "{}",
                "Dropping [{qel.type:com.kelvo.marlovance.Alarm} / {}] as metadata does not have an HTTP mapping"},
        Refused{"HttpIsText", R"("/p")", "{}", "Incorrect type in get (you asked for map but it's actually string)"},
        Refused{"IdIsAList", R"({"path": "/p"})", R"({"id": ["5"]})",
                "Trying to parse from incorrect type (actually list)"},
        Refused{"IdIsEmpty", R"({"path": "/p"})", R"({"id": null})", "Trying to parse from empty"},
        Refused{"TimeIsAWord", R"({"path": "/p"})", R"({"time": "soon"})",
                "time query param should be given in seconds since epoch. Instead it got soon"},
        Refused{"TimeIsAnInteger", R"({"path": "/p"})", R"({"time": 1600000000})",
                "Failed to parse 'time' query param with type integer and value 1600000000. "
                "Query param should be given in seconds since epoch."},
        Refused{"SourceBesideTimeIsText", R"({"path": "/p"})", R"({"time": 1600000000.0, "source": "10"})",
                "Incorrect type in get (you asked for map but it's actually string)"},
        Refused{"HeadersAreAList", R"({"path": "/p", "headers": []})", "{}",
                "Incorrect type in get (you asked for map but it's actually list)"}),
    [](const auto& each) { return std::string(each.param.name); });

TEST_F(ResourceRequestsTest, AreRefusedWithoutAPath) {
  const std::string text = refusal(event("com.kelvo.marlovance.Operation").method("PUT").payload("{}"));
  EXPECT_TRUE(text.starts_with("Dropping [{") && text.ends_with("} / {}] as metadata.http does not have path value"))
      << text;
}

TEST_F(ResourceRequestsTest, GoOnBehindARefusedEvent) {
  EXPECT_EQ(send({alarm(R"({"text": "a"})"), alarm("[]"), alarm(R"({"text": "b"})")}), 0);
  Texts payloads;
  for (const Received& request : takeRequests()) payloads.push_back(request.payload());
  EXPECT_EQ(payloads, (Texts{json(R"({"text": "a"})"), json(R"({"text": "b"})")}));
  EXPECT_EQ(types(takeHostEvents()), (Texts{"com.kelvo.marlovance.Error"}));
}

TEST_F(ResourceRequestsTest, KeepOnlyTheApplicationKeyThatTheEventBrought) {
  createPlugin(R"({"username": "user", "password": "secret", "appKey": "ours"})");
  send(alarm("{}").header("X-Marlovance-Application-Key", "own").header("authorization", "own"));
  EXPECT_EQ(takeRequest().http("headers"),
            json(R"({"X-Marlovance-Application-Key": "own", "authorization": "Basic dXNlcjpzZWNyZXQ="})"));
}

TEST_F(ResourceRequestsTest, BearTheOffsetOfTheEnvironmentsZone) {
  environment.set("TZ", "Asia/Kolkata");
  send(alarm(R"({"time": 1600000000.25})"));
  EXPECT_EQ(takeRequest().payload(), json(R"({"time": "2020-09-13T17:56:40.250+05:30"})"));
}

TEST_F(ResourceRequestsTest, TakeTheHostsOwnVariableWithoutTheCommonOne) {
  environment.unset("TZ");
  environment.set("KV_INT_TZ", "GMT+02:00");
  send(alarm(R"({"time": "0"})"));
  EXPECT_EQ(takeRequest().payload(), json(R"({"time": "1970-01-01T02:00:00.000+02:00"})"));
}

TEST_F(ResourceRequestsTest, WarnOnceOfASourceWhoseClockIsNotSet) {
  constexpr const char* payload = R"({"time": 1.5, "source": {"id": "10"}})";
  EXPECT_EQ(send({alarm(payload), alarm(payload)}), 0);
  const Texts warnings = takeLogs(warnLevel);
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_TRUE(warnings[0].starts_with("Invalid or uninitialized timestamp in [{") && warnings[0].ends_with("}]"));
  for (int number = 0; number < 2; ++number)
    EXPECT_EQ(takeRequest().payload(), json(R"({"time": "1970-01-01T00:00:01.500Z", "source": {"id": "10"}})"));
}

TEST_F(ResourceRequestsTest, TellAtDebugWhatBecomesOfTheirFields) {
  TestHost::setLogLevel(debugLevel);
  createPlugin();
  takeLogs(debugLevel);
  send(alarm(R"({"severity": "", "id": 42})"));
  Texts lines = takeLogs(debugLevel);
  std::erase_if(lines, [](const std::string& line) {
    return line.starts_with("Processing request: ") || line.starts_with("Formatted message: ");
  });
  EXPECT_EQ(lines, (Texts{"Removing \"severity\" field", "Update request method to PUT as id \"42\" is specified",
                          "X-Marlovance-Application-Key is empty so removing it from headers"}));
}

TEST_F(ResourceRequestsTest, TakePayloadsAsAHostBuildsThem) {
  send(event("com.kelvo.marlovance.ManagedObject")
           .path("/registry/managed-objects")
           .payload(R"({"$name": "com.kelvo.marlovance.ManagedObject", "$map": {
                "id": {"$borrowed": "5"}, "name": {"$borrowed": ""}, "q4v_Position": {"$name": "p", "$map": {}},
                "decimal": {"$decimal": 7}, "custom": {"$custom": 8}, "buffer": {"$buffer": "00"}}})"));
  const Received request = takeRequest();
  EXPECT_EQ(request.http("path"), R"("/registry/managed-objects/5")");
  EXPECT_EQ(request.payload(), json(R"({"$name": "com.kelvo.marlovance.ManagedObject", "$map": {
                "decimal": {"$decimal": 7}, "custom": {"$custom": 8}, "buffer": {"$buffer": "00"}}})"));
}

}  // namespace
}  // namespace tests
