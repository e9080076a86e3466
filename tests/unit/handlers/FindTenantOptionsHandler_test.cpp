#include <set>

#include "tests/unit/handlers/QueryFixture.h"

namespace tests {
namespace {

constexpr const char* optionCollection = "application/vnd.com.rdx.marlovance.optioncollection+json";
constexpr const char* option = "application/vnd.com.rdx.marlovance.option+json";

class TenantOptionsTest : public QueryFixture {
 protected:
  TenantOptionsTest() { use("FindTenantOptions"); }

  /// A query whose query string has these entries beside "system": false.
  MessageBuilder options(std::string_view parameters = "{}", std::int64_t reqId = 7) const {
    boost::json::object whole{{"system", false}};
    const boost::json::value more = parseJson(parameters);
    for (const auto& entry : more.as_object()) whole[entry.key()] = entry.value();
    return query(reqId).http("queryString", textOf(whole));
  }

  Received requestOf(const MessageBuilder& event) {
    send(event);
    return takeRequest();
  }

  static MessageBuilder optionPage(std::int64_t requestId, std::string_view list, int currentPage, int totalPages) {
    return answer(requestId, optionCollection,
                  R"({"options": )" + std::string(list) + R"(, "statistics": {"currentPage": )" +
                      std::to_string(currentPage) + R"(, "totalPages": )" + std::to_string(totalPages) + "}}");
  }

  static std::string found(const std::string& list, int status = 200, int reqId = 7) {
    return json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.FindTenantOptionsResponse",
                                 "qel.channel": "marlovance.findtenant.response"},
                    "payload": {"statusCode": )" +
                std::to_string(status) + R"(, "reqId": )" + std::to_string(reqId) + R"(, "options": )" + list + "}}");
  }

  static std::string failed(int status, const std::string& details) {
    return json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.FindTenantOptionsResponse",
                                 "qel.channel": "marlovance.findtenant.response"},
                    "payload": {"error": true, "reqId": 7, "statusCode": )" +
                std::to_string(status) + R"(, "errorDetails": )" + tests::quoted(details) + "}}");
  }

  std::string refusalOf(const MessageBuilder& event) {
    const std::string text = thrownBy([&] { send(event); });
    EXPECT_EQ(takeHostEvents().size(), 0u);
    EXPECT_FALSE(asksForMore());
    return text;
  }
};

// ---------------------------------------------------------------------------------------- request

struct PathCase {
  const char* name;
  const char* parameters;
  const char* path;
  const char* category;  ///< as kept in the metadata
  const char* key;
  const char* getAllPages;
};

void PrintTo(const PathCase& each, std::ostream* out) {
  *out << each.parameters;
}

class OptionPathTest : public TenantOptionsTest, public testing::WithParamInterface<PathCase> {};

TEST_P(OptionPathTest, IsBuiltFromTheQuery) {
  const Received request = requestOf(options(GetParam().parameters));
  EXPECT_EQ(request.http("path"), tests::quoted(GetParam().path));
  EXPECT_EQ(request.metadata("category"), GetParam().category);
  EXPECT_EQ(request.metadata("key"), GetParam().key);
  EXPECT_EQ(request.metadata("getAllPages"), GetParam().getAllPages);
  EXPECT_EQ(asked(request),
            json(R"({"pageSize": "1000", "withTotalPages": )" + std::string(GetParam().getAllPages) + "}"));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, OptionPathTest,
    testing::Values(
        PathCase{"All", "{}", "/tenant/options", "null", "null", "true"},
        PathCase{"System", R"({"system": true})", "/tenant/system/options", "null", "null", "true"},
        PathCase{"Category", R"({"category": "c"})", "/tenant/options/c", R"("c")", "null", "false"},
        PathCase{"CategoryAndKey", R"({"category": "c", "key": "k"})", "/tenant/options/c/k", R"("c")", R"("k")",
                 "false"},
        PathCase{"SystemCategoryAndKey", R"({"system": true, "category": "c", "key": "k"})",
                 "/tenant/system/options/c/k", R"("c")", R"("k")", "false"},
        PathCase{"CategoryAndKeyThatAreNumbers", R"({"category": 5, "key": 7})", "/tenant/options/5/7", "5", "7",
                 "false"},
        PathCase{"Key", R"({"key": "k"})", "/tenant/options", "null", R"("k")", "true"},
        PathCase{"EmptyCategory", R"({"category": "", "key": "k"})", "/tenant/options", "null", R"("k")", "true"},
        PathCase{"EmptyKey", R"({"category": "c", "key": ""})", "/tenant/options/c", R"("c")", "null", "false"},
        PathCase{"BothEmpty", R"({"category": "", "key": ""})", "/tenant/options", "null", "null", "true"},
        PathCase{"NoValues", R"({"category": null, "key": null})", "/tenant/options", "null", "null", "true"}),
    NameOfCase());

TEST_F(TenantOptionsTest, NeedNoPathOfTheEvent) {
  EXPECT_EQ(requestOf(tests::event(eventType).method("GET").http("queryString", R"({"system": false})").reqId(7))
                .http("path"),
            R"("/tenant/options")");
}

TEST_F(TenantOptionsTest, AreRefusedWithoutTheSystemMark) {
  EXPECT_EQ(refusalOf(query()), "Get from empty");
  EXPECT_EQ(refusalOf(options(R"({"system": "true"})")),
            "Incorrect type in get (you asked for boolean but it's actually string)");
}

TEST_F(TenantOptionsTest, AreRefusedWithABadTimeAndNoEvent) {
  EXPECT_EQ(refusalOf(options(R"({"dateTo": "soon"})")),
            "dateTo query param should be given in seconds since epoch. Instead it got soon");
}

TEST_F(TenantOptionsTest, AreRefusedWithACategoryThatHasNoText) {
  EXPECT_EQ(refusalOf(options(R"({"category": ["c"]})")), "Trying to parse from incorrect type (actually list)");
}

TEST_F(TenantOptionsTest, HaveNoOrderingKeyAndAreNotBatchable) {
  const Message request = messageFrom(options());
  EXPECT_TRUE(handler->getConcurrencyKey(request).empty());
  EXPECT_FALSE(handler->isBatchable(request));
}

// ---------------------------------------------------------------------------------------- answers

TEST_F(TenantOptionsTest, OfAllPagesComeInOneEventInTheirOrder) {
  send(options(R"({"pageSize": "2"})"));
  respond(optionPage(0, R"([{"key": "b", "x": 1}, {"key": "a"}])", 1, 2));
  EXPECT_EQ(takeHostEvents().size(), 0u);
  respond(optionPage(1, R"([{"category": "c"}])", 2, 2));
  EXPECT_EQ(jsons(takeHostEvents()), Texts{found(R"([{"key": "b", "x": 1}, {"key": "a"}, {"category": "c"}])")});
}

TEST_F(TenantOptionsTest, OfAKeyArePickedFromEachPage) {
  send(options(R"({"pageSize": "3", "key": "k"})"));
  respond(optionPage(0, R"([{"category": "a", "key": "k"}, {"category": "a", "key": "l"}, {"category": "b"}])", 1, 2));
  respond(optionPage(1, R"([{"category": "c", "key": "k"}, {"key": 5}])", 2, 2));
  EXPECT_EQ(jsons(takeHostEvents()), Texts{found(R"([{"category": "a", "key": "k"}, {"category": "c", "key": "k"}])")});
}

// A value whose tag nobody knows says nothing about its payload, so it equals no other.
TEST_F(TenantOptionsTest, OfAKeyOfAnUnknownTypeAreNone) {
  const auto unknown = [] {
    qel_value value = integerValue(5);
    value.tag = 42;
    return data_t::adopt(value);
  };
  parts->transport.recordsContents = false;
  Message event = messageFrom(options());
  event.getMetadataMap().at(data_t("http")).get<map_t>().at(data_t("queryString")).get<map_t>()[data_t("key")] =
      unknown();
  BatchSender batch = parts->openBatch();
  handler->handleRequest(event, batch);
  batch.finish();

  Message answer = messageFrom(optionPage(0, R"([{}, {"key": "k"}])", 1, 1));
  list_t& found = answer.getPayload().get<map_t>().at(data_t("options")).get<list_t>();
  found.front().get<map_t>()[data_t("key")] = unknown();
  {
    OutstandingRequest request = match(answer);
    handler->handleResponse(answer, request);
  }
  EXPECT_EQ(jsons(takeHostEvents()), Texts{TenantOptionsTest::found("[]")});
}

TEST_F(TenantOptionsTest, OfACategoryAreOnePerEntry) {
  send(options(R"({"category": "c"})"));
  respond(answer(0, option, R"({"k": "v", "l": 5})"));
  const boost::json::value event = takeHostEvents().at(0).document;
  std::set<std::string> seen;
  for (const auto& each : event.at("payload").at("options").as_array()) seen.insert(textOf(each));
  EXPECT_EQ(seen, (std::set<std::string>{json(R"({"category": "c", "key": "k", "value": "v"})"),
                                         json(R"({"category": "c", "key": "l", "value": 5})")}));
}

TEST_F(TenantOptionsTest, OfACategoryMayComeInACollectionOfAnotherKind) {
  send(options(R"({"category": "c"})"));
  respond(answer(0, collectionType, R"({"k": "v"})"));
  EXPECT_EQ(jsons(takeHostEvents()), Texts{found(R"([{"category": "c", "key": "k", "value": "v"}])")});
}

TEST_F(TenantOptionsTest, OfACategoryWithoutEntriesAreNone) {
  send(options(R"({"category": "c"})"));
  respond(answer(0, option, "{}"));
  EXPECT_EQ(jsons(takeHostEvents()), Texts{found("[]")});
}

TEST_F(TenantOptionsTest, OfACategoryAndKeyAreOne) {
  for (const char* value : {R"("v")", "5", "null", R"({"a": [1]})"}) {
    configure("{}");
    send(options(R"({"category": "c", "key": "k"})"));
    respond(answer(0, option, R"({"own": 1, "value": )" + std::string(value) + "}"));
    EXPECT_EQ(jsons(takeHostEvents()),
              Texts{found(R"([{"category": "c", "key": "k", "value": )" + std::string(value) + "}]")});
  }
}

TEST_F(TenantOptionsTest, EndWithAnEmptyPage) {
  send(options());
  respond(optionPage(0, "[]", 1, 1));
  EXPECT_EQ(jsons(takeHostEvents()), Texts{found("[]")});
}

TEST_F(TenantOptionsTest, OfTwoRequestersAreCollectedApart) {
  send(options(R"({"pageSize": "1"})", 1));
  send(options(R"({"pageSize": "1"})", 2));
  respond(optionPage(1, R"([{"key": "b1"}])", 1, 2));
  respond(optionPage(0, R"([{"key": "a1"}])", 1, 2));
  respond(optionPage(2, R"([{"key": "b2"}])", 2, 2));
  respond(optionPage(3, R"([{"key": "a2"}])", 2, 2));
  EXPECT_EQ(jsons(takeHostEvents()), (Texts{found(R"([{"key": "b1"}, {"key": "b2"}])", 200, 2),
                                            found(R"([{"key": "a1"}, {"key": "a2"}])", 200, 1)}));
}

TEST_F(TenantOptionsTest, ComeOnThePrefixedChannel) {
  configure(R"({"queryResponsesChannelPrefix": "q."})");
  send(options());
  respond(optionPage(0, "[]", 1, 1));
  EXPECT_EQ(takeHostEvents().at(0).metadata("qel.channel"), R"("q.marlovance.findtenant.response")");
}

TEST_F(TenantOptionsTest, TellTheStatusOfTheLastPage) {
  send(options());
  respond(optionPage(0, "[]", 1, 1).status(206));
  EXPECT_EQ(jsons(takeHostEvents()), Texts{found("[]", 206)});
}

// ---------------------------------------------------------------------------------------- errors

TEST_F(TenantOptionsTest, AreToldOfARefusalAndThenOfNoOptions) {
  send(options());
  forgetLogs();
  respond(answer(0, "application/vnd.com.rdx.marlovance.error+json", R"({"message": "no"})").status(403));
  EXPECT_EQ(jsons(takeHostEvents()), (Texts{failed(403, "no"), found("[]")}));
  EXPECT_EQ(takeLogs(errorLevel).size(), 1u);
}

TEST_F(TenantOptionsTest, OfEarlierPagesComeAfterARefusal) {
  send(options(R"({"pageSize": "1"})"));
  respond(optionPage(0, R"([{"key": "a"}])", 1, 2).status(206));
  respond(answer(1, "application/vnd.com.rdx.marlovance.error+json", R"({"message": "no"})").status(500));
  EXPECT_EQ(jsons(takeHostEvents()), (Texts{failed(500, "no"), found(R"([{"key": "a"}])", 206)}));
}

struct BadPage {
  const char* name;
  const char* mediaType;
  const char* payload;
  const char* text;
};

void PrintTo(const BadPage& each, std::ostream* out) {
  *out << each.payload;
}

class BadOptionPageTest : public TenantOptionsTest, public testing::WithParamInterface<BadPage> {};

TEST_P(BadOptionPageTest, EndsTheQueryWithTheOptionsOfEarlierPages) {
  send(options(R"({"pageSize": "1", "key": "k"})"));
  respond(optionPage(0, R"([{"key": "k"}])", 1, 2));
  EXPECT_EQ(thrownBy([&] { respond(answer(1, GetParam().mediaType, GetParam().payload)); }), GetParam().text);
  EXPECT_EQ(jsons(takeHostEvents()), Texts{found(R"([{"key": "k"}])")});
}

INSTANTIATE_TEST_SUITE_P(Pages, BadOptionPageTest,
                         testing::Values(BadPage{"WithoutOptions", optionCollection, "{}", "Element not in map"},
                                         BadPage{"OptionsThatAreNoList", optionCollection, R"({"options": {}})",
                                                 "Incorrect type in get (you asked for list but it's actually map)"},
                                         BadPage{"OptionThatIsNoMap", optionCollection, R"({"options": ["text"]})",
                                                 "Incorrect type in get (you asked for map but it's actually string)"},
                                         BadPage{"OneWithoutAValue", option, R"({"key": "k"})", "Element not in map"}),
                         NameOfCase());

TEST_F(TenantOptionsTest, BeforeABadOneOfTheirPageStay) {
  send(options(R"({"pageSize": "1"})"));
  respond(optionPage(0, R"([{"key": "a"}])", 1, 2));
  EXPECT_EQ(thrownBy([&] { respond(optionPage(1, R"([{"key": "b"}, "text", {"key": "c"}])", 2, 2)); }),
            "Incorrect type in get (you asked for map but it's actually string)");
  EXPECT_EQ(jsons(takeHostEvents()), Texts{found(R"([{"key": "a"}, {"key": "b"}])")});
}

TEST_F(TenantOptionsTest, CannotBeToldWithoutARequestId) {
  send(options().without("reqId"));
  forgetLogs();
  EXPECT_EQ(thrownBy([&] { respond(optionPage(0, "[]", 1, 1)); }), "Element not in map");
  EXPECT_EQ(takeHostEvents().size(), 0u);
  EXPECT_EQ(takeLogs(errorLevel),
            Texts{"Exception during finishedHandling in OutstandingRequest finalization: Element not in map"});
}

TEST_F(TenantOptionsTest, AreForgottenWithTheEndOfTheirQuery) {
  for (int round = 0; round < 2; ++round) {
    send(options());
    respond(optionPage(round, R"([{"key": "a"}])", 1, 1));
    EXPECT_EQ(jsons(takeHostEvents()), Texts{found(R"([{"key": "a"}])")});
  }
}

}  // namespace
}  // namespace tests
