// Requests and responses at once, as in a running chain.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/blackbox/BlackboxTest.h"
#include "tests/blackbox/DeliveryThread.h"
#include "tests/blackbox/codec_events.h"

namespace tests {
namespace {

class CodecThreadsTest : public BlackboxTest {
 protected:
  /// Each batch counts as long-running, no request does.
  static constexpr const char* watchingBatches =
      R"({"username": "user", "password": "secret", "batchLatencySecsThreshold": 1, "latencySecsLogThreshold": 0,
          "concurrencyMode": "auto"})";

  static constexpr int batches = 400;
  static constexpr int eventsPerBatch = 5;

  /// Sends batches of alarms, whose answers another thread delivers, and waits for the last answer.
  void exchange() {
    TestHost::advanceAtEachReading(2.0);
    DeliveryThread delivery;
    session->transport.onMessage = [&](const Received& request) {
      delivery.post([this, id = request.requestId()] { EXPECT_EQ(respond(created(id)), 0); });
    };
    for (int batch = 0; batch < batches; ++batch) {
      std::vector<MessageBuilder> events;
      for (int number = 0; number < eventsPerBatch; ++number)
        events.push_back(awaitedAlarm(batch * eventsPerBatch + number));
      // Here and there an event that is refused, so that both threads send to the host.
      if (batch % 7 == 0) events.push_back(alarmWithoutBody());
      EXPECT_EQ(send(events), 0);
    }
    delivery.drain();
    session->transport.onMessage = nullptr;
    TestHost::advanceAtEachReading(0.0);
  }
};

TEST_F(CodecThreadsTest, EveryEventHasItsOutcomeAndEveryBatchItsEnd) {
  createPlugin(watchingBatches);
  exchange();

  std::vector<int> outcomes(batches * eventsPerBatch, 0);
  int refused = 0;
  for (const Received& event : takeHostEvents()) {
    if (event.type() == "com.kelvo.marlovance.Error")
      ++refused;
    else
      ++outcomes.at(static_cast<std::size_t>(std::stoi(event.metadata("reqId"))));
  }
  EXPECT_EQ(outcomes, std::vector<int>(outcomes.size(), 1));
  EXPECT_EQ(refused, (batches + 6) / 7);

  Texts ended;
  for (const std::string& line : takeLogs(warnLevel)) ended.push_back(line.substr(0, line.find(" \"")));
  Texts expected;
  for (int batch = 1; batch <= batches; ++batch)
    expected.push_back("Long running batch: batch " + std::to_string(batch));
  EXPECT_EQ(ended, expected);
}

TEST_F(CodecThreadsTest, NoRequestIsLeftWhenAllAreAnswered) {
  createPlugin(watchingBatches);
  exchange();
  const auto before = TestHost::statusHistory().size();
  EXPECT_EQ(session->destroy(), 0);
  EXPECT_EQ(TestHost::statusHistory().size(), before);
}

TEST_F(CodecThreadsTest, APluginMayBeShutDownWhileBothDirectionsRun) {
  createPlugin();
  DeliveryThread delivery;
  session->transport.onMessage = [&](const Received& request) {
    delivery.post([this, id = request.requestId()] {
      if (id == 50) session->shutdown();
      EXPECT_EQ(respond(created(id)), 0);
    });
  };
  for (int batch = 0; batch < 200; ++batch) EXPECT_EQ(send({awaitedAlarm(1), awaitedAlarm(2)}), 0);
  delivery.drain();
  EXPECT_EQ(takeHostEvents().size(), 50u);
}

}  // namespace
}  // namespace tests
