// What happens to answers that come while another is being delivered.
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/unit/chainrunner/HttpTransportTest.h"
#include "tests/unit/chainrunner/ScriptedServer.h"

namespace chainrunner {
namespace {

using tests::Connection;
using tests::Received;
using tests::ScriptedServer;
using Steps = std::vector<std::string>;

/// Four requests over one connection. The first answer is delivered alone and takes until the fourth request is out,
/// so the second and third are at hand together then; the fourth is answered when the second is being delivered.
class HttpTransportDeliveryTest : public HttpTransportTest {
 protected:
  HttpTransportDeliveryTest() {
    options.connections = 1;
    atAnswer = [this](std::int64_t id) {
      steps.push_back(std::to_string(id));
      if (id == 1) {
        firstIsDelivered.set_value();
        while (server.received().size() < 4) std::this_thread::yield();
      }
      if (id == 2) secondIsDelivered.set_value();
    };
    atPause = [this] {
      steps.push_back("pause");
      EXPECT_GE(transport->inFlight(), 1U);
      EXPECT_TRUE(transport->isOnDeliveryThread());
    };
  }
  ~HttpTransportDeliveryTest() override { transport.reset(); }

  void sendFour() {
    connect(server.url());
    for (std::int64_t id = 1; id <= 4; ++id) send(id, "GET", "/" + std::to_string(id));
  }

  /// All deliveries and pauses, in their order.
  Steps allSteps() {
    sendFour();
    transport->waitUntilIdle();
    return steps;
  }

  static std::string jsonOf(std::size_t size) { return '"' + std::string(size - 2, 'x') + '"'; }

  std::string thirdBody = "{}";
  Steps steps;  ///< of the delivery thread until all is idle
  std::promise<void> firstIsDelivered, secondIsDelivered;
  ScriptedServer server{[this](const Received& received, const Connection& connection) {
    if (received.path == "/2") firstIsDelivered.get_future().wait();
    if (received.path == "/4") secondIsDelivered.get_future().wait();
    connection.answer(200, received.path == "/3" ? thirdBody : "{}");
    return true;
  }};
};

TEST_F(HttpTransportDeliveryTest, PausesOnceAfterTheAnswersAtHand) {
  EXPECT_EQ(allSteps(), (Steps{"1", "pause", "2", "3", "pause", "4", "pause"}));
}

TEST_F(HttpTransportDeliveryTest, PausesBeforeALongAnswer) {
  thirdBody = jsonOf(65536);
  EXPECT_EQ(allSteps(), (Steps{"1", "pause", "2", "pause", "3", "pause", "4", "pause"}));
}

TEST_F(HttpTransportDeliveryTest, DoesNotPauseBeforeAnAnswerThatIsHardlyLong) {
  thirdBody = jsonOf(65535);
  EXPECT_EQ(allSteps(), (Steps{"1", "pause", "2", "3", "pause", "4", "pause"}));
}

TEST_F(HttpTransportTest, DeliversWithoutAPauseOfOnesOwn) {
  options.platform = tests::unusedUrl();
  options.retries = 0;
  std::atomic<int> delivered{0};
  transport = std::make_unique<HttpTransport>(
      options,
      [&](Message& answer) {
        const Message taken(std::move(answer));
        ++delivered;
      },
      record);
  for (std::int64_t id = 1; id <= 3; ++id) send(id, "GET", "/a");
  transport->waitUntilIdle();
  EXPECT_EQ(delivered, 3);
  transport.reset();
}

TEST_F(HttpTransportDeliveryTest, CancelLeavesTheAnswersThatHaveCome) {
  // The fourth request is on the wire when the first answer is still being delivered.
  std::promise<void> mayGoOn;
  atAnswer = [&](std::int64_t id) {
    if (id != 1) return;
    firstIsDelivered.set_value();
    mayGoOn.get_future().wait();
  };
  sendFour();
  send(5, "GET", "/5");
  while (server.received().size() < 4) std::this_thread::yield();
  transport->cancel();
  send(6, "GET", "/6");
  mayGoOn.set_value();
  for (const std::int64_t id : {1, 2, 3}) EXPECT_EQ(answerTo(id).status, "200") << id;
  for (const std::int64_t id : {4, 5, 6}) EXPECT_EQ(answerTo(id).status, "503 transport/cancelled") << id;
  secondIsDelivered.set_value();
}

}  // namespace
}  // namespace chainrunner
