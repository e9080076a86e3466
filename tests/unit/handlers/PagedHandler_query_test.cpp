// What is settled on the first request of a walk.
#include "tests/unit/handlers/QueryFixture.h"

namespace tests {
namespace {

class PagedQueryTest : public QueryFixture {
 protected:
  PagedQueryTest() { use("FindAlarm"); }

  /// The request that goes out for an event.
  Received requestOf(const MessageBuilder& event) {
    send(event);
    return takeRequest();
  }

  /// A query whose query string is this JSON object.
  MessageBuilder queryWith(std::string_view parameters) const { return query().http("queryString", parameters); }

  std::string refusalOf(const MessageBuilder& event) {
    const std::string text = thrownBy([&] { send(event); });
    EXPECT_EQ(parts->transport.takeAll().size(), 0u);
    return text;
  }

  static constexpr const char* smallPageWarning =
      "Setting a small pageSize without setting currentPage can result in queries that run very slow. To request the "
      "first n items, you have to set pageSize=n and currentPage=1, message = ";
};

// ---------------------------------------------------------------------------------------- whole requests

TEST_F(PagedQueryTest, AsksForAllPagesOfAThousand) {
  EXPECT_EQ(requestOf(query()).json(),
            json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.FindAlarm", "requestId": 0, "reqId": 7,
                                  "getAllPages": true,
                                  "http": {"method": "GET", "path": "/some/things",
                                           "queryString": {"pageSize": "1000", "withTotalPages": true},
                                           "headers": {"authorization": "Basic dXNlcjpzZWNyZXQ="}},
                                  "metrics": )" +
                 std::string(firstStamp) + R"(}, "payload": {}})"));
}

TEST_F(PagedQueryTest, IsTakenForAWalkById) {
  EXPECT_EQ(requestOf(query().query("query", "$filter=type eq 'x'").query("pageSize", "2000")).json(),
            json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.FindAlarm", "requestId": 0, "reqId": 7,
                                  "getAllPages": true, "simpleQuery": true, "originalQuery": "type eq 'x'",
                                  "http": {"method": "GET", "path": "/some/things",
                                           "queryString": {"pageSize": "2000", "withTotalPages": true,
                    "query": "$filter=((type eq 'x') and (_id gt '0')) $orderby=_id asc"},
                                           "headers": {"authorization": "Basic dXNlcjpzZWNyZXQ="}},
                                  "metrics": )" +
                 std::string(firstStamp) + R"(}, "payload": {}})"));
}

// ---------------------------------------------------------------------------------------- the table of cases

struct Row {
  const char* name;
  const char* method;
  const char* parameters;
  const char* getAllPages;
  const char* withTotalPages;
  bool rewritten;
  bool warned;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.method << " " << row.parameters;
}

class QueryCaseTest : public PagedQueryTest, public testing::WithParamInterface<Row> {};

TEST_P(QueryCaseTest, SettlesPagesTotalsAndRewriting) {
  const Row& row = GetParam();
  const Received request =
      requestOf(queryWith(row.parameters).query("pageSize", "50").query("q", "a").method(row.method));
  EXPECT_EQ(request.metadata("getAllPages"), row.getAllPages);
  EXPECT_EQ(asked(request, "withTotalPages"), row.withTotalPages);
  EXPECT_EQ(request.metadata("simpleQuery"), row.rewritten ? "true" : "absent");
  EXPECT_EQ(linesOf(warnLevel, smallPageWarning).size(), row.warned ? 1u : 0u);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, QueryCaseTest,
    testing::Values(
        Row{"OnePage", "GET", R"({"currentPage": "1"})", "false", "absent", false, false},
        Row{"OnePageOfAnotherMethod", "POST", R"({"currentPage": 1})", "false", "absent", false, false},
        Row{"OnePageWithTotals", "GET", R"({"currentPage": "1", "withTotalPages": "true"})", "false", "absent", false,
            false},
        Row{"AnyCurrentPageAtAll", "GET", R"({"currentPage": null})", "false", "absent", false, false},
        Row{"AnotherMethod", "POST", "{}", "false", "absent", true, true},
        Row{"AnotherMethodWithTotals", "PUT", R"({"withTotalPages": "true"})", "false", "absent", true, true},
        Row{"MethodInSmallLetters", "get", "{}", "false", "absent", true, true},
        Row{"OneObject", "GET", R"({"id": "5"})", "false", "absent", true, true},
        Row{"OneObjectWithTotals", "GET", R"({"id": "5", "withTotalPages": "true"})", "false", "absent", true, true},
        Row{"NoId", "GET", R"({"id": ""})", "true", "true", true, true},
        Row{"Declined", "GET", R"({"withTotalPages": "false"})", "false", "false", true, true},
        Row{"DeclinedInCapitals", "GET", R"({"withTotalPages": "FALSE"})", "false", "false", true, true},
        Row{"DeclinedInAnyCase", "GET", R"({"withTotalPages": "fAlSe"})", "false", "false", true, true},
        Row{"NotDeclinedByAnotherWord", "GET", R"({"withTotalPages": "no"})", "true", "true", true, true},
        Row{"NotDeclinedByNothing", "GET", R"({"withTotalPages": ""})", "true", "true", true, true},
        Row{"AskedFor", "GET", R"({"withTotalPages": "true"})", "true", "true", true, true},
        Row{"Otherwise", "GET", "{}", "true", "true", true, true}),
    NameOfCase());

TEST_F(PagedQueryTest, WithoutAMethodIsNoPlainRead) {
  const Received request = requestOf(event("/p").http("queryString", "{}").reqId(7));
  EXPECT_EQ(request.metadata("getAllPages"), "false");
  EXPECT_EQ(asked(request), json(R"({"pageSize": "1000"})"));
}

// ---------------------------------------------------------------------------------------- page size

TEST_F(PagedQueryTest, KeepsValueAndTypeOfItsPageSize) {
  for (const char* size : {"2000", R"("2000")", R"("many")", "-1"})
    EXPECT_EQ(asked(requestOf(queryWith(R"({"pageSize": )" + std::string(size) + "}")), "pageSize"), size);
}

struct PageSize {
  const char* name;
  const char* size;
  bool small;
};

void PrintTo(const PageSize& size, std::ostream* out) {
  *out << size.size;
}

class PageSizeTest : public PagedQueryTest, public testing::WithParamInterface<PageSize> {};

TEST_P(PageSizeTest, WarnsWhenItIsSmall) {
  requestOf(queryWith(R"({"pageSize": )" + std::string(GetParam().size) + "}"));
  EXPECT_EQ(takeLogs(warnLevel).size(), GetParam().small ? 1u : 0u);
}

INSTANTIATE_TEST_SUITE_P(Sizes, PageSizeTest,
                         testing::Values(PageSize{"Fifty", "50", true}, PageSize{"FiftyAsText", R"("50")", true},
                                         PageSize{"FiftyOne", "51", false},
                                         PageSize{"FiftyOneAsText", R"("51")", false},
                                         PageSize{"Word", R"("many")", true}, PageSize{"Negative", "-5", true},
                                         PageSize{"NumberWithATail", R"("60 things")", false}),
                         NameOfCase());

TEST_F(PagedQueryTest, ShowsTheWholeMessageInTheWarning) {
  requestOf(query().query("pageSize", "1"));
  const Texts lines = takeLogs(warnLevel);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_NE(lines[0].find("message = {"), std::string::npos) << lines[0];
  EXPECT_NE(lines[0].find("pageSize:1"), std::string::npos) << lines[0];
  EXPECT_NE(lines[0].find("qel.type:com.kelvo.marlovance.FindAlarm"), std::string::npos) << lines[0];
}

TEST_F(PagedQueryTest, RefusesAPageSizeThatIsNoNumber) {
  EXPECT_EQ(refusalOf(queryWith(R"({"pageSize": true})")), "Trying to parse from incorrect type (actually boolean)");
  EXPECT_EQ(refusalOf(queryWith(R"({"pageSize": 60.0})")), "Trying to parse from incorrect type (actually double)");
}

// ---------------------------------------------------------------------------------------- rewriting

struct Filter {
  const char* name;
  const char* text;
  const char* rewritten;  ///< null when it stays
  const char* original;
};

void PrintTo(const Filter& filter, std::ostream* out) {
  *out << filter.text;
}

class FilterTest : public PagedQueryTest, public testing::WithParamInterface<Filter> {};

TEST_P(FilterTest, IsRewrittenWhereItIsPlain) {
  const Filter& filter = GetParam();
  for (const char* name : {"q", "query"}) {
    const Received request = requestOf(query().query(name, filter.text));
    EXPECT_EQ(asked(request, name), tests::quoted(filter.rewritten ? filter.rewritten : filter.text));
    EXPECT_EQ(request.metadata("simpleQuery"), filter.rewritten ? "true" : "absent");
    EXPECT_EQ(request.metadata("originalQuery"),
              filter.rewritten ? tests::quoted(filter.original) : std::string("absent"));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Texts, FilterTest,
    testing::Values(
        Filter{"Marked", "$filter=type eq 'x'", "$filter=((type eq 'x') and (_id gt '0')) $orderby=_id asc",
               "type eq 'x'"},
        Filter{"Unmarked", "type eq 'x'", "$filter=((type eq 'x') and (_id gt '0')) $orderby=_id asc", "type eq 'x'"},
        Filter{"BehindSomethingElse", "$top=5 $filter=a eq 1", "$filter=((a eq 1) and (_id gt '0')) $orderby=_id asc",
               "a eq 1"},
        Filter{"MarkedTwice", "$filter=a eq 1 $filter=b",
               "$filter=((a eq 1 $filter=b) and (_id gt '0')) $orderby=_id asc", "a eq 1 $filter=b"},
        Filter{"NothingBehindTheMark", "$filter=", "$filter=(() and (_id gt '0')) $orderby=_id asc", ""},
        Filter{"Blank", " ", "$filter=(( ) and (_id gt '0')) $orderby=_id asc", " "},
        Filter{"QuotesAndOtherLetters", "name eq 'Köln''s'",
               "$filter=((name eq 'Köln''s') and (_id gt '0')) $orderby=_id asc", "name eq 'Köln''s'"},
        Filter{"OrderByInCapitals", "a eq 1 $ORDERBY=b",
               "$filter=((a eq 1 $ORDERBY=b) and (_id gt '0')) $orderby=_id asc", "a eq 1 $ORDERBY=b"},
        Filter{"IdInCapitals", "_ID gt 1", "$filter=((_ID gt 1) and (_id gt '0')) $orderby=_id asc", "_ID gt 1"},
        Filter{"Ordered", "$filter=type eq 'x' $orderby=time", nullptr, nullptr},
        Filter{"OrderInsideAValue", "text eq 'orderby'", nullptr, nullptr},
        Filter{"ById", "_id gt '5'", nullptr, nullptr}, Filter{"FieldThatEndsSo", "source_id eq 1", nullptr, nullptr},
        Filter{"Empty", "", nullptr, nullptr}),
    NameOfCase());

TEST_F(PagedQueryTest, RewritesQOfBothFilters) {
  const Received request = requestOf(query().query("q", "a").query("query", "b"));
  EXPECT_EQ(asked(request), json(R"({"pageSize": "1000", "withTotalPages": true, "query": "b",
                                     "q": "$filter=((a) and (_id gt '0')) $orderby=_id asc"})"));
  EXPECT_EQ(request.metadata("originalQuery"), R"("a")");
}

TEST_F(PagedQueryTest, RewritesNeitherFilterWhenQIsEmpty) {
  const Received request = requestOf(query().query("q", "").query("query", "b"));
  EXPECT_EQ(asked(request), json(R"({"pageSize": "1000", "withTotalPages": true, "query": "b", "q": ""})"));
  EXPECT_EQ(request.metadata("simpleQuery"), "absent");
}

TEST_F(PagedQueryTest, LosesACurrentPageBesideTheQueryStringWhenItIsRewritten) {
  EXPECT_EQ(requestOf(query().query("q", "a").metadata("currentPage", "3")).metadata("currentPage"), "absent");
  EXPECT_EQ(requestOf(query().metadata("currentPage", "3")).metadata("currentPage"), "3");
}

TEST_F(PagedQueryTest, IsRewrittenAlsoWhenOnlyItsFirstPageIsWanted) {
  const Received request = requestOf(query().query("q", "a").query("withTotalPages", "false"));
  EXPECT_EQ(request.metadata("getAllPages"), "false");
  EXPECT_EQ(asked(request, "q"), R"("$filter=((a) and (_id gt '0')) $orderby=_id asc")");
}

// ---------------------------------------------------------------------------------------- log

TEST_F(PagedQueryTest, TellsItsRewritingAtDebugLevel) {
  requestOf(query().query("q", "$filter=a eq 1"));
  EXPECT_EQ(linesOf(debugLevel, "Detected "),
            Texts{"Detected optimizable query $filter=a eq 1, optimized as $filter=((a eq 1) and (_id gt '0')) "
                  "$orderby=_id asc"});
}

TEST_F(PagedQueryTest, TellsWhatWasAskedForAndNotWhatCameOfIt) {
  requestOf(query().query("id", "5"));
  EXPECT_EQ(linesOf(debugLevel, "Update request to  fetch all pages {").size(), 1u);
  requestOf(query().query("currentPage", "5"));
  EXPECT_EQ(linesOf(debugLevel, "Update request to not  fetch all pages {").size(), 1u);
}

TEST_F(PagedQueryTest, IsShownOnceItsParametersAreSettled) {
  requestOf(query());
  const Texts lines = linesOf(debugLevel, "Added paged query params. Updated request: {");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_NE(lines[0].find("pageSize:1000"), std::string::npos) << lines[0];
  EXPECT_NE(lines[0].find("getAllPages:true"), std::string::npos) << lines[0];
}

// ---------------------------------------------------------------------------------------- bad input

struct BadParameter {
  const char* name;
  const char* parameters;
  const char* text;
};

void PrintTo(const BadParameter& each, std::ostream* out) {
  *out << each.parameters;
}

class BadParameterTest : public PagedQueryTest, public testing::WithParamInterface<BadParameter> {};

TEST_P(BadParameterTest, IsRefused) {
  EXPECT_EQ(refusalOf(queryWith(GetParam().parameters)), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Values, BadParameterTest,
    testing::Values(BadParameter{"TotalsAsBoolean", R"({"withTotalPages": true})",
                                 "Incorrect type in get (you asked for string but it's actually boolean)"},
                    BadParameter{"TotalsEmpty", R"({"withTotalPages": null})", "Get from empty"},
                    BadParameter{"TotalsBesideACurrentPage", R"({"withTotalPages": 1, "currentPage": 1})",
                                 "Incorrect type in get (you asked for string but it's actually integer)"},
                    BadParameter{"FilterAsNumber", R"({"q": 1})",
                                 "Incorrect type in get (you asked for string but it's actually integer)"},
                    BadParameter{"FilterAsList", R"({"query": ["a"]})",
                                 "Incorrect type in get (you asked for string but it's actually list)"},
                    BadParameter{"FilterEmpty", R"({"q": null, "query": "a"})", "Get from empty"},
                    BadParameter{"IdAsNumber", R"({"id": 5})",
                                 "Incorrect type in get (you asked for string but it's actually integer)"},
                    BadParameter{"QueryStringAsText", R"("a=b")",
                                 "Incorrect type in get (you asked for map but it's actually string)"},
                    BadParameter{"QueryStringEmpty", "null", "Get from empty"}),
    NameOfCase());

TEST_F(PagedQueryTest, IsRefusedWithoutAQueryString) {
  EXPECT_EQ(refusalOf(event("/p").method("GET").reqId(7)), "Get from empty");
}

TEST_F(PagedQueryTest, IsRefusedWithAMethodThatIsNoText) {
  EXPECT_EQ(refusalOf(query().http("method", "1")),
            "Incorrect type in get (you asked for string but it's actually integer)");
}

TEST_F(PagedQueryTest, TakesBorrowedTextsAsText) {
  const Received request =
      requestOf(queryWith(R"({"q": {"$borrowed": "a"}, "withTotalPages": {"$borrowed": "False"}})"));
  EXPECT_EQ(request.metadata("getAllPages"), "false");
  EXPECT_EQ(request.metadata("originalQuery"), R"("a")");
}

}  // namespace
}  // namespace tests
