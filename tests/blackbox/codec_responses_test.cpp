// The way of the transport's answers to the host.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "tests/blackbox/BlackboxTest.h"
#include "tests/blackbox/codec_events.h"

namespace tests {
namespace {

constexpr const char* committed = "com.kelvo.marlovance.ObjectCommitted";
constexpr const char* shortMillis = "c1.MarlovanceCodec.requestLatencyEWMAShortMillis";

class CodecResponsesTest : public BlackboxTest {
 protected:
  /// "reqId" of each event that reached the host.
  Texts takeReqIds() {
    Texts ids;
    for (const Received& event : takeHostEvents()) ids.push_back(event.metadata("reqId"));
    return ids;
  }

  /// Sends awaited alarms with reqIds from 0.
  void sendAlarms(std::int64_t count) {
    std::vector<MessageBuilder> batch;
    for (std::int64_t reqId = 0; reqId < count; ++reqId) batch.push_back(awaitedAlarm(reqId));
    send(batch);
  }

  static std::string nothingFound(const std::string& response) {
    return "Error while transforming message: Could not find a request matching response " + response +
           "; {} / (null) will be dropped.";
  }
};

// Matching

TEST_F(CodecResponsesTest, FindTheirRequestsWhateverTheOrder) {
  sendAlarms(4);
  respond({created(3), created(0)});
  respond({created(2), created(1)});
  EXPECT_EQ(takeReqIds(), (Texts{"3", "0", "2", "1"}));
  EXPECT_EQ(TestHost::drain().size(), 0u);
}

TEST_F(CodecResponsesTest, DoNotReachTheHostThemselves) {
  send(alarm());
  respond(created(0));
  EXPECT_EQ(takeHostEvents().size(), 0u);
  EXPECT_EQ(TestHost::drain().size(), 0u);
}

TEST_F(CodecResponsesTest, AreDroppedWithAnIdThatWasNeverGiven) {
  sendAlarms(1);
  EXPECT_EQ(respond({bareResponse(1), bareResponse(-1), bareResponse(9223372036854775807)}), 0);
  EXPECT_EQ(TestHost::logs(warnLevel).at(0).format, "<%s> Error while transforming message: %s; %s will be dropped.");
  EXPECT_EQ(takeLogs(warnLevel), (Texts{nothingFound("{requestId:1} / (null)"), nothingFound("{requestId:-1} / (null)"),
                                        nothingFound("{requestId:9223372036854775807} / (null)")}));
  EXPECT_EQ(takeHostEvents().size(), 0u);
}

TEST_F(CodecResponsesTest, AreDroppedWithoutAnId) {
  sendAlarms(1);
  EXPECT_EQ(respond(bareResponse(0).without("requestId").payload(R"("body")")), 0);
  EXPECT_EQ(takeLogs(warnLevel), Texts{nothingFound("{} / body")});
  EXPECT_EQ(takeHostEvents().size(), 0u);
}

TEST_F(CodecResponsesTest, AreHandledOnce) {
  sendAlarms(1);
  respond({created(0), bareResponse(0)});
  respond(bareResponse(0));
  EXPECT_EQ(takeReqIds(), Texts{"0"});
  EXPECT_EQ(takeLogs(warnLevel), Texts(2, nothingFound("{requestId:0} / (null)")));
}

TEST_F(CodecResponsesTest, AreDroppedWithAnIdOfAnotherType) {
  sendAlarms(1);
  respond({bareResponse(0).metadata("requestId", R"("0")"), bareResponse(0).metadata("requestId", "true"),
           bareResponse(0).metadata("requestId", "null")});
  EXPECT_EQ(takeLogs(warnLevel),
            (Texts{"Error while transforming message: Incorrect type in get (you asked for integer but it's actually "
                   "string); {requestId:0} / (null) will be dropped.",
                   "Error while transforming message: Incorrect type in get (you asked for integer but it's actually "
                   "boolean); {requestId:true} / (null) will be dropped.",
                   "Error while transforming message: Get from empty; {requestId:(null)} / (null) will be dropped."}));
  respond(created(0));
  EXPECT_EQ(takeReqIds(), Texts{"0"});
}

TEST_F(CodecResponsesTest, AreNoControlObjects) {
  plugin();
  respond(controlObject());
  EXPECT_EQ(takeLogs(warnLevel), Texts{nothingFound("{qel.controlObject:true} / (null)")});
  EXPECT_EQ(takeHostEvents().size(), 0u);
}

TEST_F(CodecResponsesTest, MayBeNone) {
  plugin();
  EXPECT_EQ(respond(std::vector<MessageBuilder>{}), 0);
  EXPECT_EQ(plugin().entryPoints().sendBatchTowardsHost(plugin().object(), nullptr, nullptr), 0);
  EXPECT_EQ(takeHostEvents().size(), 0u);
  EXPECT_EQ(TestHost::drain().size(), 0u);
}

// Failures

TEST_F(CodecResponsesTest, CostThemselvesOnlyWhenTheyFail) {
  sendAlarms(3);
  EXPECT_EQ(respond({created(0), created(1).payload("1"), created(2)}), 0);
  EXPECT_EQ(takeReqIds(), (Texts{"0", "2"}));
  const Texts lines = takeLogs(warnLevel);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(
      lines[0].starts_with("Error while transforming message: Incorrect type in get (you asked for map but "
                           "it's actually integer); {"))
      << lines[0];
  EXPECT_TRUE(lines[0].ends_with(" / 1 will be dropped.")) << lines[0];
}

TEST_F(CodecResponsesTest, EndTheirRequestsWithoutASentTime) {
  sendAlarms(1);
  TestHost::advanceClock(2.0);
  respond(bareResponse(0));
  EXPECT_EQ(takeLogs(warnLevel),
            (Texts{"Long running query completed: request 0 \"POST /alarm/alarms\" completed after 2.000000 seconds",
                   "Error while transforming message: Get from empty; {requestId:0} / (null) will be dropped."}));
  EXPECT_EQ(TestHost::statusItems().at(shortMillis), "2000");
  EXPECT_EQ(takeHostEvents().size(), 0u);
  respond(bareResponse(0));
  EXPECT_EQ(takeLogs(warnLevel), Texts{nothingFound("{requestId:0} / (null)")});
}

TEST_F(CodecResponsesTest, EndTheirRequestsWithASentTimeOfAnotherType) {
  sendAlarms(1);
  TestHost::advanceClock(2.0);
  respond(bareResponse(0).metadata("requestSentTime", "1000"));
  EXPECT_EQ(takeLogs(warnLevel).at(1),
            "Error while transforming message: Incorrect type in get (you asked for double but it's actually integer); "
            "{requestId:0} / (null) will be dropped.");
  EXPECT_EQ(TestHost::statusItems().at(shortMillis), "2000");
}

TEST_F(CodecResponsesTest, EndTheirRequestsWhenTheHandlerFails) {
  sendAlarms(1);
  TestHost::advanceClock(2.0);
  respond(created(0).without("http"));
  const Texts lines = takeLogs(warnLevel);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(lines[0].starts_with("Error while transforming message: Element not in map; {")) << lines[0];
  EXPECT_EQ(TestHost::statusItems().at(shortMillis), "2000");
}

TEST_F(CodecResponsesTest, AreWarnedOfWhenTheHostRefusesTheirEvents) {
  sendAlarms(2);
  TestHost::advanceClock(2.0);
  session->host.onMessage = [](const Received& event) {
    if (event.metadata("reqId") == "0") throw std::runtime_error("no room");
  };
  EXPECT_EQ(respond({created(0), created(1)}), 0);
  const Texts lines = takeLogs(warnLevel);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0], "Error while transforming message: no room; {} / (null) will be dropped.");
  EXPECT_EQ(takeReqIds(), (Texts{"0", "1"}));
  EXPECT_EQ(TestHost::statusItems().at(shortMillis), "2000");
}

TEST_F(CodecResponsesTest, AreWarnedOfWithoutAHost) {
  ASSERT_TRUE(session->create(leastConfiguration));
  session->entryPoints().setNextTowardsTransport(session->object(), &session->transport, Neighbour::receive);
  sendAlarms(1);
  EXPECT_EQ(session->sendTowardsHost({created(0)}), 0);
  const Texts lines = takeLogs(warnLevel);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(lines[0].starts_with("Error while transforming message: No host side is connected; {")) << lines[0];
}

TEST_F(CodecResponsesTest, AreLostBehindAForeignException) {
  createPlugin();
  sendAlarms(2);
  TestHost::advanceClock(2.0);
  session->host.onMessage = [](const Received&) { throw 7; };
  EXPECT_EQ(respond({created(0), created(1)}), 1);
  EXPECT_EQ(takeLogs(warnLevel), Texts{"Unknown exception from sendBatchTowardsHost"});
  EXPECT_EQ(TestHost::statusItems().at(shortMillis), "2000");

  session->host.onMessage = nullptr;
  takeHostEvents();
  EXPECT_EQ(respond({bareResponse(0), created(1)}), 0);
  EXPECT_EQ(takeLogs(warnLevel), Texts{nothingFound("{requestId:0} / (null)")});
  EXPECT_EQ(takeReqIds(), Texts{"1"});
}

TEST_F(CodecResponsesTest, GoOnWhenTheWarningCannotBeWritten) {
  sendAlarms(1);
  TestHost::throwFrom(HostCall::qel_log_at, [] { throw std::runtime_error("no log"); });
  EXPECT_EQ(respond({bareResponse(5), created(0)}), 0);
  EXPECT_EQ(takeReqIds(), Texts{"0"});
}

// Success and failure

TEST_F(CodecResponsesTest, AreErrorsOrNotByTheirHandlersWord) {
  sendAlarms(4);
  respond({created(0), created(1).status(400), created(2).without("contentType"),
           created(3).contentType("application/vnd.com.rdx.marlovance.error+json")});
  EXPECT_EQ(types(takeHostEvents()),
            (Texts{committed, "com.kelvo.marlovance.ObjectCommitFailed", "com.kelvo.marlovance.ObjectCommitFailed",
                   "com.kelvo.marlovance.ObjectCommitFailed"}));
}

// The log

TEST_F(CodecResponsesTest, AreShownAtDebugBesideTheirRequests) {
  TestHost::setLogLevel(debugLevel);
  sendAlarms(1);
  TestHost::drain();
  respond(created(0).metadata("requestSentTime", "1000.25"));
  const std::vector<LogLine> lines = TestHost::drain(debugLevel);
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines[0].format, "<%s> Received response: {%s} for request: {%s}");
  const std::string& text = lines[0].text;
  const std::size_t middle = text.find("} for request: {");
  ASSERT_NE(middle, std::string::npos);
  const std::string shownResponse = text.substr(0, middle), shownRequest = text.substr(middle);
  EXPECT_NE(shownResponse.find("statusCode:201"), std::string::npos) << text;
  EXPECT_NE(shownRequest.find("method:POST"), std::string::npos) << text;
  // The sent time has moved from the one to the other.
  EXPECT_EQ(shownResponse.find("requestSentTime"), std::string::npos) << text;
  EXPECT_NE(shownRequest.find("requestSentTime:1000.25"), std::string::npos) << text;
}

TEST_F(CodecResponsesTest, ShowTheirEventsAtDebug) {
  TestHost::setLogLevel(debugLevel);
  sendAlarms(1);
  TestHost::drain();
  respond(created(0));
  EXPECT_EQ(TestHost::drain(debugLevel).back().format, "<%s> Sending response: %s");
}

TEST_F(CodecResponsesTest, MakeNoTextBelowDebug) {
  TestHost::setLogLevel(infoLevel);
  sendAlarms(2);
  TestHost::forgetCalls();
  respond({created(0).payload(R"({"number": 1.5})"), created(1).status(500).payload(R"({"number": 1.5})")});
  EXPECT_EQ(takeReqIds(), (Texts{"0", "1"}));
  EXPECT_EQ(TestHost::calls(HostCall::float64ToChar8), 0u);
}

// After shutdown

TEST_F(CodecResponsesTest, AreIgnoredAfterShutdownAndTheirRequestsEndWithThePlugin) {
  TestHost::setLogLevel(debugLevel);
  sendAlarms(1);
  session->shutdown();
  TestHost::drain();
  EXPECT_EQ(respond({created(0), bareResponse(7)}), 0);
  EXPECT_EQ(takeHostEvents().size(), 0u);
  EXPECT_EQ(TestHost::drain().size(), 0u);

  EXPECT_EQ(session->destroy(), 0);
  EXPECT_EQ(takeLogs(warnLevel),
            Texts{"Long running query completed: request 0 \"POST /alarm/alarms\" completed after 0.000000 seconds"});
}

// Destruction. A request that ends with the plug-in had no response, and so is reported as long-running.

TEST_F(CodecResponsesTest, ThatNeverComeLetTheirRequestsEndInTheOrderOfTheirIds) {
  plugin();
  for (int batch = 0; batch < 4; ++batch) sendAlarms(3);
  respond({created(4), created(7)});
  takeHostEvents();
  takeRequests();
  EXPECT_EQ(session->destroy(), 0);
  Texts expected;
  for (const char* number : {"0", "1", "2", "3", "5", "6", "8", "9", "10", "11"})
    expected.push_back(std::string("Long running query completed: request ") + number +
                       " \"POST /alarm/alarms\" completed after 0.000000 seconds");
  EXPECT_EQ(takeLogs(warnLevel), expected);
  EXPECT_EQ(takeLogs(errorLevel), Texts{});
  EXPECT_EQ(takeRequests().size(), 0u);
  EXPECT_EQ(takeHostEvents().size(), 0u);
}

TEST_F(CodecResponsesTest, ThatNeverComeStillCountInTheAverages) {
  send(alarm());
  TestHost::advanceClock(3.0);
  EXPECT_EQ(session->destroy(), 0);
  const std::vector<std::pair<std::string, std::string>> expected = {
      {"c1.MarlovanceCodec.requestLatencyEWMALongMillis", "3000"}, {shortMillis, "3000"}};
  EXPECT_EQ(TestHost::statusHistory(), expected);
}

TEST_F(CodecResponsesTest, ThatAllCameLeaveNothingToEndWithThePlugin) {
  sendAlarms(2);
  respond({created(1), created(0)});
  EXPECT_EQ(session->destroy(), 0);
  EXPECT_EQ(TestHost::drain().size(), 0u);
}

TEST_F(CodecResponsesTest, ThatNeverComeDoNotHoldAnotherThreadThatDestroysThePlugin) {
  session->transport.onMessage = [](const Received&) { throw 7; };
  EXPECT_EQ(send(alarm()), 1);
  onAnotherThread([&] { EXPECT_EQ(session->destroy(), 0); });
}

}  // namespace
}  // namespace tests
