// The way of host events to the transport.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "tests/blackbox/BlackboxTest.h"
#include "tests/blackbox/codec_events.h"

namespace tests {
namespace {

constexpr const char* multiTenant = R"({"username": "user", "password": "secret", "isMultitenantIsolation": true})";

class CodecRequestsTest : public BlackboxTest {
 protected:
  Texts takePayloads() {
    Texts payloads;
    for (const Received& request : takeRequests()) payloads.push_back(request.payload());
    return payloads;
  }
};

// Numbers

TEST_F(CodecRequestsTest, CountRequestsFromZeroAndBatchesFromOne) {
  send({alarm(), alarm()});
  send(alarm());
  Texts numbers;
  for (const Received& request : takeRequests())
    numbers.push_back(request.metadata("requestId") + " " + request.metadata("metrics"));
  EXPECT_EQ(numbers, (Texts{R"(0 {"batchNo":1,"batchStartTime":1000.0,"individualStartTime":1000.0,"requestNo":0})",
                            R"(1 {"batchNo":1,"batchStartTime":1000.0,"individualStartTime":1000.0,"requestNo":1})",
                            R"(2 {"batchNo":2,"batchStartTime":1000.0,"individualStartTime":1000.0,"requestNo":2})"}));
}

TEST_F(CodecRequestsTest, CountABatchWithoutAnyMessage) {
  EXPECT_EQ(send(std::vector<MessageBuilder>{}), 0);
  EXPECT_EQ(plugin().entryPoints().sendBatchTowardsTransport(plugin().object(), nullptr, nullptr), 0);
  EXPECT_EQ(takeRequests().size(), 0u);
  send(alarm());
  EXPECT_NE(takeRequest().metadata("metrics").find(R"("batchNo":3,)"), std::string::npos);
}

TEST_F(CodecRequestsTest, CountABatchOfWhichNothingCouldBeSent) {
  send({alarmWithoutBody(), event("Nothing.Known")});
  send(alarm());
  const Received request = takeRequest();
  EXPECT_EQ(request.metadata("requestId"), "0");
  EXPECT_EQ(request.metadata("metrics"),
            R"({"batchNo":2,"batchStartTime":1000.0,"individualStartTime":1000.0,"requestNo":0})");
}

TEST_F(CodecRequestsTest, ReachTheTransportOneByOneInTheOrderOfTheEvents) {
  send({alarm().payload(R"({"n": 1})"), alarm().payload(R"({"n": 2})"), alarm().payload(R"({"n": 3})")});
  EXPECT_EQ(session->transport.takeBatchSizes(), (std::vector<std::size_t>{1, 1, 1}));
  EXPECT_EQ(takePayloads(), (Texts{R"({"n":1})", R"({"n":2})", R"({"n":3})"}));
}

TEST_F(CodecRequestsTest, KeepTheMetadataOfTheirEvents) {
  send(alarm().reqId(5).metadata("requiresResponse", "false").metadata("own", R"({"a": [1]})").http("more", "2"));
  const Received request = takeRequest();
  EXPECT_EQ(request.metadata("reqId"), "5");
  EXPECT_EQ(request.metadata("requiresResponse"), "false");
  EXPECT_EQ(request.metadata("own"), R"({"a":[1]})");
  EXPECT_EQ(request.http("more"), "2");
}

// Types

TEST_F(CodecRequestsTest, AreNotMadeOfAnUnknownType) {
  for (const char* type : {"com.kelvo.marlovance.alarm", "com.kelvo.marlovance.Alarms", "com.kelvo.marlovance.Alarm ",
                           "Alarm", "com.kelvo.marlovance.Error", ""}) {
    EXPECT_EQ(send(event(type)), 0);
    EXPECT_EQ(takeLogs(errorLevel),
              Texts{"NoTypeFound: Dropping [{qel.type:" + std::string(type) + "} / (null)] with no qel.type"});
  }
  EXPECT_EQ(takeRequests().size(), 0u);
  EXPECT_EQ(takeHostEvents().size(), 0u);
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
}

TEST_F(CodecRequestsTest, AreNotMadeWithoutAType) {
  send(MessageBuilder().metadata("reqId", "1").payload(R"("body")"));
  EXPECT_EQ(takeLogs(errorLevel), Texts{"NoTypeFound: Dropping [{reqId:1} / body] with no qel.type"});
  EXPECT_EQ(takeHostEvents().size(), 0u);
}

TEST_F(CodecRequestsTest, TellTheHostOfATypeThatIsNoText) {
  send(MessageBuilder().metadata("qel.type", "7"));
  send(MessageBuilder().metadata("qel.type", "null"));
  const char* const wrong = "Incorrect type in get (you asked for string but it's actually integer)";
  EXPECT_EQ(jsons(takeHostEvents()), (Texts{errorEvent(wrong), errorEvent("Get from empty")}));
  EXPECT_EQ(takeLogs(errorLevel), (Texts{std::string("Error while transforming message: ") + wrong,
                                         "Error while transforming message: Get from empty"}));
}

// Events that are refused

TEST_F(CodecRequestsTest, TellTheHostOfAnEventThatIsRefused) {
  EXPECT_EQ(send(alarmWithoutBody()), 0);
  EXPECT_EQ(jsons(takeHostEvents()), Texts{errorEvent(refusal)});
  EXPECT_EQ(takeLogs(errorLevel), Texts{std::string("Error while transforming message: ") + refusal});
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
  EXPECT_EQ(takeRequests().size(), 0u);
}

TEST_F(CodecRequestsTest, KeepTheIdentifiersOfARefusedEventToThemselves) {
  send(alarmWithoutBody().reqId(7).channel("c").requiresResponse());
  const Received told = takeHostEvents().at(0);
  EXPECT_EQ(textOf(told.document.at("metadata")), R"({"qel.type":"com.kelvo.marlovance.Error"})");
  EXPECT_EQ(told.document.at("payload").as_object().size(), 1u);
}

TEST_F(CodecRequestsTest, AreMadeOfTheOthersWhenSomeAreRefused) {
  send({alarm().payload(R"({"n": 1})"), alarmWithoutBody(), event("Nothing.Known"), alarm().payload(R"({"n": 2})")});
  EXPECT_EQ(takePayloads(), (Texts{R"({"n":1})", R"({"n":2})"}));
  EXPECT_EQ(jsons(takeHostEvents()), Texts{errorEvent(refusal)});
  EXPECT_EQ(takeLogs(errorLevel),
            (Texts{std::string("Error while transforming message: ") + refusal,
                   "NoTypeFound: Dropping [{qel.type:Nothing.Known} / (null)] with no qel.type"}));
}

TEST_F(CodecRequestsTest, WriteNoErrorLineOnARefusedEventAmongManyTenants) {
  createPlugin(multiTenant);
  send(alarmWithoutBody());
  EXPECT_EQ(jsons(takeHostEvents()), Texts{errorEvent(refusal)});
  EXPECT_EQ(TestHost::drain().size(), 0u);
}

TEST_F(CodecRequestsTest, WriteTheLineOnAnUnknownTypeAmongManyTenantsToo) {
  createPlugin(multiTenant);
  send(event("Nothing.Known"));
  EXPECT_EQ(takeLogs(errorLevel), Texts{"NoTypeFound: Dropping [{qel.type:Nothing.Known} / (null)] with no qel.type"});
}

TEST_F(CodecRequestsTest, FollowTheEnvironmentInWhatTheyWriteAmongManyTenants) {
  environment.set("Q4V_BASEURL", "http://platform");
  createPlugin(multiTenant);
  send(alarmWithoutBody());
  EXPECT_EQ(takeLogs(errorLevel).size(), 1u);
  session->destroy();

  environment.set("Q4V_MICROSERVICE_ISOLATION", "MULTI_TENANT");
  createPlugin();
  send(alarmWithoutBody());
  EXPECT_EQ(takeLogs(errorLevel).size(), 0u);
}

// The Error event itself can't be sent

TEST_F(CodecRequestsTest, WarnWhenTheHostCannotBeTold) {
  session->host.onMessage = [](const Received&) { throw std::runtime_error("no room"); };
  EXPECT_EQ(send({alarmWithoutBody(), alarm()}), 0);
  EXPECT_EQ(TestHost::logs(warnLevel).at(0).format, "<%s> Error while transforming message: %s; %s will be dropped.");
  EXPECT_EQ(takeLogs(warnLevel), Texts{"Error while transforming message: no room; "
                                       "{qel.type:com.kelvo.marlovance.Alarm} / (null) will be dropped."});
  EXPECT_EQ(takeLogs(errorLevel), Texts{std::string("Error while transforming message: ") + refusal});
  EXPECT_EQ(takeRequests().size(), 1u);
}

TEST_F(CodecRequestsTest, WarnAmongManyTenantsTooWhenTheHostCannotBeTold) {
  createPlugin(multiTenant);
  session->host.onMessage = [](const Received&) { throw std::runtime_error("no room"); };
  send(alarmWithoutBody());
  EXPECT_EQ(takeLogs(warnLevel).size(), 1u);
  EXPECT_EQ(takeLogs(errorLevel), Texts{});
}

TEST_F(CodecRequestsTest, LoseTheRestOfTheirBatchWhenTheHostThrowsAForeignException) {
  session->host.onMessage = [](const Received&) { throw 7; };
  EXPECT_EQ(send({alarmWithoutBody(), alarm()}), 1);
  EXPECT_EQ(takeLogs(warnLevel), Texts{"Unknown exception from sendBatchTowardsTransport"});
  EXPECT_EQ(takeRequests().size(), 0u);
}

TEST_F(CodecRequestsTest, TellTheHostWhenTheErrorLineCannotBeWritten) {
  plugin();
  TestHost::throwFrom(HostCall::qel_log_at, [] { throw std::runtime_error("no log"); });
  EXPECT_EQ(send({alarmWithoutBody(), event("Nothing.Known"), alarm()}), 0);
  TestHost::throwFrom(HostCall::qel_log_at, nullptr);
  EXPECT_EQ(jsons(takeHostEvents()), Texts{errorEvent(refusal)});
  EXPECT_EQ(takeRequests().size(), 1u);
}

// The transport fails

TEST_F(CodecRequestsTest, AreRecordedWhenTheTransportRefusesThem) {
  session->transport.onMessage = [](const Received&) { throw std::runtime_error("no line"); };
  EXPECT_EQ(send({awaitedAlarm(1), awaitedAlarm(2)}), 0);
  EXPECT_EQ(jsons(takeHostEvents()), (Texts{errorEvent("no line"), errorEvent("no line")}));
  EXPECT_EQ(takeLogs(errorLevel), Texts(2, "Error while transforming message: no line"));
  respond({created(0), created(1)});
  EXPECT_EQ(types(takeHostEvents()), Texts(2, "com.kelvo.marlovance.ObjectCommitted"));
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
}

TEST_F(CodecRequestsTest, EndTheirBatchInOrderWhenTheTransportThrowsAForeignException) {
  createPlugin(R"({"username": "user", "password": "secret", "batchLatencySecsThreshold": 1,
                   "latencySecsLogThreshold": 0})");
  session->transport.onMessage = [](const Received&) { throw 7; };
  EXPECT_EQ(send({alarm(), alarm()}), 1);
  EXPECT_EQ(takeLogs(warnLevel), Texts{"Unknown exception from sendBatchTowardsTransport"});
  EXPECT_EQ(takeRequests().size(), 1u);
  EXPECT_EQ(takeHostEvents().size(), 0u);

  TestHost::advanceClock(2.0);
  onAnotherThread([&] { respond(created(0)); });
  EXPECT_EQ(takeLogs(warnLevel), Texts{"Long running batch: batch 1 \"POST /alarm/alarms\" completed after 2.000000 "
                                       "seconds (of which 2.000000 seconds was queue time)"});
}

// Control objects

TEST_F(CodecRequestsTest, LetAControlObjectThroughAsItIsInItsPlace) {
  send({alarm(), controlObject().metadata("a", "1"), alarm()});
  EXPECT_EQ(session->transport.takeBatchSizes(), (std::vector<std::size_t>{1, 1, 1}));
  const std::vector<Received> received = takeRequests();
  ASSERT_EQ(received.size(), 3u);
  EXPECT_EQ(received[0].metadata("requestId"), "0");
  EXPECT_EQ(received[1].json(), R"({"metadata":{"a":1,"qel.controlObject":true},"payload":null})");
  EXPECT_EQ(received[2].metadata("requestId"), "1");
}

TEST_F(CodecRequestsTest, KnowAControlObjectByItsKeyWhateverItsValue) {
  for (const char* value : {"false", "null", "0", R"("")", "[]"}) {
    send(controlObject().metadata("qel.controlObject", value));
    EXPECT_EQ(takeRequest().json(),
              R"({"metadata":{"qel.controlObject":)" + std::string(value) + R"(},"payload":null})");
  }
}

TEST_F(CodecRequestsTest, KnowAControlObjectAheadOfItsType) {
  send(controlObject().type("com.kelvo.marlovance.Alarm"));
  EXPECT_EQ(takeRequest().json(),
            R"({"metadata":{"qel.controlObject":true,"qel.type":"com.kelvo.marlovance.Alarm"},"payload":null})");
  EXPECT_EQ(takeHostEvents().size(), 0u);
}

TEST_F(CodecRequestsTest, TakeAMessageWithAPayloadForNoControlObject) {
  send({controlObject().payload("{}"), controlObject().payload(R"("")"),
        controlObject().type("com.kelvo.marlovance.Alarm").path("/alarm/alarms").payload("{}")});
  EXPECT_EQ(takeLogs(errorLevel), (Texts{"NoTypeFound: Dropping [{qel.controlObject:true} / {}] with no qel.type",
                                         "NoTypeFound: Dropping [{qel.controlObject:true} / ] with no qel.type"}));
  EXPECT_EQ(takeRequest().metadata("requestId"), "0");
}

TEST_F(CodecRequestsTest, DoNotTrackAControlObject) {
  send(controlObject());
  respond(bareResponse(0));
  EXPECT_EQ(takeLogs(warnLevel).size(), 1u);
}

TEST_F(CodecRequestsTest, TellTheHostOfAControlObjectThatTheTransportRefuses) {
  session->transport.onMessage = [](const Received&) { throw std::runtime_error("no line"); };
  EXPECT_EQ(send(controlObject()), 0);
  EXPECT_EQ(jsons(takeHostEvents()), Texts{errorEvent("no line")});
}

// The log

TEST_F(CodecRequestsTest, ShowEachEventAtDebugBeforeItIsLookedAt) {
  TestHost::setLogLevel(debugLevel);
  plugin();
  TestHost::drain();
  send({controlObject(), event("Nothing.Known"), alarmWithoutBody()});
  std::vector<LogLine> lines = TestHost::drain(debugLevel);
  EXPECT_EQ(lines.at(0).format, "<%s> Processing request: %s");
  Texts processed;
  for (const LogLine& line : lines)
    if (line.format == "<%s> Processing request: %s") processed.push_back(line.text.substr(line.text.find("> ") + 2));
  EXPECT_EQ(processed, (Texts{"Processing request: {qel.controlObject:true} / (null)",
                              "Processing request: {qel.type:Nothing.Known} / (null)",
                              "Processing request: {qel.type:com.kelvo.marlovance.Alarm} / (null)"}));
}

TEST_F(CodecRequestsTest, AreShownAtDebugWhenTheyAreFormatted) {
  TestHost::setLogLevel(debugLevel);
  send(alarm());
  Texts formats;
  for (const LogLine& line : TestHost::drain(debugLevel)) formats.push_back(line.format);
  ASSERT_GE(formats.size(), 2u);
  EXPECT_EQ(formats.back(), "<%s> Formatted message: %s");
}

TEST_F(CodecRequestsTest, MakeNoTextBelowDebug) {
  TestHost::setLogLevel(infoLevel);
  plugin();
  TestHost::forgetCalls();
  send(alarm().payload(R"({"number": 1.5})"));
  EXPECT_EQ(TestHost::calls(HostCall::float64ToChar8), 0u);
}

// Ordering

TEST_F(CodecRequestsTest, AskForNoOrderInFullMode) {
  send({alarm().payload(R"({"source": "1"})"), alarm().payload(R"({"source": "1"})"), alarm()});
  for (const Received& request : takeRequests()) {
    EXPECT_EQ(request.metadata("concurrencyControlKey"), "absent");
    EXPECT_EQ(request.metadata("concurrencyControlFlush"), "absent");
  }
}

TEST_F(CodecRequestsTest, AreLostWithTheirIdWhenTheirKeyCannotBeRead) {
  createPlugin(R"({"username": "user", "password": "secret", "concurrencyMode": "auto"})");
  send({alarm().payload(R"({"source": {}, "text": "x"})"), alarm().payload(R"({"source": {"name": "no id"}})"),
        alarm()});
  EXPECT_EQ(jsons(takeHostEvents()), Texts{errorEvent("Element not in map")});
  Texts ids;
  for (const Received& request : takeRequests()) ids.push_back(request.metadata("requestId"));
  EXPECT_EQ(ids, (Texts{"0", "2"}));
  respond(bareResponse(1));
  EXPECT_EQ(takeLogs(warnLevel),
            Texts{"Error while transforming message: Could not find a request matching response {requestId:1} / "
                  "(null); {} / (null) will be dropped."});
}

// After shutdown

TEST_F(CodecRequestsTest, AreNotMadeAfterShutdown) {
  TestHost::setLogLevel(debugLevel);
  plugin();
  EXPECT_EQ(session->shutdown(), 0);
  TestHost::drain();
  EXPECT_EQ(send({alarm(), alarmWithoutBody(), event("Nothing.Known"), controlObject()}), 0);
  EXPECT_EQ(takeRequests().size(), 0u);
  EXPECT_EQ(takeHostEvents().size(), 0u);
  EXPECT_EQ(TestHost::drain().size(), 0u);
}

TEST_F(CodecRequestsTest, AreNotMadeOfTheRestOfABatchDuringWhichThePluginIsShutDown) {
  plugin();
  session->transport.onMessage = [&](const Received&) { session->shutdown(); };
  EXPECT_EQ(send({alarm(), alarm(), alarm()}), 0);
  EXPECT_EQ(takeRequests().size(), 1u);
}

}  // namespace
}  // namespace tests
