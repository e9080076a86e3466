#include "codec/BatchSender.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <thread>

#include "tests/unit/codec/CodecParts.h"

namespace tests {
namespace {

class BatchSenderTest : public testing::Test {
 protected:
  void configure(std::string_view options) { codec.emplace(options); }
  void SetUp() override { codec.emplace(); }

  /// Adds messages that the handler merges, one per payload.
  void addBatchable(BatchSender& batch, FakeHandler& handler, std::initializer_list<const char*> payloads) {
    for (const char* payload : payloads) {
      Message message = batchable(payload);
      batch.addMessage(message, handler);
    }
  }

  /// Adds one that goes alone.
  void addSingle(BatchSender& batch, FakeHandler& handler, const char* payload) {
    Message message = messageFrom(MessageBuilder().payload(payload));
    codec->metrics.startRequest(message);
    batch.addMessage(message, handler);
  }

  /// The payloads of the requests since the last call, in order.
  Texts takePayloads() {
    Texts payloads;
    for (const Received& request : codec->transport.takeAll()) payloads.push_back(request.payload());
    return payloads;
  }

  std::optional<CodecParts> codec;
};

TEST_F(BatchSenderTest, SendsAMessageThatIsNotBatchableAtOnce) {
  BatchSender batch = codec->openBatch();
  addSingle(batch, codec->handler, "1");
  EXPECT_EQ(takePayloads(), Texts{"1"});
  batch.finish();
  EXPECT_EQ(takePayloads(), Texts{});
}

TEST_F(BatchSenderTest, HoldsBatchableMessagesUntilTheEnd) {
  BatchSender batch = codec->openBatch();
  addBatchable(batch, codec->handler, {"1", "2", "3"});
  EXPECT_EQ(takePayloads(), Texts{});
  EXPECT_EQ(batch.getPending().size(), 3u);
  batch.finish();
  EXPECT_EQ(takePayloads(), Texts{"[1,2,3]"});
  EXPECT_TRUE(batch.getPending().empty());
}

TEST_F(BatchSenderTest, TakesTheContentsOfABatchableMessage) {
  BatchSender batch = codec->openBatch();
  Message message = batchable("1");
  batch.addMessage(message, codec->handler);
  EXPECT_EQ(toJson(message), R"({"metadata":{},"payload":null})");
  batch.finish();
}

TEST_F(BatchSenderTest, CountsTheMergedEventsOnTheRequest) {
  BatchSender batch = codec->openBatch();
  addBatchable(batch, codec->handler, {"1", "2", "3"});
  batch.flush();
  EXPECT_EQ(codec->transport.take()->metadata("batchedMessagesCount"), "3");
  addBatchable(batch, codec->handler, {"4"});
  batch.flush();
  EXPECT_EQ(codec->transport.take()->metadata("batchedMessagesCount"), "1");
  addSingle(batch, codec->handler, "5");
  EXPECT_EQ(codec->transport.take()->metadata("batchedMessagesCount"), "absent");
  batch.finish();
}

TEST_F(BatchSenderTest, KeepsTheOrderOfTheEventsAroundASingleOne) {
  BatchSender batch = codec->openBatch();
  addBatchable(batch, codec->handler, {"1", "2"});
  addSingle(batch, codec->otherHandler, "3");
  addBatchable(batch, codec->handler, {"4", "5"});
  batch.finish();
  EXPECT_EQ(takePayloads(), (Texts{"[1,2]", "3", "[4,5]"}));
}

TEST_F(BatchSenderTest, FlushesAheadOfASingleMessageOfTheSameHandler) {
  BatchSender batch = codec->openBatch();
  addBatchable(batch, codec->handler, {"1"});
  addSingle(batch, codec->handler, "2");
  addBatchable(batch, codec->handler, {"3"});
  batch.finish();
  EXPECT_EQ(takePayloads(), (Texts{"[1]", "2", "[3]"}));
}

TEST_F(BatchSenderTest, MergesOnlyMessagesOfOneHandler) {
  BatchSender batch = codec->openBatch();
  addBatchable(batch, codec->handler, {"1", "2"});
  addBatchable(batch, codec->otherHandler, {"3"});
  addBatchable(batch, codec->handler, {"4"});
  EXPECT_EQ(takePayloads(), (Texts{"[1,2]", "[3]"}));
  batch.finish();
  EXPECT_EQ(takePayloads(), Texts{"[4]"});
}

TEST_F(BatchSenderTest, MergesByTheHandlerOfTheMessages) {
  BatchSender batch = codec->openBatch();
  codec->handler.onSendBatch = [&](BatchSender&) {
    Message merged = messageFrom(MessageBuilder().payload(R"("first")"));
    codec->metrics.startRequest(merged);
    return merged;
  };
  addBatchable(batch, codec->handler, {"1"});
  addBatchable(batch, codec->otherHandler, {"2"});
  batch.finish();
  EXPECT_EQ(takePayloads(), (Texts{R"("first")", "[2]"}));
}

TEST_F(BatchSenderTest, RecordsTheMergedRequestUnderItsHandler) {
  BatchSender batch = codec->openBatch();
  addBatchable(batch, codec->handler, {"1"});
  addBatchable(batch, codec->otherHandler, {"2"});
  batch.finish();
  EXPECT_EQ(&codec->take(0).getHandler(), &codec->handler);
  EXPECT_EQ(&codec->take(1).getHandler(), &codec->otherHandler);
}

// The size limit

TEST_F(BatchSenderTest, FlushesWhenTheLimitIsReached) {
  configure(R"({"maxBatchSize": 2})");
  BatchSender batch = codec->openBatch();
  addBatchable(batch, codec->handler, {"1"});
  EXPECT_EQ(takePayloads(), Texts{});
  addBatchable(batch, codec->handler, {"2"});
  EXPECT_EQ(takePayloads(), Texts{"[1,2]"});
  addBatchable(batch, codec->handler, {"3", "4", "5"});
  EXPECT_EQ(takePayloads(), Texts{"[3,4]"});
  batch.finish();
  const auto last = codec->transport.take();
  EXPECT_EQ(last->payload(), "[5]");
  EXPECT_EQ(last->metadata("batchedMessagesCount"), "1");
}

TEST_F(BatchSenderTest, KnowsNoLimitBelowOne) {
  configure(R"({"maxBatchSize": 0})");
  BatchSender batch = codec->openBatch();
  for (int round = 0; round < 1030; ++round) addBatchable(batch, codec->handler, {"1"});
  EXPECT_EQ(takePayloads(), Texts{});
  batch.finish();
  EXPECT_EQ(codec->transport.take()->metadata("batchedMessagesCount"), "1030");
}

TEST_F(BatchSenderTest, KnowsNoLimitByDefault) {
  BatchSender batch = codec->openBatch();
  for (int round = 0; round < 1030; ++round) addBatchable(batch, codec->handler, {"1"});
  EXPECT_EQ(takePayloads(), Texts{});
  batch.finish();
  EXPECT_EQ(codec->transport.take()->metadata("batchedMessagesCount"), "1030");
}

TEST_F(BatchSenderTest, TestsTheLimitForEquality) {
  configure(R"({"maxBatchSize": 2})");
  BatchSender batch = codec->openBatch();
  batch.getPending().resize(5);
  addBatchable(batch, codec->handler, {"1"});
  EXPECT_EQ(batch.getPending().size(), 6u);
  batch.finish();
}

// Flush

TEST_F(BatchSenderTest, SendsNothingWhenNothingIsPending) {
  BatchSender batch = codec->openBatch();
  batch.flush();
  batch.finish();
  EXPECT_EQ(takePayloads(), Texts{});
}

TEST_F(BatchSenderTest, GoesOnMergingForTheSameHandlerAfterAFlush) {
  BatchSender batch = codec->openBatch();
  addBatchable(batch, codec->handler, {"1", "2"});
  batch.flush();
  addBatchable(batch, codec->handler, {"3", "4"});
  batch.finish();
  EXPECT_EQ(takePayloads(), (Texts{"[1,2]", "[3,4]"}));
}

TEST_F(BatchSenderTest, TellsTheSizeOfEachMergedRequestAtDebug) {
  TestHost::setLogLevel(debugLevel);
  configure("{}");
  takeLogs(debugLevel);
  BatchSender batch = codec->openBatch();
  batch.flush();
  addBatchable(batch, codec->handler, {"1", "2", "3"});
  batch.flush();
  const std::vector<LogLine> lines = TestHost::drain(debugLevel);
  EXPECT_EQ(lines.at(0).format, "<%s> Sending batch of %I64u events");
  EXPECT_EQ(lines.at(0).text, "<connectivity.MarlovanceCodec.c1> Sending batch of 3 events");
  batch.finish();
  EXPECT_EQ(takeLogs(debugLevel), Texts{});
}

TEST_F(BatchSenderTest, RefusesToMergeForAHandlerThatCannot) {
  BatchSender batch = codec->openBatch();
  codec->handler.onSendBatch = [&](BatchSender& pending) { return codec->handler.Handler::sendBatch(pending); };
  addBatchable(batch, codec->handler, {"1"});
  EXPECT_EQ(thrownBy([&] { batch.flush(); }), "Batching not supported for these messages: ");
  batch.finish();
  EXPECT_EQ(takePayloads(), Texts{});
}

TEST_F(BatchSenderTest, ForgetsWhatIsPendingWhenAFlushFails) {
  BatchSender batch = codec->openBatch();
  codec->handler.onSendBatch = [](BatchSender&) -> Message { throw std::runtime_error("can't merge"); };
  addBatchable(batch, codec->handler, {"1", "2"});
  EXPECT_EQ(thrownBy([&] { batch.flush(); }), "can't merge");
  EXPECT_TRUE(batch.getPending().empty());

  codec->handler.onSendBatch = nullptr;
  addBatchable(batch, codec->handler, {"3"});
  batch.finish();
  EXPECT_EQ(takePayloads(), Texts{"[3]"});
}

TEST_F(BatchSenderTest, ForgetsWhatIsPendingWhenTheTransportFails) {
  BatchSender batch = codec->openBatch();
  codec->transport.onMessage = [](const Received&) { throw std::runtime_error("no line"); };
  addBatchable(batch, codec->handler, {"1"});
  EXPECT_EQ(thrownBy([&] { batch.flush(); }), "no line");
  EXPECT_TRUE(batch.getPending().empty());
  EXPECT_EQ(codec->outstanding.size(), 1u);
  batch.finish();
}

TEST_F(BatchSenderTest, KeepsTheRoomOfWhatWasPending) {
  BatchSender batch = codec->openBatch();
  addBatchable(batch, codec->handler, {"1", "2", "3"});
  const std::size_t room = batch.getPending().capacity();
  batch.flush();
  EXPECT_EQ(batch.getPending().capacity(), room);
  batch.finish();
}

// The end of a batch. That a batch is closed shows in its line, with a threshold that every batch here passes.

class BatchEndTest : public BatchSenderTest {
 protected:
  void SetUp() override { configure(R"({"batchLatencySecsThreshold": 1, "latencySecsLogThreshold": 0})"); }

  void addSingle(BatchSender& batch) {
    Message message = messageFrom(MessageBuilder().method("POST").path("/single").payload("1"));
    codec->metrics.startRequest(message);
    batch.addMessage(message, codec->handler);
  }

  /// Ends the request of that id, sent two seconds after the beginning, on a thread that has no batch open.
  void finishRequest(std::int64_t requestId) {
    TestHost::advanceClock(10.0);
    std::thread([&] {
      OutstandingRequest request = codec->take(requestId);
      request.putMetadataValue("requestSentTime", 1002.0);
      codec->metrics.requestResponded(request);
    }).join();
  }
};

TEST_F(BatchEndTest, IsMarkedByFinish) {
  {
    BatchSender batch = codec->openBatch();
    addSingle(batch);
    batch.finish();
  }
  finishRequest(0);
  EXPECT_EQ(takeLogs(warnLevel), Texts{"Long running batch: batch 1 \"POST /single\" completed after 10.000000 seconds "
                                       "(of which 2.000000 seconds was queue time)"});
}

TEST_F(BatchEndTest, IsSentAndMarkedByTheDestructorWhenAnExceptionLeavesTheLoop) {
  try {
    BatchSender batch = codec->openBatch();
    addSingle(batch);
    addBatchable(batch, codec->otherHandler, {"2", "3"});
    throw 7;
  } catch (int) {
  }
  EXPECT_EQ(takePayloads(), (Texts{"1", "[2,3]"}));
  finishRequest(0);
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
  finishRequest(1);
  EXPECT_EQ(takeLogs(warnLevel),
            Texts{"Long running batch: batch 1 \"POST /merged (2)\" completed after 20.000000 seconds (of which "
                  "2.000000 seconds was queue time)"});
}

TEST_F(BatchEndTest, LetsNothingOutOfTheDestructor) {
  codec->otherHandler.onSendBatch = [](BatchSender&) -> Message { throw 8; };
  try {
    BatchSender batch = codec->openBatch();
    addBatchable(batch, codec->otherHandler, {"1"});
    throw 7;
  } catch (int thrown) {
    EXPECT_EQ(thrown, 7);
  }
}

TEST_F(BatchEndTest, StaysOpenWithoutHoldingAnybodyWhenTheLastFlushFails) {
  codec->otherHandler.onSendBatch = [](BatchSender&) -> Message { throw std::runtime_error("can't merge"); };
  {
    BatchSender batch = codec->openBatch();
    addSingle(batch);
    addBatchable(batch, codec->otherHandler, {"2"});
    EXPECT_EQ(thrownBy([&] { batch.finish(); }), "can't merge");
  }
  finishRequest(0);
  EXPECT_EQ(codec->handler.finished, std::vector<std::int64_t>{0});
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
}

TEST_F(BatchEndTest, DoesNotFlushTwiceWhenTheLastFlushFails) {
  int flushes = 0;
  codec->handler.onSendBatch = [&](BatchSender&) -> Message {
    ++flushes;
    throw std::runtime_error("can't merge");
  };
  {
    BatchSender batch = codec->openBatch();
    addBatchable(batch, codec->handler, {"1"});
    EXPECT_EQ(thrownBy([&] { batch.finish(); }), "can't merge");
  }
  EXPECT_EQ(flushes, 1);
}

}  // namespace
}  // namespace tests
