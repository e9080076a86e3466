// The walk from page to page.
#include <algorithm>

#include "tests/unit/handlers/QueryFixture.h"

namespace tests {
namespace {

class WalkTest : public QueryFixture {
 protected:
  WalkTest() { use("FindAlarm"); }

  /// A walk in pages of `pageSize`, by number, or by id when it has a filter. The first request is taken.
  void start(const char* pageSize, const char* filter = nullptr) {
    MessageBuilder first = query().query("pageSize", pageSize);
    if (filter) first.query("q", filter);
    send(first);
    takeRequest();
    forgetLogs();
  }

  /// The ids of the elements that reached the host since the last call, and "end" for the final event.
  Texts seen() {
    Texts texts;
    for (const Received& event : takeHostEvents())
      texts.push_back(event.type() == "com.kelvo.marlovance.FindAlarmResponse"
                          ? textOf(event.document.at("payload").at("alarm").at("id"))
                          : "end");
    return texts;
  }

  /// What the page's handling fails with.
  std::string failure(const MessageBuilder& page) {
    return thrownBy([&] { respond(page); });
  }
};

// ---------------------------------------------------------------------------------------- by number

TEST_F(WalkTest, GoesOnByNumberToTheLastPage) {
  start("2");
  respond(page(0, objects(1, 2), 1, 3));
  EXPECT_EQ(seen(), (Texts{R"("1")", R"("2")"}));
  EXPECT_EQ(asked(takeRequest()), json(R"({"pageSize": "2", "withTotalPages": true, "currentPage": 2})"));
  respond(page(1, objects(3, 4), 2, 3));
  EXPECT_EQ(seen(), (Texts{R"("3")", R"("4")"}));
  EXPECT_EQ(asked(takeRequest()), json(R"({"pageSize": "2", "withTotalPages": true, "currentPage": 3})"));
  respond(page(2, objects(5, 6), 3, 3));
  EXPECT_EQ(seen(), (Texts{R"("5")", R"("6")", "end"}));
  EXPECT_FALSE(asksForMore());
}

TEST_F(WalkTest, SendsTheSameMessageForEachPage) {
  send(query().query("pageSize", "1").query("dateFrom", "0.5").header("h", "1").metadata("own", "[1]"));
  const Received first = takeRequest();
  respond(page(0, objects(1, 1), 1, 2));
  boost::json::value next = takeRequest().document;
  auto& metadata = next.at("metadata").as_object();
  EXPECT_EQ(textOf(metadata.at("requestId")), "1");
  EXPECT_EQ(textOf(metadata.at("statusCode")), "200");
  EXPECT_EQ(textOf(metadata.at("totalPages")), "2");
  EXPECT_EQ(textOf(metadata.at("withTotalPages")), "false");
  EXPECT_EQ(textOf(metadata.at("http").at("queryString").at("currentPage")), "2");
  for (const char* key : {"statusCode", "totalPages", "withTotalPages", "requestSentTime"}) metadata.erase(key);
  metadata.at("requestId") = 0;
  metadata.at("http").at("queryString").as_object().erase("currentPage");
  EXPECT_EQ(textOf(next), first.json());
}

TEST_F(WalkTest, DeliversAPageBeforeItAsksForTheNext) {
  start("2");
  Texts before;
  parts->transport.beforeTaking = [&](const Received&) { before = seen(); };
  respond(page(0, objects(1, 2), 1, 2));
  EXPECT_EQ(before, (Texts{R"("1")", R"("2")"}));
}

TEST_F(WalkTest, EndsWithAShortPageWhateverTheStatisticsPromise) {
  start("3");
  respond(page(0, objects(1, 2), 1, 9));
  EXPECT_EQ(seen(), (Texts{R"("1")", R"("2")", "end"}));
  EXPECT_FALSE(asksForMore());
}

TEST_F(WalkTest, KeepsThePageCountOfItsFirstPage) {
  start("1");
  respond(page(0, objects(1, 1), 1, 2));
  EXPECT_EQ(takeRequest().metadata("totalPages"), "2");
  respond(page(1, objects(2, 2), 2, 9));
  EXPECT_EQ(seen(), (Texts{R"("1")", R"("2")", "end"}));
}

TEST_F(WalkTest, TrustsThePageNumberOfTheStatistics) {
  start("1");
  respond(page(0, objects(1, 1), 5, 9));
  EXPECT_EQ(asked(takeRequest(), "currentPage"), "6");
}

TEST_F(WalkTest, CountsElementsThatWereDropped) {
  start("3");
  respond(page(0, R"([{"id": "1"}, "bad", 2])", 1, 2));
  EXPECT_EQ(seen(), Texts{R"("1")"});
  EXPECT_TRUE(asksForMore());
}

TEST_F(WalkTest, TellsItsPagesByNumberAtDebugLevel) {
  start("2");
  respond(page(0, objects(1, 2), 1, 3));
  const Texts lines = linesOf(debugLevel, "");
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "Got 2 response(s) in page 1 with reqId=7 and totalPages=3"), 1);
  const auto startsSo = [](const std::string& line) { return line.starts_with("Fetching next page with request {"); };
  EXPECT_EQ(std::count_if(lines.begin(), lines.end(), startsSo), 1);
}

TEST_F(WalkTest, ShowsTheStatisticsAtDebugLevel) {
  start("5");
  respond(page(0, objects(1, 1), R"({"currentPage": 1})"));
  EXPECT_EQ(linesOf(debugLevel, "Got stats"), Texts{"Got stats from marlovance {currentPage:1}"});
}

// ---------------------------------------------------------------------------------------- by id

TEST_F(WalkTest, GoesOnByIdFromTheLastOneSeen) {
  start("2", "$filter=type eq 'x'");
  respond(page(0, objects(1, 2), 1, 3));
  Received next = takeRequest();
  EXPECT_EQ(asked(next), json(R"({"pageSize": "2", "withTotalPages": true,
                                  "q": "$filter=((type eq 'x') and (_id gt '2')) $orderby=_id asc"})"));
  EXPECT_EQ(next.metadata("pagesLeft"), "3");
  respond(page(1, objects(3, 4), 1, 2));
  next = takeRequest();
  EXPECT_EQ(asked(next, "q"), R"("$filter=((type eq 'x') and (_id gt '4')) $orderby=_id asc")");
  EXPECT_EQ(next.metadata("pagesLeft"), "2");
  EXPECT_EQ(next.metadata("totalPages"), "3");
  respond(page(2, objects(5, 5), 1, 1));
  EXPECT_EQ(seen(), (Texts{R"("1")", R"("2")", R"("3")", R"("4")", R"("5")", "end"}));
  EXPECT_FALSE(asksForMore());
}

TEST_F(WalkTest, GoesOnByIdThoughTheStatisticsShowOnePage) {
  start("2", "a");
  respond(page(0, objects(1, 2), 1, 1));
  EXPECT_TRUE(asksForMore());
  respond(page(1, "[]", 1, 1));
  EXPECT_EQ(seen().back(), "end");
  EXPECT_FALSE(asksForMore());
}

TEST_F(WalkTest, AsksThroughQueryWhenThereAreBothFilters) {
  send(query().query("pageSize", "2").query("q", "a").query("query", "b"));
  takeRequest();
  respond(page(0, objects(1, 2), 1, 1));
  EXPECT_EQ(asked(takeRequest()), json(R"({"pageSize": "2", "withTotalPages": true,
                                           "q": "$filter=((a) and (_id gt '0')) $orderby=_id asc",
                                           "query": "$filter=((a) and (_id gt '2')) $orderby=_id asc"})"));
}

TEST_F(WalkTest, AsksForTheSameAgainInPagesOfOneById) {
  start("1", "a");
  for (int round = 0; round < 3; ++round) {
    respond(page(round, objects(8, 8), 1, 1));
    EXPECT_EQ(asked(takeRequest(), "q"), R"("$filter=((a) and (_id gt '0')) $orderby=_id asc")");
    EXPECT_EQ(seen(), Texts{R"("8")"});
  }
}

TEST_F(WalkTest, EndsByIdWithAnEmptyPageWhenThePageSizeIsZero) {
  start("0", "a");
  respond(page(0, objects(1, 2), 1, 1));
  EXPECT_TRUE(asksForMore());
  respond(page(1, "[]", 1, 1));
  EXPECT_EQ(seen().back(), "end");
  EXPECT_FALSE(asksForMore());
}

TEST_F(WalkTest, TakesTheLastIdAsItStands) {
  for (const char* id : {"it's", "Zürich", "a) or (b", ""}) {
    configure("{}");
    start("2", "a");
    respond(page(0, R"([{"id": "1"}, {"id": )" + tests::quoted(id) + "}]", 1, 1));
    EXPECT_EQ(asked(takeRequest(), "q"),
              tests::quoted("$filter=((a) and (_id gt '" + std::string(id) + "')) $orderby=_id asc"));
  }
}

TEST_F(WalkTest, GoesBackToTheFirstBoundWithoutALastId) {
  start("2", "a");
  respond(page(0, R"([{"id": "1"}, {"name": "n"}])", 1, 1));
  EXPECT_EQ(asked(takeRequest(), "q"), R"("$filter=((a) and (_id gt '0')) $orderby=_id asc")");
}

TEST_F(WalkTest, TellsTheFirstIdOfThePageAtDebugLevel) {
  start("2", "a");
  respond(page(0, objects(8, 9), 1, 1));
  EXPECT_EQ(linesOf(debugLevel, "Got 2 response(s)"), Texts{"Got 2 response(s) after id: 8 with reqId=7"});
}

TEST_F(WalkTest, GoesByNumberWhereARewrittenQueryIsAnsweredWithOneObject) {
  start("1", "a");
  respond(answer(0, "application/vnd.com.rdx.marlovance.alarm+json",
                 R"({"id": "1", "statistics": {"currentPage": 1, "totalPages": 2}})"));
  const Received next = takeRequest();
  EXPECT_EQ(asked(next, "currentPage"), "2");
  EXPECT_EQ(asked(next, "q"), R"("$filter=((a) and (_id gt '0')) $orderby=_id asc")");
  EXPECT_EQ(next.metadata("pagesLeft"), "absent");
}

TEST_F(WalkTest, ChangesItsWayWithTheContentType) {
  const auto single = [](std::int64_t requestId, int currentPage) {
    return answer(
        requestId, "application/json",
        R"({"id": "3", "statistics": {"totalPages": 9, "currentPage": )" + std::to_string(currentPage) + "}}");
  };
  start("1", "a");
  respond(page(0, objects(1, 1), 1, 4));
  EXPECT_EQ(asked(takeRequest(), "currentPage"), "absent");
  respond(single(1, 3));
  EXPECT_EQ(asked(takeRequest(), "currentPage"), "4");
  respond(single(2, 4));
  EXPECT_FALSE(asksForMore()) << "the page count is that of the first page";
}

TEST_F(WalkTest, IsNotByIdForAMarkThatIsFalse) {
  send(query().query("pageSize", "2").metadata("simpleQuery", "false"));
  takeRequest();
  respond(page(0, objects(1, 2), 1, 2));
  EXPECT_EQ(asked(takeRequest(), "currentPage"), "2");
}

TEST_F(WalkTest, ReadsIdsAndElementsOfTheFirstListInSlotOrder) {
  start("2", "a");
  Message page = messageFrom(answer(0, collectionType, R"({"a": [{"id": "a1"}, {"id": "a2"}],
                                                           "b": [{"id": "b1"}, {"id": "b2"}],
                                                           "c": [{"id": "c1"}, {"id": "c2"}],
                                                           "d": [{"id": "d1"}, {"id": "d2"}],
                                                           "statistics": {"currentPage": 1, "totalPages": 1}})"));
  std::string first;
  for (const auto& [key, value] : page.getPayload().get<map_t>())
    if (first.empty() && value.is(product::Tag::list)) first = key.get<std::string>();
  {
    OutstandingRequest request = match(page);
    handler->handleResponse(page, request);
  }
  EXPECT_EQ(seen(), (Texts{tests::quoted(first + "1"), tests::quoted(first + "2")}));
  EXPECT_EQ(asked(takeRequest(), "q"), tests::quoted("$filter=((a) and (_id gt '" + first + "2')) $orderby=_id asc"));
}

// ---------------------------------------------------------------------------------------- one page alone

TEST_F(WalkTest, IsOnePageWhereOnlyOneIsWanted) {
  for (const char* parameter : {"currentPage", "id"}) {
    configure("{}");
    send(query().query("pageSize", "1").query(parameter, "1"));
    takeRequest();
    respond(page(0, objects(1, 1), 1, 9));
    EXPECT_EQ(seen(), (Texts{R"("1")", "end"})) << parameter;
    EXPECT_FALSE(asksForMore());
    EXPECT_EQ(takeLogs(errorLevel), Texts{});
  }
}

TEST_F(WalkTest, EndsWithoutStatistics) {
  for (const char* payload : {R"({"things": [{"id": "1"}]})", R"({"things": [{"id": "1"}], "statistics": {}})"}) {
    for (const char* filter : {static_cast<const char*>(nullptr), "a"}) {
      configure("{}");
      start("1", filter);
      respond(answer(0, collectionType, payload));
      EXPECT_EQ(seen(), (Texts{R"("1")", "end"}));
      EXPECT_FALSE(asksForMore());
      EXPECT_EQ(takeLogs(errorLevel), Texts{"Got no statistics from marlovance"});
    }
  }
}

// ---------------------------------------------------------------------------------------- bad input

struct BadStatistics {
  const char* name;
  const char* statistics;
  const char* text;
};

void PrintTo(const BadStatistics& each, std::ostream* out) {
  *out << each.statistics;
}

class BadStatisticsTest : public WalkTest, public testing::WithParamInterface<BadStatistics> {};

TEST_P(BadStatisticsTest, EndTheWalkAfterTheEventsOfTheirPage) {
  for (const char* filter : {static_cast<const char*>(nullptr), "a"}) {
    configure("{}");
    start("2", filter);
    EXPECT_EQ(failure(page(0, objects(1, 2), GetParam().statistics)), GetParam().text);
    EXPECT_EQ(seen(), (Texts{R"("1")", R"("2")", "end"}));
    EXPECT_FALSE(asksForMore());
  }
}

INSTANTIATE_TEST_SUITE_P(
    Values, BadStatisticsTest,
    testing::Values(BadStatistics{"TotalAsText", R"({"currentPage": 1, "totalPages": "2"})",
                                  "Incorrect type in get (you asked for integer but it's actually string)"},
                    BadStatistics{"TotalAsFloat", R"({"currentPage": 1, "totalPages": 2.0})",
                                  "Incorrect type in get (you asked for integer but it's actually double)"},
                    BadStatistics{"TotalEmpty", R"({"currentPage": 1, "totalPages": null})", "Get from empty"},
                    BadStatistics{"TotalMissing", R"({"currentPage": 1})", "Element not in map"},
                    BadStatistics{"PageAsText", R"({"currentPage": "1", "totalPages": 2})",
                                  "Incorrect type in get (you asked for integer but it's actually string)"},
                    BadStatistics{"PageAsList", R"({"currentPage": [1], "totalPages": 2})",
                                  "Incorrect type in get (you asked for integer but it's actually list)"},
                    BadStatistics{"PageMissing", R"({"totalPages": 2})", "Element not in map"}),
    NameOfCase());

class LostPageTest : public WalkTest, public testing::WithParamInterface<BadStatistics> {};

TEST_P(LostPageTest, HasStatisticsThatAreNoMap) {
  start("2");
  EXPECT_EQ(failure(page(0, objects(1, 2), GetParam().statistics)), GetParam().text);
  EXPECT_EQ(seen(), Texts{"end"});
  EXPECT_FALSE(asksForMore());
}

INSTANTIATE_TEST_SUITE_P(
    Values, LostPageTest,
    testing::Values(
        BadStatistics{"Text", R"("text")", "Incorrect type in get (you asked for map but it's actually string)"},
        BadStatistics{"List", "[]", "Incorrect type in get (you asked for map but it's actually list)"},
        BadStatistics{"Integer", "7", "Incorrect type in get (you asked for map but it's actually integer)"},
        BadStatistics{"Nothing", "null", "Get from empty"}),
    NameOfCase());

TEST_F(WalkTest, EndsAfterAPageWhoseRequestLostItsQueryString) {
  start("1");
  Message answer = messageFrom(page(0, objects(1, 1), 1, 2));
  EXPECT_EQ(thrownBy([&] {
              OutstandingRequest request = match(answer);
              request.getMetadataMap().at("http").get<map_t>().erase("queryString");
              handler->handleResponse(answer, request);
            }),
            "Get from empty");
  EXPECT_EQ(seen(), (Texts{R"("1")", "end"}));
  EXPECT_FALSE(asksForMore());
}

struct ExtremeStatistics {
  const char* name;
  const char* statistics;
  const char* nextPage;  ///< null when there is none
};

void PrintTo(const ExtremeStatistics& each, std::ostream* out) {
  *out << each.statistics;
}

class ExtremeStatisticsTest : public WalkTest, public testing::WithParamInterface<ExtremeStatistics> {};

TEST_P(ExtremeStatisticsTest, AreComparedAsSignedNumbers) {
  start("1");
  respond(page(0, objects(1, 1), GetParam().statistics));
  if (GetParam().nextPage)
    EXPECT_EQ(asked(takeRequest(), "currentPage"), GetParam().nextPage);
  else
    EXPECT_FALSE(asksForMore());
}

INSTANTIATE_TEST_SUITE_P(
    Values, ExtremeStatisticsTest,
    testing::Values(
        ExtremeStatistics{"NegativeTotal", R"({"currentPage": 1, "totalPages": -1})", nullptr},
        ExtremeStatistics{"NegativePage", R"({"currentPage": -5, "totalPages": 1})", "-4"},
        ExtremeStatistics{"BothZero", R"({"currentPage": 0, "totalPages": 0})", nullptr},
        ExtremeStatistics{"GreatestTotal", R"({"currentPage": 1, "totalPages": 9223372036854775807})", "2"},
        ExtremeStatistics{"GreatestPage", R"({"currentPage": 9223372036854775807, "totalPages": 5})", nullptr},
        ExtremeStatistics{"BothGreatest", R"({"currentPage": 9223372036854775807, "totalPages": 9223372036854775807})",
                          nullptr},
        ExtremeStatistics{"LastButOne", R"({"currentPage": 9223372036854775806, "totalPages": 9223372036854775807})",
                          "9223372036854775807"},
        ExtremeStatistics{"Smallest", R"({"currentPage": -9223372036854775808, "totalPages": 1})",
                          "-9223372036854775807"}),
    NameOfCase());

TEST_F(WalkTest, TakesANegativePageSizeAsOneThatNoPageFills) {
  start("-1");
  respond(page(0, objects(1, 5), 1, 9));
  EXPECT_EQ(seen().back(), "end");
}

TEST_F(WalkTest, TakesAWordForItsPageSizeAsZero) {
  start("many");
  respond(page(0, objects(1, 1), 1, 2));
  EXPECT_TRUE(asksForMore());
}

struct BadEnd {
  const char* name;
  const char* elements;
};

void PrintTo(const BadEnd& each, std::ostream* out) {
  *out << each.elements;
}

class BadEndTest : public WalkTest, public testing::WithParamInterface<BadEnd> {};

TEST_P(BadEndTest, FailsAPageById) {
  start("2", "a");
  EXPECT_EQ(failure(page(0, GetParam().elements, 1, 9)),
            "Incorrect type in get (you asked for map but it's actually string)");
  EXPECT_EQ(seen(), Texts{"end"});
  EXPECT_FALSE(asksForMore());
}

INSTANTIATE_TEST_SUITE_P(Ends, BadEndTest,
                         testing::Values(BadEnd{"Last", R"([{"id": "1"}, "bad"])"},
                                         BadEnd{"First", R"(["bad", {"id": "1"}])"}),
                         NameOfCase());

TEST_F(WalkTest, DropsABadElementBetweenOthersById) {
  start("3", "a");
  respond(page(0, R"([{"id": "1"}, 5, {"id": "3"}])", 1, 9));
  EXPECT_EQ(seen(), (Texts{R"("1")", R"("3")"}));
  EXPECT_TRUE(asksForMore());
}

TEST_F(WalkTest, DoesNotCareAboutTheEndsOfAPageByNumber) {
  start("2");
  respond(page(0, R"(["bad", "worse"])", 1, 9));
  EXPECT_EQ(takeLogs(warnLevel).size(), 2u);
  EXPECT_TRUE(asksForMore());
}

TEST_F(WalkTest, EndsAtALastIdThatIsNoText) {
  start("2", "a");
  EXPECT_EQ(failure(page(0, R"([{"id": "1"}, {"id": 2}])", 1, 9)),
            "Incorrect type in get (you asked for string but it's actually integer)");
  EXPECT_EQ(seen(), (Texts{R"("1")", "2", "end"}));
}

TEST_F(WalkTest, GoesOnOverAFirstIdThatIsNoText) {
  start("2", "a");
  respond(page(0, R"([{"id": [1]}, {"id": "2"}])", 1, 9));
  EXPECT_EQ(linesOf(debugLevel, "Got 2 response(s)"), Texts{"Got 2 response(s) after id: [1] with reqId=7"});
  EXPECT_TRUE(asksForMore());
}

TEST_F(WalkTest, DropsAPageThatIsNoMap) {
  start("2");
  const std::string text = failure(answer(0, collectionType, R"("text")"));
  EXPECT_TRUE(text.starts_with("Dropping [")) << text;
  EXPECT_TRUE(text.ends_with("] as payload is not a map")) << text;
  EXPECT_EQ(seen(), Texts{"end"});
}

TEST_F(WalkTest, KeepsAPageCountThatItsCallerBrought) {
  send(query().query("pageSize", "1").metadata("totalPages", "1"));
  takeRequest();
  respond(page(0, objects(1, 1), 1, 9));
  EXPECT_FALSE(asksForMore());
  configure("{}");
  send(query().query("pageSize", "1").metadata("totalPages", R"("3")"));
  EXPECT_EQ(failure(page(0, objects(1, 1), 1, 9)),
            "Incorrect type in get (you asked for integer but it's actually string)");
}

TEST_F(WalkTest, EndsWhenTheTransportRefusesTheNextPage) {
  start("1");
  parts->transport.onMessage = [](const Received&) { throw std::runtime_error("no line"); };
  EXPECT_EQ(failure(page(0, objects(1, 1), 1, 2)), "no line");
  EXPECT_EQ(seen(), Texts{R"("1")"});
  EXPECT_EQ(parts->outstanding.size(), 1u) << "the next page is recorded, and ends with the codec";
}

}  // namespace
}  // namespace tests
