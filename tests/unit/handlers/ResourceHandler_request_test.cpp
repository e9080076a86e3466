#include "codec/exceptions.h"
#include "handlers/ResourceHandler.h"
#include "tests/unit/handlers/HandlerFixture.h"

namespace tests {
namespace {

class ResourceRequestTest : public HandlerFixture {
 protected:
  /// The body that goes out for an event.
  std::string bodyOf(const MessageBuilder& event) {
    send(event);
    return takeRequest().payload();
  }

  /// The text with which the handler in use refuses an event.
  std::string refusalOf(const MessageBuilder& event) {
    return thrownBy([&] { send(event); });
  }
};

class AlarmRequestTest : public ResourceRequestTest {
 protected:
  AlarmRequestTest() { use("Alarm"); }
  MessageBuilder alarm(std::string_view payload) const { return event("/alarm/alarms").payload(payload); }
};

// ---------------------------------------------------------------------------------------- whole requests

TEST_F(AlarmRequestTest, BecomesAPost) {
  send(alarm(R"({"source": {"id": "10"}, "type": "t", "time": 1600000000.25, "text": "hot", "severity": "MAJOR"})")
           .contentType("application/json")
           .reqId(7)
           .requiresResponse()
           .responseChannel("c")
           .query("a", "b")
           .cookie("d", "e")
           .header("f", "g"));
  EXPECT_EQ(takeRequest().json(),
            json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Alarm", "contentType": "application/json",
                                  "reqId": 7, "requiresResponse": true, "responseChannel": "c", "requestId": 0,
                                  "http": {"method": "POST", "path": "/alarm/alarms", "queryString": {"a": "b"},
                                           "cookies": {"d": "e"},
                                           "headers": {"f": "g", "authorization": "Basic dXNlcjpzZWNyZXQ="}},
                                  "metrics": )" +
                 std::string(firstStamp) + R"(},
                     "payload": {"source": {"id": "10"}, "type": "t", "time": "2020-09-13T12:26:40.250Z",
                                 "text": "hot", "severity": "MAJOR"}})"));
}

TEST_F(AlarmRequestTest, BecomesAPutWithItsId) {
  configure(R"({"appKey": "k"})");
  send(alarm(R"({"id": "5", "source": {"id": "10"}, "status": "CLEARED"})"));
  EXPECT_EQ(takeRequest().json(),
            json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Alarm", "requestId": 0,
                                  "http": {"method": "PUT", "path": "/alarm/alarms/5",
                                           "headers": {"X-Marlovance-Application-Key": "k",
                                                       "authorization": "Basic dXNlcjpzZWNyZXQ="}},
                                  "metrics": )" +
                 std::string(firstStamp) + R"(}, "payload": {"source": {"id": "10"}, "status": "CLEARED"}})"));
}

TEST_F(AlarmRequestTest, KeepsTheNameOfItsPayload) {
  EXPECT_EQ(bodyOf(alarm(R"({"$name": "com.kelvo.marlovance.Alarm", "$map": {"text": "hot"}})")),
            json(R"({"$name": "com.kelvo.marlovance.Alarm", "$map": {"text": "hot"}})"));
}

TEST_F(AlarmRequestTest, IsNotBatchable) {
  EXPECT_FALSE(handler->isBatchable(messageFrom(alarm("{}"))));
  EXPECT_FALSE(handler->isBatchable(messageFrom(alarm("{}").requiresResponse())));
}

// ---------------------------------------------------------------------------------------- method and path

struct IdCase {
  const char* name;
  const char* id;  ///< as JSON
  const char* method;
  const char* path;
};

void PrintTo(const IdCase& each, std::ostream* out) {
  *out << each.id;
}

class IdTest : public AlarmRequestTest, public testing::WithParamInterface<IdCase> {};

TEST_P(IdTest, ChoosesMethodAndPathAndLeavesTheBody) {
  for (const char* given : {"GET", "DELETE", "PUT", "POST"}) {
    send(alarm(R"({"text": "hot", "id": )" + std::string(GetParam().id) + "}").method(given));
    const Received request = takeRequest();
    EXPECT_EQ(request.http("method"), tests::quoted(GetParam().method));
    EXPECT_EQ(request.http("path"), tests::quoted(GetParam().path));
    EXPECT_EQ(request.payload(), json(R"({"text": "hot"})"));
  }
}

INSTANTIATE_TEST_SUITE_P(Values, IdTest,
                         testing::Values(IdCase{"Text", R"("5")", "PUT", "/alarm/alarms/5"},
                                         IdCase{"BorrowedText", R"({"$borrowed": "5"})", "PUT", "/alarm/alarms/5"},
                                         IdCase{"Integer", "42", "PUT", "/alarm/alarms/42"},
                                         IdCase{"NegativeInteger", "-1", "PUT", "/alarm/alarms/-1"},
                                         IdCase{"Boolean", "true", "PUT", "/alarm/alarms/true"},
                                         IdCase{"Double", "1.5", "PUT", "/alarm/alarms/1.5"},
                                         IdCase{"GreatDouble", "12345678.0", "PUT", "/alarm/alarms/1.23457e+07"},
                                         IdCase{"TextThatIsNoPath", R"("a b/../?#%")", "PUT",
                                                "/alarm/alarms/a b/../?#%"},
                                         IdCase{"EmptyText", R"("")", "POST", "/alarm/alarms"},
                                         IdCase{"EmptyBorrowedText", R"({"$borrowed": ""})", "POST", "/alarm/alarms"}),
                         NameOfCase());

TEST_F(AlarmRequestTest, IsAPostWithoutAnIdWhateverTheMethodWas) {
  for (const char* given : {"GET", "DELETE", "PUT", "POST"}) {
    send(alarm(R"({"text": "hot"})").method(given));
    const Received request = takeRequest();
    EXPECT_EQ(request.http("method"), R"("POST")");
    EXPECT_EQ(request.http("path"), R"("/alarm/alarms")");
  }
}

TEST_F(AlarmRequestTest, TakesAPathOfAnyTypeThatHasAText) {
  send(alarm(R"({"id": "5"})").http("path", "7"));
  EXPECT_EQ(takeRequest().http("path"), R"("7/5")");
}

TEST_F(AlarmRequestTest, TellsOfACreation) {
  send(alarm(R"({"text": "hot"})").header("X-Marlovance-Application-Key", "k"));
  const Texts lines = takeLogs(debugLevel);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0], "Update request method to POST");
  EXPECT_TRUE(lines[1].starts_with("Formatted message: "));
}

TEST_F(AlarmRequestTest, TellsOfAnUpdate) {
  send(alarm(R"({"text": "hot", "id": "5"})").header("X-Marlovance-Application-Key", "k"));
  EXPECT_EQ(takeLogs(debugLevel).front(), "Update request method to PUT as id \"5\" is specified");
}

TEST_F(AlarmRequestTest, RefusesAnIdWithoutATextForm) {
  EXPECT_EQ(refusalOf(alarm(R"({"id": []})")), "Trying to parse from incorrect type (actually list)");
  EXPECT_EQ(refusalOf(alarm(R"({"id": {}})")), "Trying to parse from incorrect type (actually map)");
  EXPECT_EQ(refusalOf(alarm(R"({"id": {"$decimal": 1}})")), "Trying to parse from incorrect type (actually decimal)");
  EXPECT_EQ(refusalOf(alarm(R"({"id": {"$buffer": "00"}})")), "Trying to parse from incorrect type (actually buffer)");
  EXPECT_EQ(refusalOf(alarm(R"({"id": {"$custom": 1}})")), "Trying to parse from incorrect type (actually custom)");
  EXPECT_EQ(refusalOf(alarm(R"({"id": null})")), "Trying to parse from empty");
  EXPECT_TRUE(parts->transport.takeAll().empty());
}

TEST_F(AlarmRequestTest, RefusesAPathWithoutATextForm) {
  EXPECT_EQ(refusalOf(alarm(R"({"id": "5"})").http("path", "[]")),
            "Trying to parse from incorrect type (actually list)");
}

// ---------------------------------------------------------------------------------------- times

TEST_F(AlarmRequestTest, ConvertsATimeThatAnUpdateDropsAfterwards) {
  EXPECT_EQ(refusalOf(alarm(R"({"id": "5", "time": "soon"})")),
            "time query param should be given in seconds since epoch. Instead it got soon");
}

TEST_F(AlarmRequestTest, ConvertsTheTimesOfItsQueryString) {
  send(alarm("{}").query("dateFrom", "1.5"));
  EXPECT_EQ(takeRequest().http("queryString"), json(R"({"dateFrom": "1970-01-01T00:00:01.500Z"})"));
}

// ---------------------------------------------------------------------------------------- refusals and counting

TEST_F(AlarmRequestTest, RefusesAPayloadThatIsNoMap) {
  EXPECT_EQ(refusalOf(tests::event("T").payload("[1]")), "Dropping [{qel.type:T} / [1]] as payload is not a map");
  EXPECT_EQ(refusalOf(tests::event("T").payload("null")), "Dropping [{qel.type:T} / (null)] as payload is not a map")
      << "whatever the metadata lacks";
}

TEST_F(AlarmRequestTest, RefusesMetadataWithoutAPath) {
  EXPECT_EQ(refusalOf(tests::event("T").payload("{}")),
            "Dropping [{qel.type:T} / {}] as metadata does not have an HTTP mapping");
  EXPECT_EQ(refusalOf(MessageBuilder().method("PUT").payload("{}")),
            "Dropping [{http:{method:PUT}} / {}] as metadata.http does not have path value");
}

TEST_F(AlarmRequestTest, IsLeftAsItCameWhenItIsRefused) {
  Message event = messageFromJson(R"({"a": 1})", R"({"source.id": "10", "text": ""})");
  BatchSender batch = parts->openBatch();
  EXPECT_THROW(handler->handleRequest(event, batch), DropMessage);
  EXPECT_EQ(toJson(event), json(R"({"metadata": {"a": 1}, "payload": {"source.id": "10", "text": ""}})"));
}

TEST_F(AlarmRequestTest, IsCountedOnlyAfterTheChecks) {
  EXPECT_THROW(send(tests::event("T").payload("[]")), DropMessage);
  EXPECT_THROW(send(tests::event("T").payload("{}")), DropMessage);
  EXPECT_THROW(send(MessageBuilder().method("PUT").payload("{}")), DropMessage);
  send(alarm("{}"));
  EXPECT_EQ(takeRequest().metadata("metrics"), json(R"({"batchNo": 4, "requestNo": 0, "batchStartTime": 1000.0,
                                                        "individualStartTime": 1000.0})"));
}

TEST_F(AlarmRequestTest, IsCountedWhenItFailsBehindTheChecks) {
  EXPECT_EQ(refusalOf(alarm(R"({"time": "soon"})")),
            "time query param should be given in seconds since epoch. Instead it got soon");
  EXPECT_EQ(refusalOf(alarm(R"({"id": []})")), "Trying to parse from incorrect type (actually list)");
  send(alarm("{}"));
  EXPECT_EQ(takeRequest().metadata("metrics"), json(R"({"batchNo": 3, "requestNo": 2, "batchStartTime": 1000.0,
                                                        "individualStartTime": 1000.0})"));
}

TEST_F(AlarmRequestTest, WarnsOfASourceWithoutASetClock) {
  send(alarm(R"({"time": 1.5, "source": {"id": "10"}})"));
  send(alarm(R"({"time": 1.5, "source": {"id": "10"}})"));
  EXPECT_EQ(takeLogs(warnLevel).size(), 1u);
  for (int round = 0; round < 2; ++round)
    EXPECT_EQ(takeRequest().payload(), json(R"({"time": "1970-01-01T00:00:01.500Z", "source": {"id": "10"}})"));
}

// ---------------------------------------------------------------------------------------- keys at send time

struct Ordered {
  const char* name;
  const char* type;
  const char* path;
  const char* payload;
  const char* key;  ///< as JSON, or "absent"
};

void PrintTo(const Ordered& each, std::ostream* out) {
  *out << each.type << " " << each.payload;
}

class OrderedTest : public ResourceRequestTest, public testing::WithParamInterface<Ordered> {};

TEST_P(OrderedTest, BearsTheKeyThatIsLeftWhenItIsSent) {
  configure(R"({"concurrencyMode": "auto"})");
  use(GetParam().type);
  send(event(GetParam().path).payload(GetParam().payload));
  const Received request = takeRequest();
  EXPECT_EQ(request.metadata("concurrencyControlKey"), GetParam().key);
  EXPECT_EQ(request.metadata("concurrencyControlFlush"), "true") << "the first write is a barrier";
}

INSTANTIATE_TEST_SUITE_P(
    Rows, OrderedTest,
    testing::Values(
        Ordered{"ManagedObjectCreate", "ManagedObject", "/registry/managed-objects", R"({"name": "n"})", "absent"},
        Ordered{"ManagedObjectCreateAt26Characters", "ManagedObject", "/registry/managed-objects/", "{}", R"("")"},
        Ordered{"ManagedObjectUpdate", "ManagedObject", "/registry/managed-objects", R"({"id": "5"})", R"("5")"},
        Ordered{"ManagedObjectUpdateByInteger", "ManagedObject", "/registry/managed-objects", R"({"id": 42})",
                R"("42")"},
        Ordered{"ManagedObjectUpdateOnAShortPath", "ManagedObject", "/objects", R"({"id": "5"})", "absent"},
        Ordered{"ManagedObjectUpdateOnALongPath", "ManagedObject", "/registry/managed-objects-of-mine",
                R"({"id": "5"})", R"("of-mine/5")"},
        Ordered{"AlarmCreate", "Alarm", "/p", R"({"source": {"id": "10"}})", R"("10")"},
        Ordered{"AlarmUpdate", "Alarm", "/p", R"({"id": "5", "source": {"id": "10"}})", R"("10")"},
        Ordered{"AlarmWithAPlainSource", "Alarm", "/p", R"({"source": 10})", "10"},
        Ordered{"AlarmWithoutSource", "Alarm", "/p", R"({"text": "hot"})", "absent"},
        Ordered{"AlarmWithAnEmptySource", "Alarm", "/p", R"({"source": {}})", "absent"},
        Ordered{"EventCreate", "Event", "/p", R"({"source": {"id": "10"}})", R"("10")"},
        Ordered{"EventUpdate", "Event", "/p", R"({"id": "5", "source": {"id": "10"}})", "absent"},
        Ordered{"OperationCreate", "Operation", "/p", R"({"deviceId": "20"})", R"("20")"},
        Ordered{"OperationUpdate", "Operation", "/p", R"({"id": "5", "deviceId": "20"})", "absent"}),
    NameOfCase());

TEST_F(AlarmRequestTest, FailsForASourceWithoutAnIdWhenItsKeyIsWanted) {
  configure(R"({"concurrencyMode": "auto"})");
  EXPECT_EQ(refusalOf(alarm(R"({"source": {"name": "pump"}})")), "Element not in map");
  EXPECT_TRUE(parts->transport.takeAll().empty());
}

TEST_F(AlarmRequestTest, TakesASourceWithoutAnIdWhereNoKeyIsWanted) {
  EXPECT_EQ(bodyOf(alarm(R"({"source": {"name": "pump"}})")), json(R"({"source": {"name": "pump"}})"));
}

TEST_F(AlarmRequestTest, BearsNoHintsInFullConcurrency) {
  send(alarm(R"({"source": {"id": "10"}})"));
  const Received request = takeRequest();
  EXPECT_EQ(request.metadata("concurrencyControlKey"), "absent");
  EXPECT_EQ(request.metadata("concurrencyControlFlush"), "absent");
}

}  // namespace
}  // namespace tests
