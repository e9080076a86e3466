#include "tests/unit/handlers/HandlerFixture.h"

namespace tests {
namespace {

class MeasurementTest : public HandlerFixture {
 protected:
  MeasurementTest() { use("Measurement"); }

  MessageBuilder measurement(std::string_view payload) const {
    return event("/measurement/measurements").payload(payload);
  }
  MessageBuilder awaited(std::string_view payload) const { return measurement(payload).requiresResponse().reqId(7); }

  /// The body that goes out for an event, as one of a collection.
  std::string bodyOf(std::string_view payload) {
    send(measurement(payload));
    return textOf(takeRequest().document.at("payload").at("measurements").at(0));
  }

  std::string refusalOf(const MessageBuilder& event) {
    const std::string text = thrownBy([&] { send(event); });
    EXPECT_EQ(parts->transport.takeAll().size(), 0u);
    return text;
  }

  /// Hands events to the handler in one batch.
  void sendTogether(const std::vector<MessageBuilder>& events) {
    BatchSender batch = parts->openBatch();
    for (const MessageBuilder& builder : events) {
      Message message = messageFrom(builder);
      handler->handleRequest(message, batch);
    }
    batch.finish();
  }

  /// Number of merged events, or "absent", and body of each request.
  Texts takeRequestTexts() {
    Texts texts;
    for (const Received& request : parts->transport.takeAll())
      texts.push_back(request.metadata("batchedMessagesCount") + " " + request.payload());
    return texts;
  }
};

// ---------------------------------------------------------------------------------------- whole requests

TEST_F(MeasurementTest, GoesOutAsACollectionWithHeadersOfItsOwn) {
  configure(R"({"appKey": "k"})");
  send(measurement(R"({"source": {"id": "10"}, "type": "t", "time": 1.5,
                       "measurements": {"f": {"s": {"value": 21.5, "unit": "C"}}}})")
           .contentType("application/x")
           .header("own", "1")
           .query("a", "b")
           .channel("c"));
  EXPECT_EQ(takeRequest().json(), json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Measurement", "requestId": 0,
                                  "batchedMessagesCount": 1,
                                  "contentType": "application/vnd.com.rdx.marlovance.measurementcollection+json",
                                  "http": {"method": "POST", "path": "/measurement/measurements",
                                           "headers": {"X-Marlovance-Application-Key": "k",
                                                       "authorization": "Basic dXNlcjpzZWNyZXQ="}},
                                  "metrics": )" +
                                       std::string(firstStamp) + R"(},
                     "payload": {"measurements": [{"source": {"id": "10"}, "type": "t",
                                                   "time": "1970-01-01T00:00:01.500Z",
                                                   "f": {"s": {"value": 21.5, "unit": "C"}}}]}})"));
}

TEST_F(MeasurementTest, GoesOutAloneWhenItsAnswerIsAwaited) {
  send(awaited(R"({"measurements": {"f": {"s": {"value": 1}}}})").contentType("application/x").header("own", "1"));
  EXPECT_EQ(takeRequest().json(),
            json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Measurement", "requestId": 0, "reqId": 7,
                                  "requiresResponse": true, "contentType": "application/x",
                                  "http": {"method": "POST", "path": "/measurement/measurements",
                                           "headers": {"own": "1", "authorization": "Basic dXNlcjpzZWNyZXQ="}},
                                  "metrics": )" +
                 std::string(firstStamp) + R"(}, "payload": {"f": {"s": {"value": 1}}}})"));
}

// ---------------------------------------------------------------------------------------- body

struct BodyCase {
  const char* name;
  const char* payload;
  const char* body;
};

void PrintTo(const BodyCase& each, std::ostream* out) {
  *out << each.payload;
}

class MeasurementBodyTest : public MeasurementTest, public testing::WithParamInterface<BodyCase> {};

TEST_P(MeasurementBodyTest, IsTheSameAloneAndInACollection) {
  EXPECT_EQ(bodyOf(GetParam().payload), json(GetParam().body));
  send(awaited(GetParam().payload));
  EXPECT_EQ(takeRequest().payload(), json(GetParam().body));
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, MeasurementBodyTest,
    testing::Values(
        BodyCase{"WithoutMeasurements", R"({"type": "t"})", R"({"type": "t"})"},
        BodyCase{"EmptyMeasurements", R"({"type": "t", "measurements": {}})", R"({"type": "t"})"},
        BodyCase{"SeveralFragments",
                 R"({"measurements": {"f": {"a": {"value": 1}, "b": {"value": 2}}, "g": {"c": {"value": 3}}}})",
                 R"({"f": {"a": {"value": 1}, "b": {"value": 2}}, "g": {"c": {"value": 3}}})"},
        BodyCase{"EmptyUnit", R"({"measurements": {"f": {"s": {"value": 1, "unit": ""}, "t": {"unit": null}}}})",
                 R"({"f": {"s": {"value": 1}, "t": {}}})"},
        BodyCase{"UnitThatIsNoText", R"({"measurements": {"f": {"s": {"unit": 0}, "t": {"unit": false}}}})",
                 R"({"f": {"s": {"unit": 0}, "t": {"unit": false}}})"},
        BodyCase{"UnitElsewhere", R"({"unit": "", "measurements": {"f": {"unit": "", "s": [{"unit": ""}]}}})",
                 R"({"unit": "", "f": {"unit": "", "s": [{"unit": ""}]}})"},
        BodyCase{"FragmentNamedLikeAField", R"({"type": "t", "time": 1.5,
                                                "measurements": {"type": {"s": {"value": 1}}, "time": {"s": {}}}})",
                 R"({"type": "t", "time": "1970-01-01T00:00:01.500Z"})"},
        BodyCase{"FragmentNamedMeasurements", R"({"measurements": {"measurements": {"s": {"value": 1}}}})",
                 R"({"measurements": {"s": {"value": 1}}})"},
        BodyCase{"FragmentNamedLikeAFieldThatIsGone", R"({"source": "", "measurements": {"source": {"s": {}}}})",
                 R"({"source": {"s": {}}})"},
        BodyCase{"FragmentsThatAreNoMaps", R"({"measurements": {"a": 1, "b": "text", "c": [{}], "d": null}})",
                 R"({"a": 1, "b": "text", "c": [{}], "d": null})"},
        BodyCase{"FragmentNamedByNothing", R"({"measurements": {"": {"s": {"value": 1}}}})",
                 R"({"": {"s": {"value": 1}}})"},
        BodyCase{"EmptySource", R"({"source": {}, "type": ""})", R"({"type": ""})"},
        BodyCase{"EmptyKey", R"({"": "", "a": 1})", R"({"a": 1})"},
        BodyCase{"EmptyKeyWithAValue", R"({"": 0, "a": 1})", R"({"": 0, "a": 1})"},
        BodyCase{"HostOnlyFields", R"({"source.id": "1", "source": {"id": "1"}, ".kelvo_notificationType": "x"})",
                 R"({"source": {"id": "1"}})"},
        BodyCase{"EmptyId", R"({"id": "", "a": 1})", R"({"a": 1})"}),
    NameOfCase());

TEST_F(MeasurementTest, HoldsTenThousandSeries) {
  std::string series;
  for (int number = 0; number < 10000; ++number)
    series += (series.empty() ? R"("s)" : R"(, "s)") + std::to_string(number) + R"(": {"value": )" +
              std::to_string(number) + R"(, "unit": ")" + (number % 2 == 0 ? "C" : "") + R"("})";
  const boost::json::value body = parseJson(bodyOf(R"({"measurements": {"f": {)" + series + "}}}"));
  const auto& sent = body.at("f").as_object();
  ASSERT_EQ(sent.size(), 10000u);
  for (int number = 0; number < 10000; ++number)
    ASSERT_EQ(
        textOf(sent.at("s" + std::to_string(number))),
        R"({)" + std::string(number % 2 == 0 ? R"("unit":"C",)" : "") + R"("value":)" + std::to_string(number) + "}");
}

// ---------------------------------------------------------------------------------------- refusals

struct BadMeasurement {
  const char* name;
  const char* payload;
  const char* text;
};

void PrintTo(const BadMeasurement& each, std::ostream* out) {
  *out << each.payload;
}

class BadMeasurementTest : public MeasurementTest, public testing::WithParamInterface<BadMeasurement> {};

TEST_P(BadMeasurementTest, IsRefused) {
  for (const MessageBuilder& event : {measurement(GetParam().payload), awaited(GetParam().payload)}) {
    const std::string text = refusalOf(event);
    EXPECT_TRUE(text.ends_with(GetParam().text)) << text;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Payloads, BadMeasurementTest,
    testing::Values(
        BadMeasurement{"NoMap", R"("text")", "] as payload is not a map"},
        BadMeasurement{"NoPayload", "null", "] as payload is not a map"},
        BadMeasurement{"MeasurementsAsText", R"({"measurements": "x"})",
                       "Incorrect type in get (you asked for map but it's actually string)"},
        BadMeasurement{"MeasurementsAsList", R"({"measurements": [{}]})",
                       "Incorrect type in get (you asked for map but it's actually list)"},
        BadMeasurement{"MeasurementsAsNumber", R"({"measurements": 5})",
                       "Incorrect type in get (you asked for map but it's actually integer)"},
        BadMeasurement{"MeasurementsEmpty", R"({"measurements": null})", "Get from empty"},
        BadMeasurement{"TimeAsInteger", R"({"time": 5})",
                       "Failed to parse 'time' query param with type integer and value 5. Query param should be given "
                       "in seconds since epoch."},
        BadMeasurement{"IdWithoutText", R"({"id": [1]})", "Trying to parse from incorrect type (actually list)"}),
    NameOfCase());

TEST_F(MeasurementTest, MayNotBeUpdatedSilently) {
  for (const char* payload : {R"({"id": "5"})", R"({"id": "5", "measurements": 5})"}) {
    const std::string text = refusalOf(measurement(payload));
    EXPECT_TRUE(text.ends_with("] as update is not allowed")) << text;
  }
}

TEST_F(MeasurementTest, IsRefusedForItsTimeBeforeItsUpdate) {
  EXPECT_EQ(refusalOf(measurement(R"({"id": "5", "time": 5})")),
            "Failed to parse 'time' query param with type integer and value 5. Query param should be given in seconds "
            "since epoch.");
}

TEST_F(MeasurementTest, MayBeUpdatedWhenTheAnswerIsAwaited) {
  send(awaited(R"({"id": "5", "measurements": {"f": {"s": {"value": 1}}}})"));
  const Received request = takeRequest();
  EXPECT_EQ(request.http("method"), R"("PUT")");
  EXPECT_EQ(request.http("path"), R"("/measurement/measurements/5")");
  EXPECT_EQ(request.payload(), json(R"({"f": {"s": {"value": 1}}})"));
}

TEST_F(MeasurementTest, IsRefusedWithoutAPath) {
  EXPECT_TRUE(refusalOf(measurement("{}").without("http")).ends_with("] as metadata does not have an HTTP mapping"));
}

TEST_F(MeasurementTest, KeepsItsHeadersUnreadUnlessItsAnswerIsAwaited) {
  send(measurement(R"({"n": 1})").http("headers", "5"));
  EXPECT_EQ(takeRequest().payload(), json(R"({"measurements": [{"n": 1}]})"));
  EXPECT_EQ(refusalOf(awaited(R"({"n": 1})").http("headers", "5")),
            "Incorrect type in get (you asked for map but it's actually integer)");
}

TEST_F(MeasurementTest, IsCountedThoughItsBodyIsRefusedWhenItsAnswerIsAwaited) {
  refusalOf(awaited(R"({"measurements": 5})"));
  send(awaited("{}"));
  EXPECT_EQ(textOf(takeRequest().document.at("metadata").at("metrics").at("requestNo")), "1");
}

TEST_F(MeasurementTest, IsNotCountedWhenItIsRefused) {
  refusalOf(measurement(R"({"id": "5"})"));
  send(measurement("{}"));
  EXPECT_EQ(textOf(takeRequest().document.at("metadata").at("metrics").at("requestNo")), "0");
}

// ---------------------------------------------------------------------------------------- merging

TEST_F(MeasurementTest, IsBatchableUnlessItsAnswerIsAwaited) {
  EXPECT_TRUE(handler->isBatchable(messageFrom(measurement("{}"))));
  EXPECT_FALSE(handler->isBatchable(messageFrom(awaited("{}"))));
  EXPECT_FALSE(handler->isBatchable(messageFrom(measurement("{}").metadata("requiresResponse", "false"))));
}

TEST_F(MeasurementTest, SplitsTheBatchWhenItsAnswerIsAwaited) {
  sendTogether({measurement(R"({"n": 1})"), measurement(R"({"n": 2})"), measurement(R"({"n": 3})"),
                awaited(R"({"n": 4})"), measurement(R"({"n": 5})"), measurement(R"({"n": 6})")});
  EXPECT_EQ(takeRequestTexts(), (Texts{R"(3 {"measurements":[{"n":1},{"n":2},{"n":3}]})", R"(absent {"n":4})",
                                       R"(2 {"measurements":[{"n":5},{"n":6}]})"}));
}

TEST_F(MeasurementTest, GoesOutByItselfEachTimeItsAnswerIsAwaited) {
  sendTogether({awaited(R"({"n": 1})"), awaited(R"({"n": 2})")});
  EXPECT_EQ(takeRequestTexts(), (Texts{R"(absent {"n":1})", R"(absent {"n":2})"}));
}

TEST_F(MeasurementTest, FillsBatchesUpToTheirSize) {
  configure(R"({"maxBatchSize": 2})");
  std::vector<MessageBuilder> five;
  for (int number = 1; number <= 5; ++number) five.push_back(measurement(R"({"n": )" + std::to_string(number) + "}"));
  sendTogether(five);
  EXPECT_EQ(takeRequestTexts(), (Texts{R"(2 {"measurements":[{"n":1},{"n":2}]})",
                                       R"(2 {"measurements":[{"n":3},{"n":4}]})", R"(1 {"measurements":[{"n":5}]})"}));
}

TEST_F(MeasurementTest, StaysPendingWhileAnotherIsRefused) {
  BatchSender batch = parts->openBatch();
  for (const char* payload : {R"({"n": 1})", R"({"id": "5"})", R"({"measurements": 5})", R"({"n": 2})"}) {
    Message message = messageFrom(measurement(payload));
    thrownBy([&] { handler->handleRequest(message, batch); });
  }
  batch.finish();
  EXPECT_EQ(takeRequestTexts(), Texts{R"(2 {"measurements":[{"n":1},{"n":2}]})"});
}

TEST_F(MeasurementTest, IsOneRequestInTrackingHoweverManyAreMerged) {
  moveClock();
  sendTogether(std::vector(5, measurement("{}")));
  respond(response(0).status(201).contentType("application/json").payload("{}"));
  EXPECT_EQ(endedRequests(), 1u);
}

TEST_F(MeasurementTest, OfABatchSucceedsSilentlyAndFailsInOneEvent) {
  sendTogether({measurement("{}"), measurement("{}")});
  sendTogether({measurement("{}"), measurement("{}")});
  respond(response(0).status(201).contentType("application/json").payload("{}"));
  EXPECT_EQ(takeHostEvents().size(), 0u);
  respond(response(1).status(422).reason("Bad").contentType("application/json").payload(R"({"message": "no"})"));
  EXPECT_EQ(jsons(takeHostEvents()),
            Texts{json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Error", "requestId": 1,
                                        "contentType": "application/json",
                                        "http": {"statusCode": 422, "statusReason": "Bad"}},
                           "payload": {"message": "no"}})")});
}

TEST_F(MeasurementTest, IsCommittedWithItsFragmentsGathered) {
  send(awaited("{}"));
  respond(response(0).status(201).contentType("application/json").payload(R"({"id": "1", "f": {"s": {"value": 1}}})"));
  const std::vector<Received> events = takeHostEvents();
  ASSERT_EQ(types(events), Texts{"com.kelvo.marlovance.ObjectCommitted"});
  EXPECT_EQ(events[0].payload(), json(R"({"$name": "com.kelvo.marlovance.Measurement",
                                          "$map": {"id": "1", "measurements": {"f": {"s": {"value": 1}}}}})"));
}

// ---------------------------------------------------------------------------------------- ordering key

TEST_F(MeasurementTest, IsOrderedByItsSource) {
  const auto keyOf = [this](const char* payload) {
    return toJson(handler->getConcurrencyKey(messageFrom(awaited(payload).contentType("application/json"))));
  };
  EXPECT_EQ(keyOf(R"({"source": {"id": "10"}})"), R"("10")");
  EXPECT_EQ(keyOf(R"({"source": {"id": 10}})"), "10");
  EXPECT_EQ(keyOf("{}"), "null");
  EXPECT_EQ(thrownBy([&] { keyOf(R"({"source": {}})"); }), "Element not in map");
  EXPECT_EQ(thrownBy([&] { keyOf(R"({"source": "10"})"); }),
            "Incorrect type in get (you asked for map but it's actually string)");
}

TEST_F(MeasurementTest, SharesOneKeyInCollections) {
  EXPECT_EQ(toJson(handler->getConcurrencyKey(messageFrom(
                measurement("{}").contentType("application/vnd.com.rdx.marlovance.measurementcollection+json")))),
            R"("")");
}

TEST_F(MeasurementTest, HasNoKeyWithoutAContentType) {
  EXPECT_EQ(thrownBy([&] { handler->getConcurrencyKey(messageFrom(awaited("{}"))); }), "Element not in map");
}

}  // namespace
}  // namespace tests
