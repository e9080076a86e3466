#include "tests/unit/handlers/QueryFixture.h"

namespace tests {
namespace {

constexpr const char* errorMedia = "application/vnd.com.rdx.marlovance.error+json";

class GenericTest : public QueryFixture {
 protected:
  GenericTest() { use("GenericRequest"); }

  /// A request for one answer.
  MessageBuilder generic() const { return query().metadata("isPaging", "false"); }

  Received requestOf(const MessageBuilder& event) {
    send(event);
    return takeRequest();
  }

  std::string refusalOf(const MessageBuilder& event) {
    return thrownBy([&] { send(event); });
  }

  /// The events that follow from a request and its answer, as JSON.
  Texts events(const MessageBuilder& request, const MessageBuilder& answer) {
    send(request);
    forgetLogs();
    respond(answer);
    return jsons(takeHostEvents());
  }

  static std::string element(const std::string& payload) {
    return json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.GenericResponse",
                                 "qel.channel": "marlovance.generic.response", "reqId": 7}, "payload": )" +
                payload + "}");
  }

  static std::string complete(bool error, int status, const std::string& details) {
    return json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.GenericResponseComplete",
                                 "qel.channel": "marlovance.generic.response"},
                    "payload": {"reqId": 7, "error": )" +
                std::string(error ? "true" : "false") + R"(, "statusCode": )" + std::to_string(status) +
                R"(, "details": )" + tests::quoted(details) + "}}");
  }
};

// ---------------------------------------------------------------------------------------- request

TEST_F(GenericTest, GoesOutAsItCame) {
  configure(R"({"appKey": "k"})");
  EXPECT_EQ(
      requestOf(
          generic().method("PATCH").contentType("text/x").query("a", "b").header("h", "1").cookie("c", "2").payload(
              R"({"source.id": "1", "text": "", "list": [null, {"x": 1}]})"))
          .json(),
      json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.GenericRequest", "requestId": 0, "reqId": 7,
                                  "isPaging": false, "getAllPages": false, "contentType": "text/x",
                                  "http": {"method": "PATCH", "path": "/some/things", "queryString": {"a": "b"},
                                           "cookies": {"c": "2"},
                                           "headers": {"h": "1", "X-Marlovance-Application-Key": "k",
                                                       "authorization": "Basic dXNlcjpzZWNyZXQ="}},
                                  "metrics": )" +
           std::string(firstStamp) + R"(},
                     "payload": {"source.id": "1", "text": "", "list": [null, {"x": 1}]}})"));
}

TEST_F(GenericTest, TakesAPayloadOfAnyType) {
  for (const char* payload : {R"("text")", "null", "[1, 2]", "5", "true", "2.5"})
    EXPECT_EQ(requestOf(generic().payload(payload)).payload(), json(payload));
}

TEST_F(GenericTest, ConvertsTheTimesOfAPayloadToo) {
  EXPECT_EQ(requestOf(generic().payload(R"({"time": 1.5, "dateTo": "2.5"})")).payload(),
            json(R"({"time": "1970-01-01T00:00:01.500Z", "dateTo": "1970-01-01T00:00:02.500Z"})"));
}

struct Wish {
  const char* name;
  const char* isPaging;
  bool pages;
};

void PrintTo(const Wish& wish, std::ostream* out) {
  *out << wish.isPaging;
}

class GenericPagingTest : public GenericTest, public testing::WithParamInterface<Wish> {};

TEST_P(GenericPagingTest, DecidesOnTheParametersOfTheQuery) {
  const Received request = requestOf(query().metadata("isPaging", GetParam().isPaging).query("q", "a"));
  EXPECT_EQ(request.metadata("getAllPages"), GetParam().pages ? "true" : "false");
  EXPECT_EQ(asked(request, "pageSize"), GetParam().pages ? R"("1000")" : "absent");
  EXPECT_EQ(asked(request, "withTotalPages"), GetParam().pages ? "true" : "false");
  EXPECT_EQ(request.metadata("simpleQuery"), GetParam().pages ? "true" : "absent");
}

INSTANTIATE_TEST_SUITE_P(Values, GenericPagingTest,
                         testing::Values(Wish{"Yes", "true", true}, Wish{"No", "false", false},
                                         Wish{"YesAsText", R"("true")", true}, Wish{"NoAsText", R"("false")", false}),
                         NameOfCase());

struct BadWish {
  const char* name;
  const char* isPaging;
  const char* text;
};

void PrintTo(const BadWish& wish, std::ostream* out) {
  *out << wish.isPaging;
}

class BadGenericPagingTest : public GenericTest, public testing::WithParamInterface<BadWish> {};

TEST_P(BadGenericPagingTest, IsRefusedWithoutAClosingEvent) {
  EXPECT_EQ(refusalOf(query().metadata("isPaging", GetParam().isPaging)), GetParam().text);
  EXPECT_EQ(takeHostEvents().size(), 0u);
  EXPECT_FALSE(asksForMore());
}

INSTANTIATE_TEST_SUITE_P(
    Values, BadGenericPagingTest,
    testing::Values(BadWish{"Number", "1", "Trying to parse from incorrect type (actually integer)"},
                    BadWish{"List", "[true]", "Trying to parse from incorrect type (actually list)"},
                    BadWish{"Empty", "null", "Trying to parse from empty"}),
    NameOfCase());

TEST_F(GenericTest, IsRefusedWithoutItsWishForPages) {
  EXPECT_EQ(refusalOf(query()), "Trying to parse from empty");
}

struct IdCase {
  const char* name;
  const char* id;
  const char* path;
};

void PrintTo(const IdCase& each, std::ostream* out) {
  *out << each.id;
}

class GenericIdTest : public GenericTest, public testing::WithParamInterface<IdCase> {};

TEST_P(GenericIdTest, GoesFromTheQueryToThePath) {
  const Received request =
      requestOf(generic().method("PUT").http("queryString", R"({"id": )" + std::string(GetParam().id) + "}"));
  EXPECT_EQ(request.http("path"), tests::quoted(GetParam().path));
  EXPECT_EQ(asked(request), "{}");
}

INSTANTIATE_TEST_SUITE_P(Values, GenericIdTest,
                         testing::Values(IdCase{"Text", R"("abc")", "/some/things/abc"},
                                         IdCase{"None", R"("")", "/some/things"},
                                         IdCase{"Number", "5", "/some/things/5"},
                                         IdCase{"Boolean", "true", "/some/things/true"},
                                         IdCase{"Float", "2.5", "/some/things/2.5"}),
                         NameOfCase());

TEST_F(GenericTest, IsRefusedWithAnIdThatHasNoText) {
  EXPECT_EQ(refusalOf(generic().method("PUT").http("queryString", R"({"id": [1]})")),
            "Trying to parse from incorrect type (actually list)");
  EXPECT_EQ(refusalOf(generic().method("PUT").http("queryString", R"({"id": null})")), "Trying to parse from empty");
  EXPECT_EQ(refusalOf(generic().http("queryString", R"({"id": 5})")),
            "Incorrect type in get (you asked for string but it's actually integer)")
      << "of a GET, the id decides on the pages first";
}

TEST_F(GenericTest, IsRefusedWithAQueryStringThatIsNoMap) {
  EXPECT_EQ(refusalOf(generic().http("queryString", R"("a=b")")),
            "Incorrect type in get (you asked for map but it's actually string)");
  EXPECT_EQ(refusalOf(event("/p").metadata("isPaging", "false").reqId(7)), "Get from empty");
  EXPECT_EQ(takeHostEvents().size(), 0u);
}

TEST_F(GenericTest, IsClosedWithTheReasonWhenATimeCannotBeRead) {
  const std::string reason =
      "Failed to parse 'time' query param with type integer and value 5. Query param should be given in seconds since "
      "epoch.";
  EXPECT_EQ(refusalOf(generic().payload(R"({"time": 5})")), reason);
  EXPECT_EQ(jsons(takeHostEvents()), Texts{complete(false, 200, reason)});
  EXPECT_FALSE(asksForMore());
}

TEST_F(GenericTest, HasNoOrderingKeyAndIsNotBatchable) {
  const Message request = messageFrom(generic());
  EXPECT_TRUE(handler->getConcurrencyKey(request).empty());
  EXPECT_FALSE(handler->isBatchable(request));
}

// ---------------------------------------------------------------------------------------- answers

TEST_F(GenericTest, YieldsEachElementOfACollectionAndThenItsEnd) {
  configure(R"({"genericResponseBodyMap": "content", "tenantId": "t1"})");
  EXPECT_EQ(events(generic(), page(0, R"([{"id": "1"}, {"time": "1970-01-01T00:00:01.500Z"}, {}])", 1, 1)),
            (Texts{element(R"({"content": {"id": "1"}})"), element(R"({"content": {"time": 1.5}})"),
                   element(R"({"content": {}})"), complete(false, 200, "")}));
}

TEST_F(GenericTest, YieldsADocumentWhole) {
  EXPECT_EQ(events(generic(), answer(0, "application/json", R"({"list": [1]})").status(201)),
            (Texts{element(R"({"body": {"list": [1]}})"), complete(false, 201, "")}));
}

TEST_F(GenericTest, DropsElementsThatAreNoMaps) {
  EXPECT_EQ(events(generic(), page(0, R"(["text", {"id": "1"}])", 1, 1)),
            (Texts{element(R"({"body": {"id": "1"}})"), complete(false, 200, "")}));
  EXPECT_EQ(takeLogs(warnLevel).size(), 1u);
}

TEST_F(GenericTest, WalksItsPages) {
  send(query().metadata("isPaging", "true").query("pageSize", "1"));
  respond(page(0, objects(1, 1), 1, 2));
  EXPECT_EQ(jsons(takeHostEvents()), Texts{element(R"({"body": {"id": "1"}})")});
  respond(page(1, objects(2, 2), 2, 2).status(203));
  EXPECT_EQ(jsons(takeHostEvents()), (Texts{element(R"({"body": {"id": "2"}})"), complete(false, 203, "")}));
}

struct Body {
  const char* name;
  const char* payload;
  const char* details;
};

void PrintTo(const Body& body, std::ostream* out) {
  *out << body.payload;
}

class GenericBodyTest : public GenericTest, public testing::WithParamInterface<Body> {};

TEST_P(GenericBodyTest, ThatIsNoMapComesAsTheDetailsOfTheEnd) {
  EXPECT_EQ(events(generic(), response(0).status(204).payload(GetParam().payload)),
            Texts{complete(false, 204, GetParam().details)});
}

INSTANTIATE_TEST_SUITE_P(Values, GenericBodyTest,
                         testing::Values(Body{"None", "null", ""}, Body{"Text", R"("done")", "done"},
                                         Body{"EmptyText", R"("")", ""}, Body{"Number", "5", "5"},
                                         Body{"List", R"([1, "x"])", "[1,x]"}, Body{"Boolean", "false", "false"},
                                         Body{"Borrowed", R"({"$borrowed": "done"})", "done"}),
                         NameOfCase());

TEST_F(GenericTest, ClosesAMapOfNoKnownKindWithoutAResponse) {
  send(generic());
  EXPECT_EQ(thrownBy([&] { respond(response(0).status(203).payload(R"({"id": "1"})")); }), "Element not in map");
  EXPECT_EQ(jsons(takeHostEvents()), Texts{complete(false, 203, "")});
}

// ---------------------------------------------------------------------------------------- errors

struct Outcome {
  const char* name;
  const char* contentType;  ///< null for none
  std::int64_t status;
  bool isError;
};

void PrintTo(const Outcome& outcome, std::ostream* out) {
  *out << outcome.name;
}

class GenericOutcomeTest : public GenericTest, public testing::WithParamInterface<Outcome> {};

TEST_P(GenericOutcomeTest, IsToldByTypeAndStatus) {
  MessageBuilder answer = response(0).status(GetParam().status);
  if (GetParam().contentType) answer.contentType(GetParam().contentType);
  EXPECT_EQ(handler->isErrorResponse(messageFrom(answer)), GetParam().isError);
}

INSTANTIATE_TEST_SUITE_P(
    Answers, GenericOutcomeTest,
    testing::Values(Outcome{"NoTypeAndGood", nullptr, 200, false}, Outcome{"NoTypeAndBad", nullptr, 404, true},
                    Outcome{"ErrorTypeAndGood", errorMedia, 200, true},
                    Outcome{"OtherTypeAndGood", "text/plain", 204, false}, Outcome{"Below", "text/plain", 399, false},
                    Outcome{"First", "text/plain", 400, true}, Outcome{"Last", "text/plain", 599, true},
                    Outcome{"Above", "text/plain", 600, false}, Outcome{"Negative", "text/plain", -400, false}),
    NameOfCase());

TEST_F(GenericTest, CannotTellAnOutcomeWithoutAStatus) {
  EXPECT_EQ(thrownBy([&] { handler->isErrorResponse(messageFrom(response(0).without("http"))); }),
            "Element not in map");
  EXPECT_TRUE(handler->isErrorResponse(messageFrom(response(0).without("http").contentType(errorMedia))))
      << "the type alone tells";
}

TEST_F(GenericTest, TellsARefusalTwice) {
  EXPECT_EQ(events(generic(), answer(0, errorMedia, R"({"message": "gone"})").status(404).reason("Not Found")),
            (Texts{json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Error", "requestId": 0,
                                         "contentType": "application/vnd.com.rdx.marlovance.error+json",
                                         "http": {"statusCode": 404, "statusReason": "Not Found"}},
                            "payload": {"message": "gone", "reqId": 7}})"),
                   complete(true, 404, "gone")}));
}

TEST_F(GenericTest, LogsTheEventInThePlaceOfTheAnswer) {
  events(generic().http("queryString", "{}").method("PUT"),
         answer(0, errorMedia, R"({"message": "gone", "info": 1})").status(404));
  const Texts lines = takeLogs(errorLevel);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(lines[0].starts_with("Marlovance returned error \"404 OK\" while performing \"PUT /some/things\" "))
      << lines[0];
  EXPECT_EQ(lines[0].find("info"), std::string::npos) << lines[0];
  EXPECT_NE(lines[0].find("message:gone"), std::string::npos) << lines[0];
}

TEST_F(GenericTest, ComposesTheTextOfARefusalOfAnyBody) {
  for (const char* payload : {R"("no such")", "null", "[1]", R"({"a": 1})"}) {
    configure("{}");
    send(generic().method("DELETE"));
    respond(response(0).status(500).payload(payload));
    const std::vector<Received> seen = takeHostEvents();
    ASSERT_EQ(types(seen), (Texts{"com.kelvo.marlovance.Error", "com.kelvo.marlovance.GenericResponseComplete"}));
    EXPECT_EQ(seen[1].document.at("payload").at("details"), seen[0].document.at("payload").at("message"));
    const std::string text(seen[1].document.at("payload").at("details").as_string());
    EXPECT_TRUE(text.starts_with("Error 500 received: ")) << text;
    EXPECT_TRUE(text.ends_with("  while performing DELETE /some/things, params: {}")) << text;
  }
}

TEST_F(GenericTest, ClosesARefusalOfNoKnownShapeAsAnErrorWithoutDetails) {
  send(generic());
  EXPECT_EQ(thrownBy([&] { respond(answer(0, errorMedia, R"("text")").status(404)); }),
            "Incorrect type in get (you asked for map but it's actually string)");
  EXPECT_EQ(jsons(takeHostEvents()), Texts{complete(true, 404, "")});
}

// The line on the refusal needs the request's method; the closing event has its text by then.
TEST_F(GenericTest, ClosesARefusalThatCannotBeLoggedWithItsTextAlone) {
  send(event("/some/things").http("queryString", "{}").metadata("isPaging", "false").reqId(7));
  EXPECT_EQ(thrownBy([&] { respond(answer(0, errorMedia, R"({"message": "gone"})").status(404)); }),
            "Element not in map");
  EXPECT_EQ(jsons(takeHostEvents()), Texts{complete(true, 404, "gone")});
}

TEST_F(GenericTest, KeepsRefusalsOutOfALogOfManyTenants) {
  configure(R"({"isMultitenantIsolation": true})");
  EXPECT_EQ(events(generic(), answer(0, errorMedia, R"({"message": "gone"})").status(404)).size(), 2u);
  EXPECT_EQ(takeLogs(errorLevel), Texts{});
}

}  // namespace
}  // namespace tests
