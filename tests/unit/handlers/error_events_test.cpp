#include "connectivity/to_string.h"
#include "tests/unit/handlers/HandlerFixture.h"
#include "tests/unit/handlers/PlainHandler.h"

namespace tests {
namespace {

constexpr const char* errorMedia = "application/vnd.com.rdx.marlovance.error+json";

class ErrorEventsTest : public HandlerFixture {
 protected:
  static MessageBuilder anyRequest() { return MessageBuilder().method("PUT").path("/p").payload(R"({"text": "hot"})"); }
  static MessageBuilder refusedWith(std::int64_t status) {
    return MessageBuilder().status(status).reason("Not Found").contentType("text/plain").payload(R"("no")");
  }

  void log(const MessageBuilder& response, const MessageBuilder& request) {
    PlainHandler(services()).logErrorResponse(messageFrom(response), messageFrom(request));
  }
  std::string text(const MessageBuilder& response, const MessageBuilder& request) {
    return PlainHandler(services()).errorTextOf(messageFrom(response), messageFrom(request));
  }
  std::string event(const MessageBuilder& response, const MessageBuilder& request) {
    Message answer = messageFrom(response);
    const Message made = PlainHandler(services()).makeErrorEvent(answer, messageFrom(request));
    EXPECT_EQ(toJson(answer), json(R"({"metadata": {}, "payload": null})")) << "the response is left empty";
    return toJson(made);
  }
};

// ---------------------------------------------------------------------------------------- the log line

TEST_F(ErrorEventsTest, TellsTheWholeExchangeInOneLine) {
  log(refusedWith(404), anyRequest().query("pageSize", "5"));
  EXPECT_EQ(takeLogs(errorLevel),
            (Texts{"Marlovance returned error \"404 Not Found\" while performing \"PUT /p\" (params: {pageSize:5}); "
                   "request payload is {text:hot}; response payload is: no"}));
}

TEST_F(ErrorEventsTest, TellsOfNoParametersAsNone) {
  log(refusedWith(404), anyRequest());
  EXPECT_EQ(takeLogs(errorLevel),
            (Texts{"Marlovance returned error \"404 Not Found\" while performing \"PUT /p\" (params: None); "
                   "request payload is {text:hot}; response payload is: no"}));
}

TEST_F(ErrorEventsTest, TellsOfEmptyParametersAsTheyAre) {
  log(refusedWith(404), anyRequest().http("queryString", "{}"));
  EXPECT_EQ(takeLogs(errorLevel),
            (Texts{"Marlovance returned error \"404 Not Found\" while performing \"PUT /p\" (params: {}); "
                   "request payload is {text:hot}; response payload is: no"}));
}

TEST_F(ErrorEventsTest, TellsParametersThatRenderAsNothingAsNone) {
  log(refusedWith(404), anyRequest().http("queryString", R"("")"));
  EXPECT_EQ(takeLogs(errorLevel),
            (Texts{"Marlovance returned error \"404 Not Found\" while performing \"PUT /p\" (params: None); "
                   "request payload is {text:hot}; response payload is: no"}));
}

TEST_F(ErrorEventsTest, LeavesOutAReasonThatIsMissing) {
  log(MessageBuilder().status(500).payload("null"), anyRequest().payload("null"));
  EXPECT_EQ(takeLogs(errorLevel),
            (Texts{"Marlovance returned error \"500 \" while performing \"PUT /p\" (params: None); "
                   "request payload is (null); response payload is: (null)"}));
}

TEST_F(ErrorEventsTest, WritesTheStatusWithAll64Bits) {
  log(refusedWith(9000000000000000000), anyRequest());
  EXPECT_TRUE(takeLogs(errorLevel).front().starts_with("Marlovance returned error \"9000000000000000000 Not Found\" "));
}

TEST_F(ErrorEventsTest, UsesTheFormatOfTheHost) {
  log(refusedWith(404), anyRequest());
  EXPECT_EQ(TestHost::logs(errorLevel).front().format,
            "<%s> Marlovance returned error \"%I64d %s\" while performing \"%s %s\" (params: %s); request payload is "
            "%s; response payload is: %s");
}

TEST_F(ErrorEventsTest, KeepsAReasonOfSeveralLinesOneRecord) {
  log(refusedWith(404).reason("one\r\ntwo\nthree\rfour"), anyRequest());
  EXPECT_EQ(takeLogs(errorLevel),
            (Texts{"Marlovance returned error \"404 one\n\t---> two\n\t---> three\n\t---> four\" while performing "
                   "\"PUT /p\" (params: None); request payload is {text:hot}; response payload is: no"}));
}

TEST_F(ErrorEventsTest, KeepsPayloadsOfSeveralLinesOneRecord) {
  log(refusedWith(404).payload(R"("a\r\nb")"), anyRequest().payload(R"("c\nd")"));
  EXPECT_EQ(takeLogs(errorLevel),
            (Texts{"Marlovance returned error \"404 Not Found\" while performing \"PUT /p\" (params: None); "
                   "request payload is c\n\t---> d; response payload is: a\n\t---> b"}));
}

TEST_F(ErrorEventsTest, LeavesParametersOfSeveralLinesAsTheyAre) {
  log(refusedWith(404), anyRequest().path("/p\nq").query("q", "a\nb"));
  EXPECT_EQ(takeLogs(errorLevel),
            (Texts{"Marlovance returned error \"404 Not Found\" while performing \"PUT /p\nq\" (params: {q:a\nb}); "
                   "request payload is {text:hot}; response payload is: no"}));
}

TEST_F(ErrorEventsTest, ShowsTheResponseAtDebugLevelFirst) {
  const MessageBuilder response = refusedWith(404);
  log(response, anyRequest());
  const std::vector<LogLine> lines = TestHost::logs();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[1].level, errorLevel);
  EXPECT_EQ(takeLogs(debugLevel), (Texts{"Got error response " + to_string(messageFrom(response))}));
}

TEST_F(ErrorEventsTest, IsSilentAboveDebugWhereTenantsAreIsolated) {
  configure(R"({"isMultitenantIsolation": true})");
  log(refusedWith(404), anyRequest());
  EXPECT_EQ(takeLogs(errorLevel), Texts{});
  EXPECT_EQ(takeLogs(debugLevel).size(), 1u);
}

TEST_F(ErrorEventsTest, ReadsNothingWhereTenantsAreIsolated) {
  configure(R"({"isMultitenantIsolation": true})");
  EXPECT_NO_THROW(log(MessageBuilder(), MessageBuilder()));
}

// ---------------------------------------------------------------------------------------- what can't be told

struct Gap {
  const char* name;
  const char* response;
  const char* request;
  const char* failure;
};

void PrintTo(const Gap& gap, std::ostream* out) {
  *out << gap.response << " to " << gap.request;
}

class GapTest : public ErrorEventsTest, public testing::WithParamInterface<Gap> {
 protected:
  std::string failureOf(const char* what) {
    const Message response = messageFromJson(GetParam().response, R"("no")");
    const Message request = messageFromJson(GetParam().request, "{}");
    return thrownBy([&] {
      if (std::string_view(what) == "line")
        PlainHandler(services()).logErrorResponse(response, request);
      else
        PlainHandler(services()).errorTextOf(response, request);
    });
  }
};

TEST_P(GapTest, FailsTheLine) {
  EXPECT_EQ(failureOf("line"), GetParam().failure);
  EXPECT_EQ(takeLogs(errorLevel), Texts{});
}

TEST_P(GapTest, FailsTheText) {
  EXPECT_EQ(failureOf("text"), GetParam().failure);
}

constexpr const char* goodResponse = R"({"http": {"statusCode": 404}})";
constexpr const char* goodRequest = R"({"http": {"method": "PUT", "path": "/p"}})";

INSTANTIATE_TEST_SUITE_P(
    Rows, GapTest,
    testing::Values(Gap{"ResponseWithoutHttp", "{}", goodRequest, "Element not in map"},
                    Gap{"ResponseWithHttpOfAWrongType", R"({"http": "x"})", goodRequest,
                        "Incorrect type in get (you asked for map but it's actually string)"},
                    Gap{"ResponseWithoutStatus", R"({"http": {}})", goodRequest, "Element not in map"},
                    Gap{"ResponseWithStatusOfAWrongType", R"({"http": {"statusCode": "404"}})", goodRequest,
                        "Incorrect type in get (you asked for integer but it's actually string)"},
                    Gap{"RequestWithoutHttp", goodResponse, "{}", "Element not in map"},
                    Gap{"RequestWithHttpOfAWrongType", goodResponse, R"({"http": "x"})",
                        "Incorrect type in get (you asked for map but it's actually string)"},
                    Gap{"RequestWithoutMethod", goodResponse, R"({"http": {"path": "/p"}})", "Element not in map"},
                    Gap{"RequestWithMethodOfAWrongType", goodResponse, R"({"http": {"method": 1, "path": "/p"}})",
                        "Incorrect type in get (you asked for string but it's actually integer)"},
                    Gap{"RequestWithoutPath", goodResponse, R"({"http": {"method": "PUT"}})", "Element not in map"},
                    Gap{"RequestWithPathOfAWrongType", goodResponse, R"({"http": {"method": "PUT", "path": null}})",
                        "Get from empty"}),
    NameOfCase());

TEST_F(ErrorEventsTest, FailsTheLineForAReasonOfAWrongType) {
  EXPECT_EQ(thrownBy([&] { log(refusedWith(404).http("statusReason", "7"), anyRequest()); }),
            "Incorrect type in get (you asked for string but it's actually integer)");
  EXPECT_EQ(takeLogs(errorLevel), Texts{});
}

// ---------------------------------------------------------------------------------------- the text

TEST_F(ErrorEventsTest, TakesThePlatformsOwnMessage) {
  EXPECT_EQ(text(refusedWith(404).contentType(errorMedia).payload(R"({"message": "Not found", "error": "e", "n": 1})"),
                 anyRequest()),
            "Not found");
}

TEST_F(ErrorEventsTest, TakesThePlatformsOwnMessageFromABorrowedText) {
  EXPECT_EQ(text(refusedWith(404).contentType(errorMedia).payload(R"({"message": {"$borrowed": "Not found"}})"),
                 anyRequest()),
            "Not found");
}

TEST_F(ErrorEventsTest, NeedsNothingButThePlatformsOwnMessage) {
  EXPECT_EQ(text(MessageBuilder().contentType(errorMedia).payload(R"({"message": "Not found"})"), MessageBuilder()),
            "Not found");
}

TEST_F(ErrorEventsTest, ComposesATextForAnotherMediaType) {
  EXPECT_EQ(text(refusedWith(500).payload(R"({"message": "Not found"})"), anyRequest().query("pageSize", "5")),
            "Error 500 received: {message:Not found}  while performing PUT /p, params: {pageSize:5}");
}

TEST_F(ErrorEventsTest, ComposesATextWithoutAContentType) {
  EXPECT_EQ(text(refusedWith(500).without("contentType").payload(R"({"message": "Not found"})"), anyRequest()),
            "Error 500 received: {message:Not found}  while performing PUT /p, params: ");
}

TEST_F(ErrorEventsTest, ComposesATextWithoutAMessageInTheErrorBody) {
  EXPECT_EQ(text(refusedWith(500).contentType(errorMedia).payload(R"({"error": "e"})"), anyRequest()),
            "Error 500 received: {error:e}  while performing PUT /p, params: ");
}

TEST_F(ErrorEventsTest, ComposesATextForAnEmptyMessageInTheErrorBody) {
  EXPECT_EQ(text(refusedWith(500).contentType(errorMedia).payload(R"({"message": ""})"), anyRequest()),
            "Error 500 received: {message:}  while performing PUT /p, params: ");
}

TEST_F(ErrorEventsTest, PutsTheBodyOnOneLine) {
  EXPECT_EQ(text(refusedWith(500).payload(R"("a\r\nb\nc\rd\n\n")"), anyRequest()),
            "Error 500 received: abcd  while performing PUT /p, params: ");
}

TEST_F(ErrorEventsTest, LeavesOutTheReason) {
  EXPECT_EQ(text(refusedWith(-1).reason("Gone").payload("null"), anyRequest()),
            "Error -1 received: (null)  while performing PUT /p, params: ");
}

TEST_F(ErrorEventsTest, RefusesAnErrorBodyThatIsNoMap) {
  EXPECT_EQ(thrownBy([&] { text(refusedWith(500).contentType(errorMedia), anyRequest()); }),
            "Incorrect type in get (you asked for map but it's actually string)");
  EXPECT_EQ(thrownBy([&] { text(refusedWith(500).contentType(errorMedia).payload("null"), anyRequest()); }),
            "Get from empty");
}

TEST_F(ErrorEventsTest, RefusesAMessageInTheErrorBodyThatIsNoText) {
  EXPECT_EQ(
      thrownBy([&] { text(refusedWith(500).contentType(errorMedia).payload(R"({"message": 7})"), anyRequest()); }),
      "Incorrect type in get (you asked for string but it's actually integer)");
}

// ---------------------------------------------------------------------------------------- the event

TEST_F(ErrorEventsTest, MakesAnEventOfTheResponseWithItsOtherMetadata) {
  EXPECT_EQ(event(refusedWith(404).contentType(errorMedia).metadata("requestId", "3").payload(R"({"message": "gone"})"),
                  anyRequest().reqId(7)),
            json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Error", "requestId": 3,
                                  "contentType": "application/vnd.com.rdx.marlovance.error+json",
                                  "http": {"statusCode": 404, "statusReason": "Not Found"}},
                     "payload": {"message": "gone", "reqId": 7}})"));
}

TEST_F(ErrorEventsTest, MakesAnEventWithAComposedText) {
  EXPECT_EQ(event(MessageBuilder().status(500).payload(R"("no")"), anyRequest().reqId(7)),
            json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Error", "http": {"statusCode": 500}},
                     "payload": {"message": "Error 500 received: no  while performing PUT /p, params: ", "reqId": 7}})"));
}

TEST_F(ErrorEventsTest, ReplacesATypeAndLeavesAChannel) {
  EXPECT_EQ(event(refusedWith(500).type("T").channel("c").without("contentType").without("http").status(500),
                  anyRequest().reqId(7)),
            json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Error", "qel.channel": "c",
                                  "http": {"statusCode": 500}},
                     "payload": {"message": "Error 500 received: no  while performing PUT /p, params: ", "reqId": 7}})"));
}

TEST_F(ErrorEventsTest, MakesAnEventWhereTenantsAreIsolated) {
  configure(R"({"isMultitenantIsolation": true})");
  EXPECT_EQ(event(MessageBuilder().contentType(errorMedia).payload(R"({"message": "gone"})"), anyRequest().reqId(7)),
            json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Error",
                                  "contentType": "application/vnd.com.rdx.marlovance.error+json"},
                     "payload": {"message": "gone", "reqId": 7}})"));
}

TEST_F(ErrorEventsTest, MakesNoEventWithoutTheRequestsId) {
  Message response = messageFrom(refusedWith(500));
  const Message request = messageFrom(anyRequest());
  EXPECT_EQ(thrownBy([&] { PlainHandler(services()).makeErrorEvent(response, request); }), "Element not in map");
}

}  // namespace
}  // namespace tests
