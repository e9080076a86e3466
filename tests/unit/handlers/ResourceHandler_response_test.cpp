#include "connectivity/to_string.h"
#include "handlers/ResourceHandler.h"
#include "tests/unit/handlers/HandlerFixture.h"

namespace tests {
namespace {

constexpr const char* errorMedia = "application/vnd.com.rdx.marlovance.error+json";

class ResourceResponseTest : public HandlerFixture {
 protected:
  ResourceResponseTest() { use("Alarm"); }

  MessageBuilder alarm() const { return event("/alarm/alarms").payload(R"({"text": "hot"})"); }
  MessageBuilder awaited() const { return alarm().reqId(7).requiresResponse().responseChannel("c"); }

  static MessageBuilder created(std::string_view payload) {
    return response(0).status(201).reason("Created").contentType("application/json").payload(payload);
  }
  static MessageBuilder refused(std::string_view payload) {
    return response(0).status(422).reason("Unprocessable").contentType("application/json").payload(payload);
  }

  /// The events that follow from a request and its answer, as JSON. The lines that remain are those of the answer.
  Texts events(const MessageBuilder& request, const MessageBuilder& response) {
    send(request);
    forgetLogs();
    respond(response);
    return jsons(takeHostEvents());
  }

  /// What the handling of an answer fails with. No event follows.
  std::string failure(const MessageBuilder& request, const MessageBuilder& response) {
    const std::string text = thrownBy([&] { events(request, response); });
    EXPECT_EQ(jsons(takeHostEvents()), Texts{});
    return text;
  }
};

// ---------------------------------------------------------------------------------------- success

TEST_F(ResourceResponseTest, AcknowledgesASuccessThatIsAwaited) {
  EXPECT_EQ(events(awaited(), created(R"({"id": "1", "text": "hot", "time": "2020-09-13T12:26:40.250Z"})")),
            (Texts{json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.ObjectCommitted", "qel.channel": "c",
                                         "reqId": 7, "requestId": 0,
                                         "contentType": "application/json",
                                         "http": {"statusCode": 201, "statusReason": "Created"}},
                            "payload": {"$name": "com.kelvo.marlovance.Alarm",
                                        "$map": {"id": "1", "text": "hot", "time": 1600000000.25}}})")}));
}

TEST_F(ResourceResponseTest, IsSilentOnASuccessThatNobodyAwaits) {
  const MessageBuilder answer = created(R"({"id": "1"})");
  EXPECT_EQ(events(alarm().reqId(7).responseChannel("c"), answer), Texts{});
  Message skipped = messageFrom(answer);
  skipped.getMetadataMap().erase(data_t("requestSentTime"));
  EXPECT_EQ(takeLogs(debugLevel), (Texts{"Skipping message " + to_string(skipped)}));
  EXPECT_TRUE(TestHost::logs().empty());
}

TEST_F(ResourceResponseTest, SkipsASuccessOfAnyShapeThatNobodyAwaits) {
  EXPECT_EQ(events(alarm(), created(R"("done")")), Texts{});
}

TEST_F(ResourceResponseTest, ShowsTheParsedPayloadBeforeTheTenantAndTheName) {
  configure(R"({"tenantId": "t1"})");
  events(awaited(), created(R"({"time": "1970-01-01T00:00:01.500Z"})"));
  EXPECT_EQ(takeLogs(debugLevel).front(), "Parsed payload: {time:1.5}");
}

TEST_F(ResourceResponseTest, AddsTheConfiguredTenant) {
  configure(R"({"tenantId": "t1"})");
  send(awaited());
  respond(created(R"({"id": "1", "tenantId": "theirs"})"));
  EXPECT_EQ(takeHostEvents().at(0).payload(),
            json(R"({"$name": "com.kelvo.marlovance.Alarm", "$map": {"id": "1", "tenantId": "t1"}})"));
}

TEST_F(ResourceResponseTest, TakesThePresenceOfTheWishNotItsValue) {
  for (const char* wish : {"false", "null", "0", R"("")"}) {
    configure("{}");
    EXPECT_EQ(events(alarm().reqId(7).metadata("requiresResponse", wish), created("{}")).size(), 1u) << wish;
  }
}

TEST_F(ResourceResponseTest, ReplacesTheNameOfTheDocument) {
  send(awaited());
  respond(created(R"({"$name": "theirs", "$map": {"id": "1"}})"));
  EXPECT_EQ(takeHostEvents().at(0).payload(), json(R"({"$name": "com.kelvo.marlovance.Alarm", "$map": {"id": "1"}})"));
}

TEST_F(ResourceResponseTest, NamesADocumentWithoutABlock) {
  send(awaited());
  Message answer = messageFrom(created("null"));
  answer.setPayload(map_t());
  OutstandingRequest request = match(answer);
  handler->handleResponse(answer, request);
  EXPECT_EQ(takeHostEvents().at(0).payload(), json(R"({"$name": "com.kelvo.marlovance.Alarm", "$map": {}})"));
}

TEST_F(ResourceResponseTest, LeavesADocumentNamelessForATypeWithoutAName) {
  ResourceHandler<genericParser, getIdFromField> nameless(
      services(), {{}, {}, {}, "", data_t::adopt(withoutBlock(QEL_BORROWED_STRING))});
  send(awaited());
  Message answer = messageFrom(created(R"({"$name": "theirs", "$map": {"id": "1"}})"));
  OutstandingRequest request = match(answer);
  nameless.handleResponse(answer, request);
  EXPECT_EQ(takeHostEvents().at(0).payload(), json(R"({"id": "1"})"));
}

struct Named {
  const char* name;
};

void PrintTo(const Named& type, std::ostream* out) {
  *out << type.name;
}

class NamedPayloadTest : public ResourceResponseTest, public testing::WithParamInterface<Named> {};

TEST_P(NamedPayloadTest, BearsTheNameOfTheEventsTypeInBothOutcomes) {
  const std::string type = GetParam().name;
  const std::string expected = R"({"$name": "com.kelvo.marlovance.)" + type + R"(", "$map": {"a": 1}})";
  use(type);
  for (const bool good : {true, false}) {
    configure("{}");
    send(event("/p").reqId(7).requiresResponse());
    respond(good ? created(R"({"a": 1})") : refused(R"({"a": 1})"));
    EXPECT_EQ(takeHostEvents().at(0).payload(), json(expected));
  }
}

INSTANTIATE_TEST_SUITE_P(Types, NamedPayloadTest,
                         testing::Values(Named{"ManagedObject"}, Named{"Alarm"}, Named{"Event"}, Named{"Operation"}),
                         NameOfCase());

TEST_F(ResourceResponseTest, ReshapesManagedObjectsAndNoOthers) {
  constexpr const char* document = R"({"childDevices": {"references": [{"managedObject": {"id": "2"}}]}})";
  send(awaited());
  respond(created(document));
  EXPECT_EQ(takeHostEvents().at(0).payload(),
            json(R"({"$name": "com.kelvo.marlovance.Alarm", "$map": )" + std::string(document) + "}"));
  configure("{}");
  use("ManagedObject");
  send(event("/p").reqId(7).requiresResponse());
  respond(created(document));
  EXPECT_EQ(takeHostEvents().at(0).payload(),
            json(R"({"$name": "com.kelvo.marlovance.ManagedObject", "$map": {"childDeviceIds": ["2"]}})"));
}

TEST_F(ResourceResponseTest, FailsOnAnAwaitedSuccessWhoseBodyIsNoMap) {
  EXPECT_EQ(failure(awaited(), created(R"("done")")),
            "Incorrect type in get (you asked for map but it's actually string)");
  configure("{}");
  EXPECT_EQ(failure(awaited(), created("null")), "Get from empty");
}

TEST_F(ResourceResponseTest, FailsOnADocumentThatItsParserRefuses) {
  use("ManagedObject");
  EXPECT_EQ(failure(event("/p").reqId(7).requiresResponse(), created(R"({"childDevices": {}})")), "Get from empty");
}

TEST_F(ResourceResponseTest, FailsOnAnAwaitedSuccessWithoutReqId) {
  EXPECT_EQ(failure(alarm().requiresResponse(), created("{}")), "Element not in map");
}

// ---------------------------------------------------------------------------------------- failure that is awaited

TEST_F(ResourceResponseTest, TellsAFailureThatIsAwaited) {
  EXPECT_EQ(events(awaited(), refused(R"({"error": "e", "message": "bad"})").contentType(errorMedia)),
            (Texts{json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.ObjectCommitFailed", "qel.channel": "c",
                                         "reqId": 7, "requestId": 0,
                                         "contentType": "application/vnd.com.rdx.marlovance.error+json",
                                         "http": {"statusCode": 422, "statusReason": "Unprocessable"}},
                            "payload": {"$name": "com.kelvo.marlovance.Alarm",
                                        "$map": {"error": "e", "message": "bad"}}})")}));
}

TEST_F(ResourceResponseTest, LogsNothingOfAFailureThatIsAwaited) {
  events(awaited(), refused(R"({"message": "bad"})"));
  EXPECT_EQ(takeLogs(errorLevel), Texts{});
  const Texts lines = takeLogs(debugLevel);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(lines[0].starts_with("Sending response: ")) << lines[0];
}

TEST_F(ResourceResponseTest, TellsAFailureWithAnEmptyNamedMapForABodyThatIsNoMap) {
  for (const char* body : {R"("no")", "null", "[]", "7"}) {
    configure("{}");
    send(awaited());
    respond(refused(body));
    const std::vector<Received> events = takeHostEvents();
    EXPECT_EQ(types(events), (Texts{"com.kelvo.marlovance.ObjectCommitFailed"}));
    EXPECT_EQ(events.at(0).payload(), json(R"({"$name": "com.kelvo.marlovance.Alarm", "$map": {}})"));
  }
}

TEST_F(ResourceResponseTest, NamesAnErrorBodyWithoutABlock) {
  send(awaited());
  Message answer = messageFrom(refused("null"));
  answer.setPayload(map_t());
  OutstandingRequest request = match(answer);
  handler->handleError(answer, request);
  EXPECT_EQ(takeHostEvents().at(0).payload(), json(R"({"$name": "com.kelvo.marlovance.Alarm", "$map": {}})"));
}

TEST_F(ResourceResponseTest, LeavesTimesAndTenantOfAnErrorBodyAlone) {
  configure(R"({"tenantId": "t1"})");
  send(awaited());
  respond(refused(R"({"$name": "theirs", "$map": {"time": "2020-09-13T12:26:40.250Z"}})"));
  EXPECT_EQ(takeHostEvents().at(0).payload(),
            json(R"({"$name": "com.kelvo.marlovance.Alarm", "$map": {"time": "2020-09-13T12:26:40.250Z"}})"));
}

TEST_F(ResourceResponseTest, TellsAFailureThatHasNoStatusReason) {
  send(awaited());
  respond(refused(R"({"message": "bad"})").http("statusReason", "7"));
  EXPECT_EQ(types(takeHostEvents()), (Texts{"com.kelvo.marlovance.ObjectCommitFailed"}));
}

TEST_F(ResourceResponseTest, FailsOnAnAwaitedFailureWithoutReqId) {
  EXPECT_EQ(failure(alarm().requiresResponse(), refused("{}")), "Element not in map");
}

TEST_F(ResourceResponseTest, TakesASuccessWithoutContentTypeForAFailure) {
  send(awaited());
  respond(created(R"({"id": "1"})").without("contentType"));
  EXPECT_EQ(types(takeHostEvents()), (Texts{"com.kelvo.marlovance.ObjectCommitFailed"}));
}

// ---------------------------------------------------------------------------------------- reply channel

struct ReplyChannel {
  const char* name;
  const char* options;
  const char* responseChannel;  ///< as JSON; null for none
  const char* channel;          ///< as JSON
};

void PrintTo(const ReplyChannel& each, std::ostream* out) {
  *out << each.name;
}

class ReplyChannelTest : public ResourceResponseTest, public testing::WithParamInterface<ReplyChannel> {};

TEST_P(ReplyChannelTest, IsPrefixAndResponseChannel) {
  for (const bool good : {true, false}) {
    configure(GetParam().options);
    MessageBuilder request = alarm().reqId(7).requiresResponse();
    if (GetParam().responseChannel) request.metadata("responseChannel", GetParam().responseChannel);
    send(request);
    respond(good ? created("{}") : refused("{}"));
    EXPECT_EQ(takeHostEvents().at(0).metadata("qel.channel"), GetParam().channel);
  }
}

constexpr const char* withPrefix = R"({"notificationsChannelPrefix": "n.", "queryResponsesChannelPrefix": "q."})";

INSTANTIATE_TEST_SUITE_P(Rows, ReplyChannelTest,
                         testing::Values(ReplyChannel{"Plain", "{}", R"("c")", R"("c")"},
                                         ReplyChannel{"None", "{}", nullptr, R"("")"},
                                         ReplyChannel{"NoText", "{}", "7", "7"},
                                         ReplyChannel{"Prefixed", withPrefix, R"("c")", R"("n.c")"},
                                         ReplyChannel{"PrefixAlone", withPrefix, nullptr, R"("n.")"}),
                         NameOfCase());

TEST_F(ResourceResponseTest, FailsOnAPrefixedChannelThatIsNoText) {
  for (const char* body : {R"({"statusCode": 201})", R"({"statusCode": 422})"}) {
    configure(withPrefix);
    EXPECT_EQ(failure(awaited().metadata("responseChannel", "7"), created("{}").metadata("http", body)),
              "Incorrect type in get (you asked for string but it's actually integer)");
  }
}

// ---------------------------------------------------------------------------------------- failure nobody awaits

TEST_F(ResourceResponseTest, MakesAnErrorEventOfAFailureThatNobodyAwaits) {
  EXPECT_EQ(events(alarm().reqId(7).responseChannel("c"), refused(R"({"error": "e", "message": "bad"})")),
            (Texts{json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Error",
                                         "requestId": 0, "contentType": "application/json",
                                         "http": {"statusCode": 422, "statusReason": "Unprocessable"}},
                            "payload": {"error": "e", "message": "bad"}})")}));
  EXPECT_EQ(takeLogs(errorLevel).size(), 1u);
}

TEST_F(ResourceResponseTest, AddsNoMessageToAnErrorBodyWithoutOne) {
  EXPECT_EQ(events(alarm(), refused("{}").metadata("http", R"({"statusCode": 422})")),
            (Texts{json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Error",
                                         "requestId": 0, "contentType": "application/json",
                                         "http": {"statusCode": 422}}, "payload": {}})")}));
}

TEST_F(ResourceResponseTest, LogsTheExchangeOfAFailureThatNobodyAwaits) {
  events(alarm(), refused(R"({"message": "bad"})"));
  EXPECT_EQ(takeLogs(errorLevel),
            (Texts{"Marlovance returned error \"422 Unprocessable\" while performing \"POST /alarm/alarms\" (params: "
                   "None); request payload is {text:hot}; response payload is: {message:bad}"}));
}

TEST_F(ResourceResponseTest, MakesAnErrorEventSilentlyWhereTenantsAreIsolated) {
  configure(R"({"isMultitenantIsolation": true})");
  EXPECT_EQ(events(alarm(), refused(R"({"message": "bad"})")).size(), 1u);
  EXPECT_EQ(takeLogs(errorLevel), Texts{});
}

TEST_F(ResourceResponseTest, FailsOnAMessageWithoutAStatusReason) {
  const MessageBuilder answer = refused(R"({"message": "bad"})").metadata("http", R"({"statusCode": 422})");
  EXPECT_EQ(failure(alarm(), answer), "Element not in map");
  EXPECT_EQ(takeLogs(errorLevel).size(), 1u) << "the exchange is logged all the same";
  configure(R"({"isMultitenantIsolation": true})");
  EXPECT_EQ(failure(alarm(), answer), "Element not in map");
}

TEST_F(ResourceResponseTest, FailsOnAnUnawaitedFailureWhoseBodyIsNoMap) {
  EXPECT_EQ(failure(alarm(), refused(R"("no")")), "Incorrect type in get (you asked for map but it's actually string)");
  EXPECT_EQ(takeLogs(errorLevel).size(), 1u) << "the exchange is logged all the same";
}

TEST_F(ResourceResponseTest, FailsOnAFailureWithoutAStatus) {
  EXPECT_EQ(failure(alarm(), response(0).without("http").payload("{}")), "Element not in map");
}

// ---------------------------------------------------------------------------------------- the end of a request

TEST_F(ResourceResponseTest, IsFinishedAfterEachOutcome) {
  for (const MessageBuilder& request : {awaited(), alarm()}) {
    for (const MessageBuilder& answer : {created("{}"), refused("{}"), refused(R"("no")")}) {
      configure("{}");
      send(request);
      thrownBy([&] { respond(answer); });
      EXPECT_EQ(parts->outstanding.size(), 0u);
      EXPECT_EQ(thrownBy([&] { respond(answer); }).substr(0, 43), "Could not find a request matching response ");
    }
  }
}

}  // namespace
}  // namespace tests
