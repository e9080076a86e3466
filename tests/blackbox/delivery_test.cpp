// Transports of every temper: what a codec must endure from the element that stands next to it.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/blackbox/BlackboxTest.h"
#include "tests/blackbox/DeliveryThread.h"

namespace tests {
namespace {

class DeliveryTest : public BlackboxTest {
 protected:
  static MessageBuilder alarm(std::int64_t reqId) {
    return event("com.kelvo.marlovance.Alarm")
        .path("/alarm/alarms")
        .reqId(reqId)
        .requiresResponse()
        .payload(R"({"text": "hot"})");
  }

  static MessageBuilder committed(std::int64_t requestId) {
    return response(requestId).status(201).contentType("application/json").payload(R"({"id": "1"})");
  }

  static std::vector<MessageBuilder> alarms(std::int64_t count) {
    std::vector<MessageBuilder> batch;
    for (std::int64_t reqId = 0; reqId < count; ++reqId) batch.push_back(alarm(reqId));
    return batch;
  }

  Texts reqIdsOfHostEvents() {
    Texts ids;
    for (const Received& event : takeHostEvents()) ids.push_back(event.metadata("reqId"));
    return ids;
  }
};

TEST_F(DeliveryTest, AnswersOutOfOrderFindTheirRequests) {
  send(alarms(3));
  respond({committed(2), committed(0), committed(1)});
  EXPECT_EQ(reqIdsOfHostEvents(), (Texts{"2", "0", "1"}));
}

TEST_F(DeliveryTest, ASecondAnswerIsDroppedWithOneLine) {
  send(alarm(7));
  respond(committed(0));
  respond(response(0).without("requestSentTime").without("http"));
  EXPECT_EQ(reqIdsOfHostEvents(), (Texts{"7"}));
  EXPECT_EQ(takeLogs(warnLevel),
            (Texts{"Error while transforming message: Could not find a request matching response {requestId:0} / "
                   "(null); {} / (null) will be dropped."}));
}

TEST_F(DeliveryTest, AnAnswerThatWasNeverAskedForIsDroppedWithOneLine) {
  respond(response(5).without("requestSentTime").without("http"));
  EXPECT_EQ(takeHostEvents().size(), 0u);
  EXPECT_EQ(takeLogs(warnLevel),
            (Texts{"Error while transforming message: Could not find a request matching response {requestId:5} / "
                   "(null); {} / (null) will be dropped."}));
}

TEST_F(DeliveryTest, AnAnswerWithoutItsIdIsDroppedWithOneLine) {
  send(alarm(7));
  respond(committed(0).without("requestId").without("requestSentTime").without("http").without("contentType"));
  EXPECT_EQ(takeHostEvents().size(), 0u);
  EXPECT_EQ(takeLogs(warnLevel), (Texts{"Error while transforming message: Could not find a request matching response "
                                        "{} / {id:1}; {} / (null) will be dropped."}));
}

TEST_F(DeliveryTest, AnAnswerWithoutItsSentTimeCostsThatAnswerOnly) {
  send(alarms(2));
  respond({committed(0).without("requestSentTime"), committed(1)});
  EXPECT_EQ(reqIdsOfHostEvents(), (Texts{"1"}));
  const Texts warnings = takeLogs(warnLevel);
  ASSERT_EQ(warnings.size(), 2u);
  EXPECT_EQ(warnings[0],
            "Long running query completed: request 0 \"POST /alarm/alarms\" completed after 0.000000 seconds");
  EXPECT_TRUE(warnings[1].starts_with("Error while transforming message: Get from empty; ")) << warnings[1];
}

TEST_F(DeliveryTest, ABadAnswerAmongThreeCostsItselfOnly) {
  createPlugin(R"({"username": "user", "password": "secret", "latencySecsLogThreshold": 0})");
  send(alarms(3));
  respond({committed(0), committed(1).metadata("requestSentTime", "\"now\""), committed(2)});
  EXPECT_EQ(reqIdsOfHostEvents(), (Texts{"0", "2"}));
  const Texts warnings = takeLogs(warnLevel);
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_TRUE(
      warnings[0].starts_with("Error while transforming message: Incorrect type in get (you asked for double "
                              "but it's actually string); "))
      << warnings[0];
}

TEST_F(DeliveryTest, ATransportThatKeepsNothingIsEndured) {
  session->transport.takesContents = false;
  send(alarms(2));
  respond({committed(0), committed(1)});
  EXPECT_EQ(reqIdsOfHostEvents(), (Texts{"0", "1"}));
}

TEST_F(DeliveryTest, ARequestWithoutAnAnswerDiesWithThePlugin) {
  send(alarms(2));
  EXPECT_EQ(takeRequests().size(), 2u);
  EXPECT_EQ(session->destroy(), 0);
  EXPECT_EQ(takeHostEvents().size(), 0u);
  EXPECT_EQ(takeLogs(errorLevel), Texts{});
}

TEST_F(DeliveryTest, AnAnswerInsideTheSendIsHandled) {
  session->transport.onMessage = [this](const Received& request) { respond(committed(request.requestId())); };
  EXPECT_EQ(send(alarms(3)), 0);
  EXPECT_EQ(reqIdsOfHostEvents(), (Texts{"0", "1", "2"}));
  EXPECT_EQ(takeLogs(errorLevel), Texts{});
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
}

TEST_F(DeliveryTest, AnAnswerFromAnotherThreadMayOvertakeTheSend) {
  plugin();
  constexpr std::int64_t count = 1000;
  {
    DeliveryThread delivery;
    session->transport.onMessage = [&](const Received& request) {
      delivery.post([this, id = request.requestId()] { respond(committed(id)); });
    };
    for (std::int64_t first = 0; first < count; first += 10) {
      std::vector<MessageBuilder> batch;
      for (std::int64_t reqId = first; reqId < first + 10; ++reqId) batch.push_back(alarm(reqId));
      EXPECT_EQ(send(batch), 0);
    }
  }
  Texts expected;
  for (std::int64_t reqId = 0; reqId < count; ++reqId) expected.push_back(std::to_string(reqId));
  EXPECT_EQ(reqIdsOfHostEvents(), expected);
  EXPECT_EQ(takeLogs(errorLevel), Texts{});
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
}

TEST_F(DeliveryTest, ABatchIsReportedWhenItsLastRequestIsFinished) {
  createPlugin(R"({"username": "user", "password": "secret", "batchLatencySecsThreshold": 5,
                   "latencySecsLogThreshold": 0})");
  send(alarms(2));
  TestHost::advanceClock(6.0);
  respond(committed(1));
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
  respond(committed(0));
  EXPECT_EQ(takeLogs(warnLevel), (Texts{"Long running batch: batch 1 \"POST /alarm/alarms\" completed after 6.000000 "
                                        "seconds (of which 6.000000 seconds was queue time)"}));
}

}  // namespace
}  // namespace tests
