// A query of several pages in tracking: a request of its own for each page, one end.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "tests/blackbox/DeliveryThread.h"
#include "tests/unit/codec/CodecParts.h"

namespace tests {
namespace {

class QueryTrackingTest : public testing::Test {
 protected:
  void SetUp() override { configure("{}"); }

  /// A codec whose handler asks for `pages` pages in all.
  void configure(std::string_view options) {
    codec.emplace(options);
    codec->handler.onResponse = [this](Message&, OutstandingRequest& request) {
      map_t& metadata = request.getMetadataMap();
      const data_t key("page");
      const std::int64_t page = metadata.contains(key) ? metadata.at(key).get<std::int64_t>() : 1;
      if (page == pages) return;
      metadata[key] = page + 1;
      codec->sender.sendRequest(request, codec->handler);
    };
  }

  static Message query() { return messageFrom(MessageBuilder().method("GET").path("/p")); }

  void send(int queries) {
    BatchSender batch = codec->openBatch();
    for (int number = 0; number < queries; ++number) {
      Message message = query();
      codec->handler.handleRequest(message, batch);
    }
    batch.finish();
  }

  /// A response on its way through the codec.
  void respond(std::int64_t requestId) {
    Message answer = messageFrom(response(requestId));
    OutstandingRequest request = codec->outstanding.take(answer);
    request.putMetadataValue("requestSentTime", TestHost::clock());
    codec->metrics.requestResponded(request);
    request.getHandler().handleResponse(answer, request);
  }

  std::optional<CodecParts> codec;
  std::int64_t pages = 2;
};

TEST_F(QueryTrackingTest, GivesEachPageARequestIdAndTheQueryOneRequestNumber) {
  send(1);
  TestHost::advanceClock(1.5);
  respond(0);
  Texts stamps;
  for (const Received& page : codec->transport.takeAll())
    stamps.push_back(page.metadata("requestId") + " " + page.metadata("metrics"));
  EXPECT_EQ(stamps, (Texts{R"(0 {"batchNo":1,"batchStartTime":1000.0,"individualStartTime":1000.0,"requestNo":0})",
                           R"(1 {"batchNo":1,"batchStartTime":1000.0,"individualStartTime":1001.5,"requestNo":0})"}));
}

TEST_F(QueryTrackingTest, FinishesWithTheLastPageOnly) {
  pages = 3;
  send(1);
  respond(0);
  respond(1);
  EXPECT_TRUE(codec->handler.finished.empty());
  respond(2);
  EXPECT_EQ(codec->handler.finished, std::vector<std::int64_t>{2});
  EXPECT_EQ(codec->outstanding.size(), 0u);
}

TEST_F(QueryTrackingTest, LeavesTheSentTimeOfTheEarlierPageOnTheNextRequest) {
  send(1);
  codec->transport.takeAll();
  respond(0);
  EXPECT_EQ(codec->transport.take()->metadata("requestSentTime"), "1000.0");
}

TEST_F(QueryTrackingTest, CountsTheResponseOfEachPageAndTheQueryOnce) {
  configure(R"({"latencySecsSlowThreshold": 0, "latencySecsLogThreshold": 0, "batchLatencySecsThreshold": 0})");
  pages = 3;
  send(1);
  Texts maxima;
  for (const std::int64_t page : {0, 1, 2}) {
    TestHost::advanceClock(1.0);
    respond(page);
    maxima.push_back(TestHost::statusItems().at("c1.MarlovanceCodec.maxLatencyInLastHourMillis") + " " +
                     TestHost::statusItems().at("c1.MarlovanceCodec.requestLatencyEWMAShortMillis"));
  }
  EXPECT_EQ(maxima, (Texts{"1000 0", "2000 0", "3000 3000"}));
}

TEST_F(QueryTrackingTest, FinishesAtEachPageWhenTheTransportLeavesTheMessageIntact) {
  codec->transport.takesContents = false;
  send(1);
  respond(0);
  EXPECT_EQ(codec->handler.finished, std::vector<std::int64_t>{1});
}

TEST_F(QueryTrackingTest, KeepsTheBatchOpenUntilTheLastPage) {
  configure(R"({"latencySecsLogThreshold": 0, "batchLatencySecsThreshold": 1})");
  send(2);
  TestHost::advanceClock(2.0);
  respond(0);
  respond(1);
  respond(2);
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
  respond(3);
  EXPECT_EQ(takeLogs(warnLevel), Texts{"Long running batch: batch 1 \"GET /p\" completed after 2.000000 seconds (of "
                                       "which 2.000000 seconds was queue time)"});
}

TEST_F(QueryTrackingTest, EndsWithAPageThatFails) {
  codec->handler.onResponse = [](Message&, OutstandingRequest&) { throw std::runtime_error("bad page"); };
  send(1);
  EXPECT_EQ(thrownBy([&] { respond(0); }), "bad page");
  EXPECT_EQ(codec->handler.finished, std::vector<std::int64_t>{0});
}

TEST_F(QueryTrackingTest, HoldsWhileBothThreadsSend) {
  configure(R"({"latencySecsLogThreshold": 0, "batchLatencySecsThreshold": 1, "concurrencyMode": "auto"})");
  pages = 4;
  constexpr int batches = 300, queriesPerBatch = 3;
  TestHost::advanceAtEachReading(2.0);
  {
    DeliveryThread delivery;
    codec->transport.onMessage = [&](const Received& request) {
      delivery.post([this, id = request.requestId()] { respond(id); });
    };
    for (int batch = 0; batch < batches; ++batch) send(queriesPerBatch);
    delivery.drain();
  }
  TestHost::advanceAtEachReading(0.0);

  EXPECT_EQ(codec->outstanding.size(), 0u);
  EXPECT_EQ(codec->handler.finished.size(), static_cast<std::size_t>(batches * queriesPerBatch));
  std::vector<Received> requests = codec->transport.takeAll();
  EXPECT_EQ(requests.size(), static_cast<std::size_t>(batches * queriesPerBatch * pages));
  std::vector<std::int64_t> ids;
  for (const Received& request : requests) ids.push_back(request.requestId());
  std::sort(ids.begin(), ids.end());
  for (std::size_t index = 0; index < ids.size(); ++index) ASSERT_EQ(ids[index], static_cast<std::int64_t>(index));

  Texts ended, expected;
  for (const std::string& line : takeLogs(warnLevel)) ended.push_back(line.substr(0, line.find(" \"")));
  for (int batch = 1; batch <= batches; ++batch)
    expected.push_back("Long running batch: batch " + std::to_string(batch));
  std::sort(ended.begin(), ended.end());
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(ended, expected);
}

}  // namespace
}  // namespace tests
