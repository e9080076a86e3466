#include "codec/ResponseSender.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>

#include "tests/unit/codec/CodecParts.h"

namespace tests {
namespace {

/// Keeps the bounds of each batch, and leaves the messages alone.
class BoundsKeeper : public product::HostSide {
 public:
  void sendBatchTowardsHost(Message* begin, Message* end) override { bounds.emplace_back(begin, end); }
  std::vector<std::pair<Message*, Message*>> bounds;
};

class ResponseSenderTest : public testing::Test {
 protected:
  BoundsKeeper& keeper = *new BoundsKeeper;
  std::unique_ptr<product::HostSide> hostSide{&keeper};
  Logger logger{"connectivity.MarlovanceCodec.c1"};
};

TEST_F(ResponseSenderTest, SendsOneEventAsABatchOfOne) {
  Message message = messageFromJson(R"({"a": 1})", "null");
  ResponseSender(hostSide, logger).sendResponse(message);
  EXPECT_EQ(keeper.bounds, (std::vector<std::pair<Message*, Message*>>{{&message, &message + 1}}));
}

TEST_F(ResponseSenderTest, SendsManyEventsInOneCall) {
  std::vector<Message> messages(3);
  ResponseSender(hostSide, logger).sendResponses(messages);
  EXPECT_EQ(keeper.bounds,
            (std::vector<std::pair<Message*, Message*>>{{messages.data(), messages.data() + messages.size()}}));
}

TEST_F(ResponseSenderTest, SendsNoEventsWithTwoNullPointers) {
  std::vector<Message> messages;
  ResponseSender(hostSide, logger).sendResponses(messages);
  messages.reserve(10);
  ResponseSender(hostSide, logger).sendResponses(messages);
  EXPECT_EQ(keeper.bounds, (std::vector<std::pair<Message*, Message*>>{{nullptr, nullptr}, {nullptr, nullptr}}));
}

TEST_F(ResponseSenderTest, ShowsEachEventAtDebugInOrder) {
  TestHost::setLogLevel(debugLevel);
  const Logger debugLogger("connectivity.MarlovanceCodec.c1");
  Message message = messageFromJson(R"({"a": 1})", "null");
  ResponseSender(hostSide, debugLogger).sendResponse(message);
  EXPECT_EQ(TestHost::logs(debugLevel).at(0).format, "<%s> Sending response: %s");
  EXPECT_EQ(takeLogs(debugLevel), Texts{"Sending response: {a:1} / (null)"});

  std::vector<Message> messages;
  messages.push_back(messageFromJson(R"({"b": 2})", "true"));
  messages.push_back(messageFromJson("{}", R"("text")"));
  ResponseSender(hostSide, debugLogger).sendResponses(messages);
  EXPECT_EQ(takeLogs(debugLevel), (Texts{"Sending response: {b:2} / true", "Sending response: {} / text"}));
}

TEST_F(ResponseSenderTest, MakesNoTextBelowDebug) {
  TestHost::setLogLevel(infoLevel);
  const Logger infoLogger("connectivity.MarlovanceCodec.c1");
  Message message = messageFromJson("{}", "1.5");
  ResponseSender(hostSide, infoLogger).sendResponse(message);
  EXPECT_EQ(TestHost::calls(HostCall::float64ToChar8), 0u);
  EXPECT_EQ(TestHost::logs().size(), 0u);
}

TEST_F(ResponseSenderTest, FindsANeighbourThatIsSetLater) {
  std::unique_ptr<product::HostSide> side;
  const ResponseSender responder(side, logger);
  Message message;
  EXPECT_EQ(thrownBy([&] { responder.sendResponse(message); }), "No host side is connected");
  std::vector<Message> messages(1);
  EXPECT_EQ(thrownBy([&] { responder.sendResponses(messages); }), "No host side is connected");

  side = std::make_unique<BoundsKeeper>();
  responder.sendResponse(message);
  EXPECT_EQ(static_cast<BoundsKeeper&>(*side).bounds.size(), 1u);
}

TEST_F(ResponseSenderTest, LetsTheHostsFailureThrough) {
  CodecParts codec;
  codec.host.onMessage = [](const Received&) { throw std::runtime_error("no room"); };
  Message message = messageFromJson("{}", "1");
  EXPECT_EQ(thrownBy([&] { codec.responder.sendResponse(message); }), "no room");
}

}  // namespace
}  // namespace tests
