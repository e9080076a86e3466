// Measurements on their way through the codec: merged within a batch of host events, one request in tracking.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/blackbox/BlackboxTest.h"
#include "tests/blackbox/codec_events.h"

namespace tests {
namespace {

constexpr const char* watchingBatches =
    R"({"username": "user", "password": "secret", "batchLatencySecsThreshold": 1, "latencySecsLogThreshold": 0})";

class CodecMeasurementBatchesTest : public BlackboxTest {
 protected:
  static MessageBuilder measurement(int number) {
    return event("com.kelvo.marlovance.Measurement")
        .path("/measurement/measurements")
        .contentType("application/vnd.com.rdx.marlovance.measurement+json")
        .payload(R"({"n": )" + std::to_string(number) + "}");
  }

  static std::vector<MessageBuilder> measurements(int count) {
    std::vector<MessageBuilder> batch;
    for (int number = 1; number <= count; ++number) batch.push_back(measurement(number));
    return batch;
  }

  /// Number of merged events and body of each request, in order.
  Texts takeRequestTexts() {
    Texts texts;
    for (const Received& request : takeRequests())
      texts.push_back(request.metadata("batchedMessagesCount") + " " + request.payload());
    return texts;
  }
};

TEST_F(CodecMeasurementBatchesTest, AreRequestsInTheOrderOfTheEvents) {
  send({measurement(1), measurement(2), alarm(), measurement(3), measurement(4)});
  EXPECT_EQ(takeRequestTexts(), (Texts{R"(2 {"measurements":[{"n":1},{"n":2}]})", R"(absent {"text":"hot"})",
                                       R"(2 {"measurements":[{"n":3},{"n":4}]})"}));
}

TEST_F(CodecMeasurementBatchesTest, AreCutAtTheConfiguredSize) {
  createPlugin(R"({"username": "user", "password": "secret", "maxBatchSize": 2})");
  send(measurements(5));
  EXPECT_EQ(takeRequestTexts(), (Texts{R"(2 {"measurements":[{"n":1},{"n":2}]})",
                                       R"(2 {"measurements":[{"n":3},{"n":4}]})", R"(1 {"measurements":[{"n":5}]})"}));
}

TEST_F(CodecMeasurementBatchesTest, AreCutAtAControlObject) {
  send({measurement(1), measurement(2), controlObject(), measurement(3), measurement(4)});
  EXPECT_EQ(takeRequestTexts(), (Texts{R"(2 {"measurements":[{"n":1},{"n":2}]})", "absent null",
                                       R"(2 {"measurements":[{"n":3},{"n":4}]})"}));
}

TEST_F(CodecMeasurementBatchesTest, EndWithTheBatchOfEvents) {
  send(measurements(1));
  send(measurements(1));
  EXPECT_EQ(takeRequestTexts(), Texts(2, R"(1 {"measurements":[{"n":1}]})"));
}

TEST_F(CodecMeasurementBatchesTest, AreOneRequestInTracking) {
  createPlugin(watchingBatches);
  send(measurements(5));
  const Received request = takeRequest();
  EXPECT_EQ(request.metadata("requestId"), "0");
  EXPECT_EQ(request.metadata("metrics"),
            R"({"batchNo":1,"batchStartTime":1000.0,"individualStartTime":1000.0,"requestNo":0})");
  TestHost::advanceClock(2.0);
  respond(created(0));
  EXPECT_EQ(takeLogs(warnLevel),
            Texts{"Long running batch: batch 1 \"POST /measurement/measurements (5)\" completed after 2.000000 seconds "
                  "(of which 2.000000 seconds was queue time)"});
}

TEST_F(CodecMeasurementBatchesTest, AreToldAtDebug) {
  TestHost::setLogLevel(debugLevel);
  send(measurements(3));
  Texts lines;
  for (const LogLine& line : TestHost::drain(debugLevel))
    if (line.format == "<%s> Sending batch of %I64u events") lines.push_back(line.text);
  EXPECT_EQ(lines, Texts{"<connectivity.MarlovanceCodec.c1> Sending batch of 3 events"});
}

TEST_F(CodecMeasurementBatchesTest, FailTheSendWhenTheLastOneIsRefused) {
  createPlugin(watchingBatches);
  session->transport.onMessage = [](const Received& request) {
    if (request.metadata("batchedMessagesCount") != "absent") throw std::runtime_error("no line");
  };
  EXPECT_EQ(send({alarm(), measurement(1)}), 1);
  EXPECT_EQ(takeLogs(warnLevel), Texts{"Exception from sendBatchTowardsTransport: no line"});
  EXPECT_EQ(takeHostEvents().size(), 0u);
  EXPECT_EQ(takeRequests().size(), 2u);

  // The batch stays open, and holds nobody.
  TestHost::advanceClock(2.0);
  onAnotherThread([&] { respond({created(0), created(1)}); });
  EXPECT_EQ(takeLogs(warnLevel), Texts{});

  session->transport.onMessage = nullptr;
  EXPECT_EQ(send(measurements(2)), 0);
  EXPECT_EQ(takeRequestTexts(), Texts{R"(2 {"measurements":[{"n":1},{"n":2}]})"});
  TestHost::advanceClock(2.0);
  respond(created(2));
  EXPECT_EQ(takeLogs(warnLevel).size(), 1u);
}

TEST_F(CodecMeasurementBatchesTest, CostTheEventThatSentThemOnWhenTheyAreRefused) {
  bool refusing = true;
  session->transport.onMessage = [&](const Received&) {
    if (std::exchange(refusing, false)) throw std::runtime_error("no line");
  };
  EXPECT_EQ(send({measurement(1), measurement(2), alarm(), measurement(3)}), 0);
  EXPECT_EQ(jsons(takeHostEvents()), Texts{errorEvent("no line")});
  EXPECT_EQ(takeLogs(errorLevel), Texts{"Error while transforming message: no line"});
  EXPECT_EQ(takeRequestTexts(), (Texts{R"(2 {"measurements":[{"n":1},{"n":2}]})", R"(1 {"measurements":[{"n":3}]})"}));
}

TEST_F(CodecMeasurementBatchesTest, AreSentWhenAForeignExceptionEndsTheLoop) {
  createPlugin(watchingBatches);
  session->host.onMessage = [](const Received&) { throw 7; };
  EXPECT_EQ(send({measurement(1), measurement(2), alarmWithoutBody(), measurement(3)}), 1);
  EXPECT_EQ(takeLogs(warnLevel), Texts{"Unknown exception from sendBatchTowardsTransport"});
  EXPECT_EQ(takeRequestTexts(), Texts{R"(2 {"measurements":[{"n":1},{"n":2}]})"});
  TestHost::advanceClock(2.0);
  onAnotherThread([&] { respond(created(0)); });
  EXPECT_EQ(takeLogs(warnLevel).size(), 1u);
}

TEST_F(CodecMeasurementBatchesTest, EndWithThePluginThoughTheirBatchIsOpen) {
  session->transport.onMessage = [](const Received&) { throw std::runtime_error("no line"); };
  EXPECT_EQ(send({alarm(), measurement(1)}), 1);
  takeLogs(warnLevel);
  onAnotherThread([&] { EXPECT_EQ(session->destroy(), 0); });
  EXPECT_EQ(takeLogs(warnLevel),
            (Texts{R"(Long running query completed: request 0 "POST /alarm/alarms" completed after 0.000000 seconds)",
                   "Long running query completed: request 1 \"POST /measurement/measurements (1)\" completed after "
                   "0.000000 seconds"}));
}

TEST_F(CodecMeasurementBatchesTest, AreNotMadeOfEventsThatAreRefused) {
  send({measurement(1), event("com.kelvo.marlovance.Measurement"), measurement(2)});
  EXPECT_EQ(takeRequestTexts(), Texts{R"(2 {"measurements":[{"n":1},{"n":2}]})"});
  EXPECT_EQ(takeHostEvents().size(), 1u);
}

}  // namespace
}  // namespace tests
