#include "tests/unit/handlers/HandlerFixture.h"

namespace tests {
namespace {

class FragmentTest : public HandlerFixture {
 protected:
  FragmentTest() { use("MeasurementFragment"); }

  MessageBuilder fragment(std::string_view payload) const {
    return event("/measurement/measurements").payload(payload);
  }
  MessageBuilder awaited(std::string_view payload) const { return fragment(payload).requiresResponse().reqId(7); }

  std::string refusalOf(const MessageBuilder& event) {
    const std::string text = thrownBy([&] { send(event); });
    EXPECT_EQ(parts->transport.takeAll().size(), 0u);
    return text;
  }

  static MessageBuilder created(std::string_view payload) {
    return response(0).status(201).contentType("application/json").payload(payload);
  }
};

TEST_F(FragmentTest, BecomesANestedMeasurementOfItsOwn) {
  configure(R"({"appKey": "k"})");
  send(fragment(R"({"source": {"id": "10"}, "type": "t", "time": 1.5, "valueFragment": "f", "valueSeries": "s",
                    "value": 21.5, "unit": "C", "params": {"min": 1}})")
           .contentType("application/x"));
  EXPECT_EQ(takeRequest().json(),
            json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.MeasurementFragment", "requestId": 0,
                                  "contentType": "application/x",
                                  "http": {"method": "POST", "path": "/measurement/measurements",
                                           "headers": {"X-Marlovance-Application-Key": "k",
                                                       "authorization": "Basic dXNlcjpzZWNyZXQ="}},
                                  "metrics": )" +
                 std::string(firstStamp) + R"(},
                     "payload": {"source": {"id": "10"}, "type": "t", "time": "1970-01-01T00:00:01.500Z",
                                 "f": {"s": {"value": 21.5, "unit": "C", "min": 1}}}})"));
}

struct BodyCase {
  const char* name;
  const char* payload;  ///< beside fragment "f" and series "s"
  const char* body;
};

void PrintTo(const BodyCase& each, std::ostream* out) {
  *out << each.payload;
}

class FragmentBodyTest : public FragmentTest, public testing::WithParamInterface<BodyCase> {};

TEST_P(FragmentBodyTest, HoldsTheSeries) {
  boost::json::object whole{{"valueFragment", "f"}, {"valueSeries", "s"}};
  const boost::json::value more = parseJson(GetParam().payload);
  for (const auto& entry : more.as_object()) whole[entry.key()] = entry.value();
  send(fragment(textOf(whole)));
  EXPECT_EQ(takeRequest().payload(), json(GetParam().body));
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, FragmentBodyTest,
    testing::Values(
        BodyCase{"EmptyUnit", R"({"value": 1, "unit": ""})", R"({"f": {"s": {"value": 1}}})"},
        BodyCase{"UnitThatIsNoText", R"({"value": 1, "unit": 0})", R"({"f": {"s": {"value": 1, "unit": 0}}})"},
        BodyCase{"Nothing", "{}", R"({"f": {"s": {}}})"},
        BodyCase{"EmptyValue", R"({"value": null})", R"({"f": {"s": {"value": null}}})"},
        BodyCase{"EmptyParameters", R"({"value": 1, "unit": "C", "params": {}})",
                 R"({"f": {"s": {"value": 1, "unit": "C"}}})"},
        BodyCase{"ParametersThatYield", R"({"value": 1, "unit": "C", "params": {"value": 2, "unit": "K", "a": 3}})",
                 R"({"f": {"s": {"value": 1, "unit": "C", "a": 3}}})"},
        BodyCase{"ParametersThatStandIn", R"({"unit": "", "params": {"value": 2, "unit": "K"}})",
                 R"({"f": {"s": {"value": 2, "unit": "K"}}})"},
        BodyCase{"ParametersOfEveryType", R"({"params": {"a": [1], "b": {"c": null}, "d": null}})",
                 R"({"f": {"s": {"a": [1], "b": {"c": null}, "d": null}}})"},
        BodyCase{"NamedLikeAField", R"({"valueFragment": "type", "type": "t", "value": 1})", R"({"type": "t"})"},
        BodyCase{"NamedLikeAFieldThatIsGone", R"({"valueFragment": "value", "value": 1})",
                 R"({"value": {"s": {"value": 1}}})"},
        BodyCase{"NamedLikeTheSeries", R"({"valueFragment": "s", "value": 1})", R"({"s": {"s": {"value": 1}}})"},
        BodyCase{"NamesThatAreEmpty", R"({"valueFragment": "", "valueSeries": "", "value": 1})",
                 R"({"": {"": {"value": 1}}})"},
        BodyCase{"NamesThatAreNumbers", R"({"valueFragment": 5, "valueSeries": 6, "value": 1})",
                 R"({"$entries": [[5, {"$entries": [[6, {"value": 1}]]}]]})"},
        BodyCase{"HostOnlyFields", R"({"source.id": "1", "source": "", "value": 1})", R"({"f": {"s": {"value": 1}}})"}),
    NameOfCase());

struct BadFragment {
  const char* name;
  const char* payload;
  const char* text;
};

void PrintTo(const BadFragment& each, std::ostream* out) {
  *out << each.payload;
}

class BadFragmentTest : public FragmentTest, public testing::WithParamInterface<BadFragment> {};

TEST_P(BadFragmentTest, IsRefused) {
  for (const MessageBuilder& event : {fragment(GetParam().payload), awaited(GetParam().payload)}) {
    const std::string text = refusalOf(event);
    EXPECT_TRUE(text.ends_with(GetParam().text)) << text;
  }
}

constexpr const char* missing = "] as valueFragment or valueSeries is missing";

INSTANTIATE_TEST_SUITE_P(
    Payloads, BadFragmentTest,
    testing::Values(BadFragment{"NoMap", "[1]", "] as payload is not a map"},
                    BadFragment{"NoNames", R"({"value": 1})", missing},
                    BadFragment{"NoFragment", R"({"valueSeries": "s"})", missing},
                    BadFragment{"NoSeries", R"({"valueFragment": "f"})", missing},
                    BadFragment{"EmptyFragment", R"({"valueFragment": null, "valueSeries": "s"})", missing},
                    BadFragment{"EmptySeries", R"({"valueFragment": "f", "valueSeries": null})", missing},
                    BadFragment{"ParametersAsText", R"({"valueFragment": "f", "valueSeries": "s", "params": "x"})",
                                "Incorrect type in get (you asked for map but it's actually string)"},
                    BadFragment{"ParametersAsList", R"({"valueFragment": "f", "valueSeries": "s", "params": [1]})",
                                "Incorrect type in get (you asked for map but it's actually list)"},
                    BadFragment{"ParametersEmpty", R"({"valueFragment": "f", "valueSeries": "s", "params": null})",
                                "Get from empty"}),
    NameOfCase());

TEST_F(FragmentTest, MayNotBeUpdatedSilently) {
  const std::string text = refusalOf(fragment(R"({"id": "5", "valueFragment": "f", "valueSeries": "s"})"));
  EXPECT_TRUE(text.ends_with("] as update is not allowed")) << text;
  EXPECT_TRUE(refusalOf(fragment(R"({"id": "5"})")).ends_with("] as update is not allowed"))
      << "this comes before the names";
}

TEST_F(FragmentTest, IsRefusedForItsTimeBeforeItsUpdate) {
  EXPECT_EQ(refusalOf(fragment(R"({"id": "5", "time": 5})")),
            "Failed to parse 'time' query param with type integer and value 5. Query param should be given in seconds "
            "since epoch.");
}

TEST_F(FragmentTest, MayBeUpdatedWhenTheAnswerIsAwaited) {
  send(awaited(R"({"id": "5", "valueFragment": "f", "valueSeries": "s", "value": 1})"));
  const Received request = takeRequest();
  EXPECT_EQ(request.http("method"), R"("PUT")");
  EXPECT_EQ(request.http("path"), R"("/measurement/measurements/5")");
}

TEST_F(FragmentTest, IsCountedThoughItIsRefused) {
  refusalOf(fragment("{}"));
  send(fragment(R"({"valueFragment": "f", "valueSeries": "s"})"));
  EXPECT_EQ(textOf(takeRequest().document.at("metadata").at("metrics").at("requestNo")), "1");
}

TEST_F(FragmentTest, IsNeverBatchable) {
  EXPECT_FALSE(handler->isBatchable(messageFrom(fragment("{}"))));
  EXPECT_FALSE(handler->isBatchable(messageFrom(awaited("{}"))));
  BatchSender batch = parts->openBatch();
  EXPECT_EQ(thrownBy([&] { handler->sendBatch(batch); }), "Batching not supported for these messages: ");
}

TEST_F(FragmentTest, IsOrderedByItsSource) {
  const auto keyOf = [this](const MessageBuilder& event) {
    return toJson(handler->getConcurrencyKey(messageFrom(event)));
  };
  EXPECT_EQ(keyOf(fragment(R"({"source": {"id": "10"}})").contentType("application/json")), R"("10")");
  EXPECT_EQ(keyOf(fragment("{}").contentType("application/json")), "null");
  EXPECT_EQ(keyOf(fragment("{}").contentType("application/vnd.com.rdx.marlovance.measurementcollection+json")),
            R"("")");
  EXPECT_EQ(thrownBy([&] { keyOf(fragment("{}")); }), "Element not in map");
}

// ---------------------------------------------------------------------------------------- answers

TEST_F(FragmentTest, IsCommittedFlat) {
  send(awaited(R"({"valueFragment": "f", "valueSeries": "s"})"));
  respond(created(R"({"id": "1", "f": {"s": {"value": 1, "unit": "C", "min": 0}}})"));
  const std::vector<Received> events = takeHostEvents();
  ASSERT_EQ(types(events), Texts{"com.kelvo.marlovance.ObjectCommitted"});
  EXPECT_EQ(events[0].payload(), json(R"({"$name": "com.kelvo.marlovance.MeasurementFragment",
                     "$map": {"id": "1", "valueFragment": "f", "valueSeries": "s", "value": 1, "unit": "C",
                              "params": {"min": 0}, "measurements": {}}})"));
}

TEST_F(FragmentTest, NamesItsTenantAmongItsParameters) {
  configure(R"({"tenantId": "t1"})");
  for (const auto& [document, expected] :
       {std::pair{"{}", R"({"params": {"tenantId": "t1"}})"},
        std::pair{R"({"params": {"a": 1, "tenantId": "theirs"}})", R"({"params": {"a": 1, "tenantId": "t1"}})"}}) {
    map_t parsed = mapFromJson(document);
    handler->addTenantId(parsed);
    EXPECT_EQ(toJson(parsed), json(expected));
  }
  map_t parsed = mapFromJson(R"({"params": 5})");
  EXPECT_EQ(thrownBy([&] { handler->addTenantId(parsed); }),
            "Incorrect type in get (you asked for map but it's actually integer)");
}

TEST_F(FragmentTest, NamesNoTenantWhenThereIsNone) {
  map_t parsed = mapFromJson("{}");
  handler->addTenantId(parsed);
  EXPECT_EQ(toJson(parsed), "{}");
}

TEST_F(FragmentTest, IsRefusedLikeAnyResource) {
  send(awaited(R"({"valueFragment": "f", "valueSeries": "s"})"));
  respond(created(R"({"message": "no"})").status(422));
  EXPECT_EQ(types(takeHostEvents()), Texts{"com.kelvo.marlovance.ObjectCommitFailed"});
}

}  // namespace
}  // namespace tests
