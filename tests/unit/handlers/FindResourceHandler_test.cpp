#include "handlers/FindResourceHandler.h"

#include <algorithm>
#include <utility>

#include "tests/unit/handlers/QueryFixture.h"

namespace tests {
namespace {

constexpr const char* errorMedia = "application/vnd.com.rdx.marlovance.error+json";

class FindTest : public QueryFixture {
 protected:
  FindTest() { use("FindAlarm"); }

  /// The events that follow from a query and its answer, as JSON.
  Texts events(const MessageBuilder& query, const MessageBuilder& answer) {
    send(query);
    forgetLogs();
    respond(answer);
    return jsons(takeHostEvents());
  }

  std::string refusalOf(const MessageBuilder& event) {
    return thrownBy([&] { send(event); });
  }

  static std::string result(const std::string& alarm) {
    return json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.FindAlarmResponse",
                                 "qel.channel": "marlovance.findalarm.response"},
                    "payload": {"reqId": 7, "alarm": )" +
                alarm + "}}");
  }

  static std::string ack(bool error, int status, const std::string& details) {
    return json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.FindAlarmResponseAck",
                                 "qel.channel": "marlovance.findalarm.response"},
                    "payload": {"reqId": 7, "error": )" +
                std::string(error ? "true" : "false") + R"(, "statusCode": )" + std::to_string(status) +
                R"(, "errorDetails": )" + tests::quoted(details) + "}}");
  }

  static MessageBuilder refused(std::string_view payload) {
    return response(0).status(404).reason("Not Found").contentType(errorMedia).payload(payload);
  }
};

// ---------------------------------------------------------------------------------------- request

struct IdCase {
  const char* name;
  const char* id;
  const char* path;
};

void PrintTo(const IdCase& each, std::ostream* out) {
  *out << each.id;
}

class FindIdTest : public FindTest, public testing::WithParamInterface<IdCase> {};

TEST_P(FindIdTest, GoesFromTheQueryToThePath) {
  send(query().query("id", GetParam().id).query("a", "b"));
  const Received request = takeRequest();
  EXPECT_EQ(request.http("path"), tests::quoted(GetParam().path));
  EXPECT_EQ(asked(request, "id"), "absent");
  EXPECT_EQ(asked(request, "a"), R"("b")");
}

INSTANTIATE_TEST_SUITE_P(Values, FindIdTest,
                         testing::Values(IdCase{"Number", "123", "/some/things/123"},
                                         IdCase{"None", "", "/some/things"},
                                         IdCase{"Slash", "a/b", "/some/things/a/b"}),
                         NameOfCase());

TEST_F(FindTest, ConvertsTheTimesOfTheQuery) {
  send(query().http("queryString", R"({"dateFrom": 1600000000.25, "dateTo": "1600000001.5", "createdFrom": 1.0,
                                       "createdTo": 2.0, "time": 3.0, "lastUpdated": 4.0})"));
  EXPECT_EQ(asked(takeRequest()),
            json(R"({"pageSize": "1000", "withTotalPages": true, "dateFrom": "2020-09-13T12:26:40.250Z",
                     "dateTo": "2020-09-13T12:26:41.500Z", "createdFrom": "1970-01-01T00:00:01.000Z",
                     "createdTo": "1970-01-01T00:00:02.000Z", "time": "1970-01-01T00:00:03.000Z",
                     "lastUpdated": 4.0})"));
}

TEST_F(FindTest, IsClosedWithTheReasonWhenATimeCannotBeRead) {
  const std::string reason = "dateTo query param should be given in seconds since epoch. Instead it got soon";
  EXPECT_EQ(refusalOf(query().query("dateTo", "soon")), reason);
  EXPECT_EQ(jsons(takeHostEvents()), Texts{ack(false, 200, reason)});
  EXPECT_EQ(parts->transport.takeAll().size(), 0u);
}

TEST_F(FindTest, ClosesABadTimeWithWhatItsCallerMarked) {
  const std::string reason =
      "Failed to parse 'dateFrom' query param with type integer and value 5. Query param should be given in seconds "
      "since epoch.";
  EXPECT_EQ(refusalOf(query()
                          .http("queryString", R"({"dateFrom": 5})")
                          .metadata("sentError", "false")
                          .metadata("statusCode", "201")),
            reason);
  EXPECT_EQ(jsons(takeHostEvents()), Texts{ack(true, 201, reason)});
}

TEST_F(FindTest, CannotCloseABadTimeWithoutARequestId) {
  EXPECT_EQ(refusalOf(query().query("dateTo", "soon").without("reqId")), "Element not in map");
  EXPECT_EQ(takeHostEvents().size(), 0u);
}

TEST_F(FindTest, RefusesAnEventWithoutItsHttpPart) {
  const std::string text = refusalOf(event("/p").without("http"));
  EXPECT_TRUE(text.ends_with("] as metadata does not have an HTTP mapping")) << text;
  const std::string noPath = refusalOf(tests::event(eventType).http("queryString", "{}"));
  EXPECT_TRUE(noPath.ends_with("] as metadata.http does not have path value")) << noPath;
  EXPECT_EQ(takeHostEvents().size(), 0u);
}

TEST_F(FindTest, HasNoOrderingKeyAndIsNotBatchable) {
  const Message request = messageFrom(query());
  EXPECT_TRUE(handler->getConcurrencyKey(request).empty());
  EXPECT_FALSE(handler->isBatchable(request));
}

// ---------------------------------------------------------------------------------------- pages

TEST_F(FindTest, YieldsEachElementAndThenItsAcknowledgement) {
  EXPECT_EQ(events(query(), page(0, R"([{"id": "1", "time": "1970-01-01T00:00:01.500Z"}, {"text": "hot"}])", 1, 1)),
            (Texts{result(R"({"id": "1", "time": 1.5})"), result(R"({"text": "hot"})"), ack(false, 200, "")}));
}

TEST_F(FindTest, YieldsOneDocumentAsOneResult) {
  const Texts texts = events(query().query("id", "1"), answer(0, "application/vnd.com.rdx.marlovance.alarm+json",
                                                              R"({"id": "1", "lists": [[1], [2]]})"));
  EXPECT_EQ(texts, (Texts{result(R"({"id": "1", "lists": [[1], [2]]})"), ack(false, 200, "")}));
}

TEST_F(FindTest, YieldsOnlyTheAcknowledgementOfAnEmptyCollection) {
  EXPECT_EQ(events(query(), page(0, "[]", 1, 0)), Texts{ack(false, 200, "")});
  EXPECT_EQ(linesOf(debugLevel, "Got 0"), Texts{"Got 0 responses and 0 errors"});
}

TEST_F(FindTest, TakesACollectionWithoutAListAsEmpty) {
  EXPECT_EQ(events(query(), answer(0, collectionType, R"({"id": "1"})")), Texts{ack(false, 200, "")});
}

TEST_F(FindTest, HandsAPageToTheHostInOneCallThoughItIsEmpty) {
  send(query().query("pageSize", "0"));
  parts->host.takeBatchSizes();
  respond(page(0, objects(1, 3), 1, 2));
  EXPECT_EQ(parts->host.takeBatchSizes(), std::vector<std::size_t>{3});
  respond(page(1, "[]", 2, 2));
  EXPECT_EQ(parts->host.takeBatchSizes(), (std::vector<std::size_t>{0, 1}));
}

TEST_F(FindTest, DropsElementsThatAreNoMaps) {
  EXPECT_EQ(events(query(), page(0, R"([{"id": "1"}, "text", 5, null, [1], {"id": "2"}])", 1, 1)),
            (Texts{result(R"({"id": "1"})"), result(R"({"id": "2"})"), ack(false, 200, "")}));
  const std::string head = "Error while transforming response element: ";
  EXPECT_EQ(takeLogs(warnLevel),
            (Texts{head + "Incorrect type in get (you asked for map but it's actually string); text will be dropped.",
                   head + "Incorrect type in get (you asked for map but it's actually integer); 5 will be dropped.",
                   head + "Get from empty; (null) will be dropped.",
                   head + "Incorrect type in get (you asked for map but it's actually list); [1] will be dropped."}));
}

TEST_F(FindTest, CountsResultsAndErrorsAtDebugLevel) {
  events(query(), page(0, R"([{"id": "1"}, "text"])", 1, 1));
  const Texts lines = takeLogs(debugLevel);
  EXPECT_NE(std::find(lines.begin(), lines.end(), "Got 1 responses and 1 errors"), lines.end());
}

TEST_F(FindTest, ShowsWhatItParsedAtDebugLevel) {
  events(query(), page(0, objects(1, 2), 1, 1));
  EXPECT_EQ(linesOf(debugLevel, "Parsed one response from list of responses to Message {").size(), 2u);
  configure("{}");
  events(query(), answer(0, "application/json", R"({"id": "1"})"));
  EXPECT_EQ(linesOf(debugLevel, "Parsed response to Message {").size(), 1u);
}

TEST_F(FindTest, YieldsNothingOfADocumentThatCannotBeReshaped) {
  use("FindManagedObject");
  send(query());
  EXPECT_EQ(thrownBy([&] { respond(answer(0, "application/json", R"({"childDevices": {}})")); }), "Get from empty");
  const std::vector<Received> seen = takeHostEvents();
  EXPECT_EQ(types(seen), Texts{"com.kelvo.marlovance.FindManagedObjectResponseAck"});
  EXPECT_EQ(seen.at(0).payload(), json(R"({"error": false, "statusCode": 200, "errorDetails": "", "reqId": 7})"));
}

TEST_F(FindTest, DropsAnElementThatCannotBeReshaped) {
  use("FindManagedObject");
  send(query());
  respond(page(0, R"([{"q4v_Position": 5}, {"id": "2"}])", 1, 1));
  EXPECT_EQ(types(takeHostEvents()), (Texts{"com.kelvo.marlovance.FindManagedObjectResponse",
                                            "com.kelvo.marlovance.FindManagedObjectResponseAck"}));
  EXPECT_EQ(takeLogs(warnLevel),
            Texts{"Error while transforming response element: Incorrect type in get (you asked for map but it's "
                  "actually integer); {q4v_Position:5} will be dropped."});
}

TEST_F(FindTest, SetsTheTenantInEachElementOnly) {
  configure(R"({"tenantId": "t1"})");
  EXPECT_EQ(events(query(), page(0, R"([{"tenantId": "theirs"}, {}])", 1, 1)),
            (Texts{result(R"({"tenantId": "t1"})"), result(R"({"tenantId": "t1"})"), ack(false, 200, "")}));
}

TEST_F(FindTest, PrefixesTheChannelOfBothEvents) {
  configure(R"({"queryResponsesChannelPrefix": "q.", "notificationsChannelPrefix": "n."})");
  send(query());
  respond(page(0, objects(1, 1), 1, 1));
  for (const Received& event : takeHostEvents())
    EXPECT_EQ(event.metadata("qel.channel"), R"("q.marlovance.findalarm.response")");
}

TEST_F(FindTest, AcknowledgesWithTheStatusOfTheLastPage) {
  send(query().query("pageSize", "1"));
  respond(page(0, objects(1, 1), 1, 2).status(206));
  respond(page(1, objects(2, 2), 2, 2).status(203));
  EXPECT_EQ(takeHostEvents().back().json(), ack(false, 203, ""));
}

TEST_F(FindTest, IsAcknowledgedAsFailedForAMarkOfItsCaller) {
  EXPECT_EQ(events(query().metadata("sentError", "false"), page(0, "[]", 1, 1)), Texts{ack(true, 200, "")});
}

// ---------------------------------------------------------------------------------------- errors

TEST_F(FindTest, TellsARefusalTwice) {
  EXPECT_EQ(events(query(), refused(R"({"message": "Not found", "info": "x"})")),
            (Texts{json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Error", "requestId": 0,
                                         "contentType": ")" +
                        std::string(errorMedia) + R"(", "http": {"statusCode": 404, "statusReason": "Not Found"}},
                            "payload": {"message": "Not found", "reqId": 7}})"),
                   ack(true, 404, "Not found")}));
  EXPECT_EQ(takeLogs(errorLevel).size(), 1u);
}

TEST_F(FindTest, ComposesTheTextOfARefusalOfAnotherKind) {
  send(query());
  respond(response(0).status(500).contentType("application/json").payload(R"({"a": 1})"));
  const std::vector<Received> seen = takeHostEvents();
  ASSERT_EQ(seen.size(), 2u);
  const std::string details(seen[1].document.at("payload").at("errorDetails").as_string());
  EXPECT_TRUE(details.starts_with("Error 500 received: {a:1}  while performing GET /some/things, params: {"))
      << details;
  EXPECT_EQ(details, seen[0].document.at("payload").at("message").as_string());
}

TEST_F(FindTest, FallsBackToTheComposedTextForAnEmptyMessage) {
  send(query());
  respond(refused(R"({"message": ""})"));
  const std::string details(takeHostEvents().at(1).document.at("payload").at("errorDetails").as_string());
  EXPECT_TRUE(details.starts_with("Error 404 received: ")) << details;
}

TEST_F(FindTest, EndsAtARefusalOfALaterPage) {
  send(query().query("pageSize", "1"));
  respond(page(0, objects(1, 1), 1, 3));
  respond(refused(R"({"message": "gone"})").metadata("requestId", "1"));
  EXPECT_EQ(types(takeHostEvents()), (Texts{"com.kelvo.marlovance.FindAlarmResponse", "com.kelvo.marlovance.Error",
                                            "com.kelvo.marlovance.FindAlarmResponseAck"}));
}

TEST_F(FindTest, ReportsSuccessAfterARefusalThatIsNoMap) {
  for (const char* payload : {R"("page of text")", "null", "[1]"}) {
    configure("{}");
    EXPECT_EQ(events(query(), refused(payload).contentType("text/html")), Texts{ack(false, 200, "")});
    EXPECT_EQ(takeLogs(errorLevel).size(), 1u);
  }
}

TEST_F(FindTest, KeepsTheStatusOfAnEarlierPageAfterARefusalThatIsNoMap) {
  send(query().query("pageSize", "1"));
  respond(page(0, objects(1, 1), 1, 3).status(206));
  respond(refused(R"("text")").metadata("requestId", "1"));
  EXPECT_EQ(takeHostEvents().back().json(), ack(false, 206, ""));
}

TEST_F(FindTest, KeepsRefusalsOutOfALogOfManyTenants) {
  configure(R"({"isMultitenantIsolation": true})");
  EXPECT_EQ(events(query(), refused(R"({"message": "gone"})")).size(), 2u);
  EXPECT_EQ(takeLogs(errorLevel), Texts{});
}

TEST_F(FindTest, FailsOnAPlatformMessageThatIsNoTextAndIsAcknowledgedAsFailed) {
  send(query());
  EXPECT_EQ(thrownBy([&] { respond(refused(R"({"message": 5})")); }),
            "Incorrect type in get (you asked for string but it's actually integer)");
  EXPECT_EQ(jsons(takeHostEvents()), Texts{ack(true, 404, "")});
}

TEST_F(FindTest, IsAcknowledgedOnceThoughTheHostRefusesItsResults) {
  send(query());
  bool refusing = true;
  parts->host.onMessage = [&](const Received&) {
    if (std::exchange(refusing, false)) throw std::runtime_error("no room");
  };
  EXPECT_NE(thrownBy([&] { respond(page(0, objects(1, 1), 1, 1)); }), "nothing thrown");
  EXPECT_EQ(types(takeHostEvents()),
            (Texts{"com.kelvo.marlovance.FindAlarmResponse", "com.kelvo.marlovance.FindAlarmResponseAck"}));
}

}  // namespace
}  // namespace tests
