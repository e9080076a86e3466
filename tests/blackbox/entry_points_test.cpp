// What holds for every entry point but create, whatever the codec does behind it.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "tests/blackbox/BlackboxTest.h"

namespace tests {
namespace {

using Sizes = std::vector<std::size_t>;

class EntryPointsTest : public BlackboxTest {
 protected:
  static MessageBuilder alarm() {
    return event("com.kelvo.marlovance.Alarm").path("/alarm/alarms").payload(R"({"text": "hot"})");
  }

  static MessageBuilder committed(std::int64_t requestId) {
    return response(requestId).status(201).contentType("application/json").payload(R"({"id": "1"})");
  }
};

TEST_F(EntryPointsTest, AnswerOneWithoutAnObject) {
  const EntryPoints& call = session->entryPoints();
  EXPECT_EQ(call.start(nullptr), 1);
  EXPECT_EQ(call.hostReady(nullptr), 1);
  EXPECT_EQ(call.shutdown(nullptr), 1);
  EXPECT_EQ(call.setNextTowardsHost(nullptr, nullptr, Neighbour::receive), 1);
  EXPECT_EQ(call.setNextTowardsTransport(nullptr, nullptr, Neighbour::receive), 1);
  EXPECT_EQ(call.sendBatchTowardsHost(nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(call.sendBatchTowardsTransport(nullptr, nullptr, nullptr), 1);
}

TEST_F(EntryPointsTest, AnswerZeroThroughAWholeLife) {
  ASSERT_TRUE(session->create(leastConfiguration));
  const EntryPoints& call = session->entryPoints();
  EXPECT_EQ(call.setNextTowardsHost(session->object(), &session->host, Neighbour::receive), 0);
  EXPECT_EQ(call.setNextTowardsTransport(session->object(), &session->transport, Neighbour::receive), 0);
  EXPECT_EQ(call.start(session->object()), 0);
  EXPECT_EQ(call.hostReady(session->object()), 0);
  EXPECT_EQ(send(alarm()), 0);
  EXPECT_EQ(respond(committed(0)), 0);
  EXPECT_EQ(session->shutdown(), 0);
  EXPECT_EQ(session->destroy(), 0);
}

TEST_F(EntryPointsTest, TakeANullBatchAsAnEmptyOne) {
  plugin();
  EXPECT_EQ(session->entryPoints().sendBatchTowardsTransport(session->object(), nullptr, nullptr), 0);
  EXPECT_EQ(session->entryPoints().sendBatchTowardsHost(session->object(), nullptr, nullptr), 0);
  EXPECT_EQ(session->transport.takeBatchSizes(), Sizes{});
  EXPECT_EQ(session->host.takeBatchSizes(), Sizes{});
}

TEST_F(EntryPointsTest, SendBeforeTheHostIsReady) {
  ASSERT_TRUE(session->create(leastConfiguration));
  session->entryPoints().setNextTowardsTransport(session->object(), &session->transport, Neighbour::receive);
  EXPECT_EQ(session->sendTowardsTransport({alarm()}), 0);
  EXPECT_EQ(takeRequest().http("path"), R"("/alarm/alarms")");
}

TEST_F(EntryPointsTest, HandRequestsOnOneByOne) {
  send({alarm(), alarm(), alarm()});
  EXPECT_EQ(session->transport.takeBatchSizes(), (Sizes{1, 1, 1}));
}

TEST_F(EntryPointsTest, ForgetTheEarlierTransportWhenGivenAnother) {
  Neighbour second;
  plugin();
  EXPECT_EQ(session->entryPoints().setNextTowardsTransport(session->object(), &second, Neighbour::receive), 0);
  send(alarm());
  EXPECT_EQ(second.takeAll().size(), 1u);
  EXPECT_EQ(takeRequests().size(), 0u);
}

TEST_F(EntryPointsTest, ForgetTheEarlierHostWhenGivenAnother) {
  Neighbour second;
  plugin();
  EXPECT_EQ(session->entryPoints().setNextTowardsHost(session->object(), &second, Neighbour::receive), 0);
  send(event("com.kelvo.marlovance.Alarm").payload("{}"));
  EXPECT_EQ(types(second.takeAll()), (Texts{"com.kelvo.marlovance.Error"}));
  EXPECT_EQ(takeHostEvents().size(), 0u);
}

TEST_F(EntryPointsTest, DropWhatTheNextElementAnswers) {
  session->transport.result = 1;
  session->host.result = 1;
  EXPECT_EQ(send(alarm().requiresResponse().reqId(7)), 0);
  EXPECT_EQ(respond(committed(0)), 0);
  EXPECT_EQ(types(takeHostEvents()), (Texts{"com.kelvo.marlovance.ObjectCommitted"}));
  EXPECT_EQ(takeLogs(errorLevel), Texts{});
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
}

TEST_F(EntryPointsTest, TellTheHostWhenNoTransportIsThere) {
  ASSERT_TRUE(session->create(leastConfiguration));
  session->entryPoints().setNextTowardsHost(session->object(), &session->host, Neighbour::receive);
  EXPECT_EQ(session->sendTowardsTransport({alarm()}), 0);
  EXPECT_EQ(takeLogs(errorLevel), (Texts{"Error while transforming message: No transport side is connected"}));
  EXPECT_EQ(jsons(takeHostEvents()), (Texts{json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Error"},
                                                    "payload": {"message": "No transport side is connected"}})")}));
}

TEST_F(EntryPointsTest, WarnWhenNoHostIsThere) {
  ASSERT_TRUE(session->create(leastConfiguration));
  EXPECT_EQ(session->sendTowardsTransport({MessageBuilder().type("com.kelvo.marlovance.Alarm")}), 0);
  EXPECT_EQ(takeLogs(warnLevel), (Texts{"Error while transforming message: No host side is connected; "
                                        "{qel.type:com.kelvo.marlovance.Alarm} / (null) will be dropped."}));
}

TEST_F(EntryPointsTest, MakeAnErrorEventOfATransportThatThrows) {
  session->transport.beforeTaking = [](const Received&) { throw std::runtime_error("the line is dead"); };
  EXPECT_EQ(send(alarm()), 0);
  EXPECT_EQ(takeLogs(errorLevel), (Texts{"Error while transforming message: the line is dead"}));
  EXPECT_EQ(jsons(takeHostEvents()), (Texts{json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Error"},
                                                    "payload": {"message": "the line is dead"}})")}));
}

TEST_F(EntryPointsTest, ReportAForeignExceptionFromASendTowardsTheTransport) {
  session->transport.onMessage = [](const Received&) { throw 42; };
  EXPECT_EQ(send(alarm()), 1);
  EXPECT_EQ(takeLogs(warnLevel), (Texts{"Unknown exception from sendBatchTowardsTransport"}));

  session->transport.onMessage = nullptr;
  EXPECT_EQ(send(alarm()), 0);
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
  EXPECT_EQ(takeRequests().size(), 2u);
}

TEST_F(EntryPointsTest, ReportAForeignExceptionFromASendTowardsTheHost) {
  send({alarm().requiresResponse().reqId(1), alarm().requiresResponse().reqId(2)});
  session->host.onMessage = [](const Received&) { throw 42; };
  EXPECT_EQ(respond(committed(0)), 1);
  EXPECT_EQ(takeLogs(warnLevel), (Texts{"Unknown exception from sendBatchTowardsHost"}));

  session->host.onMessage = nullptr;
  EXPECT_EQ(respond(committed(1)), 0);
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
  EXPECT_EQ(takeHostEvents().size(), 2u);
}

TEST_F(EntryPointsTest, LetNothingOutWhenEvenTheLogFails) {
  plugin();
  TestHost::throwFrom(HostCall::qel_log_at, [] { throw std::runtime_error("the log is full"); });
  session->transport.onMessage = [](const Received&) { throw 42; };
  EXPECT_EQ(send(alarm()), 1);
  EXPECT_EQ(send(event("Nothing.Known")), 0);
  EXPECT_EQ(respond(response(77)), 0);
}

TEST_F(EntryPointsTest, HeadEachLineWithTheCategory) {
  send(event("Nothing.Known"));
  const std::vector<LogLine> lines = TestHost::logs(errorLevel);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].format, "<%s> NoTypeFound: %s");
  EXPECT_EQ(lines[0].text,
            "<connectivity.MarlovanceCodec.c1> NoTypeFound: Dropping [{qel.type:Nothing.Known} / (null)] with no "
            "qel.type");
}

TEST_F(EntryPointsTest, TakePercentSignsInTextsAsTheyAre) {
  send(event("100%s"));
  EXPECT_EQ(takeLogs(errorLevel), (Texts{"NoTypeFound: Dropping [{qel.type:100%s} / (null)] with no qel.type"}));
}

TEST_F(EntryPointsTest, IgnoreMessagesAfterShutdown) {
  TestHost::setLogLevel(debugLevel);
  send(alarm().requiresResponse().reqId(1));
  takeRequest();
  session->shutdown();
  TestHost::drain();
  EXPECT_EQ(send({alarm(), event("Nothing.Known")}), 0);
  EXPECT_EQ(respond(committed(0)), 0);
  EXPECT_EQ(takeRequests().size(), 0u);
  EXPECT_EQ(takeHostEvents().size(), 0u);
  EXPECT_EQ(TestHost::drain().size(), 0u);
}

}  // namespace
}  // namespace tests
