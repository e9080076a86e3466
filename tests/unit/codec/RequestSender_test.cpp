#include "codec/RequestSender.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>

#include "tests/unit/codec/CodecParts.h"

namespace tests {
namespace {

class RequestSenderTest : public testing::Test {
 protected:
  void SetUp() override { configure("{}"); }

  /// A codec with a batch open on this thread.
  void configure(std::string_view options) {
    codec.emplace(options);
    codec->metrics.openBatch();
  }

  std::optional<CodecParts> codec;
};

TEST_F(RequestSenderTest, NumbersRequestsFromZero) {
  EXPECT_EQ(codec->send(requestOf("GET")).metadata("requestId"), "0");
  EXPECT_EQ(codec->send(requestOf("POST")).metadata("requestId"), "1");
  EXPECT_EQ(codec->send(requestOf("PUT"), codec->otherHandler).metadata("requestId"), "2");
}

TEST_F(RequestSenderTest, ReplacesAnEarlierRequestId) {
  EXPECT_EQ(codec->send(messageFrom(MessageBuilder().metadata("requestId", "77"))).metadata("requestId"), "0");
}

TEST_F(RequestSenderTest, StampsTheTimeOfEachSending) {
  Message message = requestOf("GET");
  codec->metrics.startRequest(message);
  TestHost::advanceClock(2.5);
  codec->sender.sendRequest(message, codec->handler);
  EXPECT_EQ(codec->transport.take()->metadata("metrics"),
            R"({"batchNo":1,"batchStartTime":1000.0,"individualStartTime":1002.5,"requestNo":0})");
}

TEST_F(RequestSenderTest, SendsTheWholeMessageAsABatchOfOne) {
  Message message = messageFromJson(R"({"metrics": {}, "reqId": 9, "http": {"path": "/p"}})", "[1]");
  codec->sender.sendRequest(message, codec->handler);
  EXPECT_EQ(codec->transport.takeBatchSizes(), std::vector<std::size_t>{1});
  EXPECT_EQ(codec->transport.take()->json(),
            R"({"metadata":{"http":{"path":"/p"},"metrics":{"individualStartTime":1000.0},"reqId":9,"requestId":0},)"
            R"("payload":[1]})");
}

TEST_F(RequestSenderTest, RecordsACopyOfWhatItSends) {
  const Received sent = codec->send(requestOf("POST"));
  const OutstandingRequest record = codec->take(0);
  EXPECT_EQ(toJson(record), sent.json());
  EXPECT_EQ(&record.getHandler(), &codec->handler);
}

TEST_F(RequestSenderTest, RecordsTheRequestBeforeTheTransportGetsIt) {
  std::size_t recorded = 0;
  codec->transport.onMessage = [&](const Received&) { recorded = codec->outstanding.size(); };
  codec->send(requestOf("GET"));
  EXPECT_EQ(recorded, 1u);
}

TEST_F(RequestSenderTest, HoldsNoLockDuringTheHandOver) {
  codec->transport.onMessage = [&](const Received& request) {
    if (request.requestId() == 0) codec->send(requestOf("GET"));
    codec->take(request.requestId());
  };
  Message message = requestOf("GET");
  codec->metrics.startRequest(message);
  codec->sender.sendRequest(message, codec->handler);
  EXPECT_EQ(codec->outstanding.size(), 0u);
}

TEST_F(RequestSenderTest, GivesALaterPageItsOwnIdAndTimeAndKeepsTheRest) {
  codec->send(requestOf("GET"));
  TestHost::advanceClock(4.0);
  OutstandingRequest record = codec->take(0);
  codec->sender.sendRequest(record, codec->handler);
  const auto page = codec->transport.take();
  EXPECT_EQ(page->metadata("requestId"), "1");
  EXPECT_EQ(page->metadata("metrics"),
            R"({"batchNo":1,"batchStartTime":1000.0,"individualStartTime":1004.0,"requestNo":0})");
  EXPECT_EQ(codec->outstanding.size(), 1u);
}

// Failures

TEST_F(RequestSenderTest, NeedsTheMetricsOfAStartedRequest) {
  Message message = requestOf("GET");
  EXPECT_EQ(thrownBy([&] { codec->sender.sendRequest(message, codec->handler); }), "Element not in map");
  EXPECT_EQ(codec->outstanding.size(), 0u);
  EXPECT_EQ(codec->send(requestOf("GET")).metadata("requestId"), "0");
}

TEST_F(RequestSenderTest, KeepsTheRecordOfARequestThatTheTransportRefuses) {
  codec->transport.onMessage = [](const Received&) { throw std::runtime_error("no line"); };
  EXPECT_EQ(thrownBy([&] { codec->send(requestOf("GET")); }), "no line");
  EXPECT_EQ(codec->outstanding.size(), 1u);
}

TEST_F(RequestSenderTest, KeepsTheRecordOfARequestWithoutATransport) {
  codec->transportSide.reset();
  EXPECT_EQ(thrownBy([&] { codec->send(requestOf("GET")); }), "No transport side is connected");
  EXPECT_EQ(codec->outstanding.size(), 1u);
}

TEST_F(RequestSenderTest, PassesAMessageOnAsItIs) {
  Message message = messageFromJson(R"({"a": 1})", "null");
  codec->sender.passOn(message);
  EXPECT_EQ(codec->transport.takeBatchSizes(), std::vector<std::size_t>{1});
  EXPECT_EQ(codec->transport.take()->json(), R"({"metadata":{"a":1},"payload":null})");
  EXPECT_EQ(codec->outstanding.size(), 0u);

  codec->transportSide.reset();
  EXPECT_EQ(thrownBy([&] { codec->sender.passOn(message); }), "No transport side is connected");
}

// The log

TEST_F(RequestSenderTest, ShowsTheFinishedRequestAtDebug) {
  TestHost::setLogLevel(debugLevel);
  configure("{}");
  takeLogs(debugLevel);
  codec->send(messageFrom(MessageBuilder().payload(R"("body")")));
  const std::vector<LogLine> lines = TestHost::drain(debugLevel);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].format, "<%s> Formatted message: %s");
  EXPECT_NE(lines[0].text.find("requestId:0"), std::string::npos) << lines[0].text;
  EXPECT_NE(lines[0].text.find("individualStartTime:"), std::string::npos) << lines[0].text;
  EXPECT_TRUE(lines[0].text.ends_with(" / body")) << lines[0].text;
}

TEST_F(RequestSenderTest, MakesNoTextBelowDebug) {
  TestHost::setLogLevel(infoLevel);
  configure("{}");
  codec->send(requestOf("GET"));
  EXPECT_EQ(TestHost::calls(HostCall::float64ToChar8), 0u);
}

// Ordering hints

/// What a request asked for: "key", "flush", both or "nothing".
std::string hintsOf(const Received& request) {
  const std::string key = request.metadata("concurrencyControlKey");
  const std::string flush = request.metadata("concurrencyControlFlush");
  std::string hints;
  if (flush != "absent") hints += "flush " + flush;
  if (key != "absent") hints += (hints.empty() ? "key " : ", key ") + key;
  return hints.empty() ? "nothing" : hints;
}

class OrderingHintsTest : public RequestSenderTest {
 protected:
  void SetUp() override { configure(R"({"concurrencyMode": "auto"})"); }

  /// Sends a request whose handler gives the key, or none, and shows the hints.
  std::string hintsFor(const char* method, const char* key) {
    codec->handler.keyOf = [key](const Message&) { return key ? data_t(key) : data_t(); };
    return hintsOf(codec->send(requestOf(method)));
  }
};

struct HintsCase {
  const char* name;
  bool afterWrite;
  const char* method;
  const char* key;
  const char* hints;
};

void PrintTo(const HintsCase& each, std::ostream* out) {
  *out << each.name;
}

class OrderingHintsTableTest : public OrderingHintsTest, public testing::WithParamInterface<HintsCase> {};

TEST_P(OrderingHintsTableTest, FollowTheLastRequestTheMethodAndTheKey) {
  const HintsCase& each = GetParam();
  hintsFor(each.afterWrite ? "POST" : "GET", nullptr);
  EXPECT_EQ(hintsFor(each.method, each.key), each.hints);
}

INSTANTIATE_TEST_SUITE_P(Rows, OrderingHintsTableTest,
                         testing::Values(HintsCase{"ReadAfterRead", false, "GET", nullptr, "nothing"},
                                         HintsCase{"ReadWithKeyAfterRead", false, "GET", "k", "nothing"},
                                         HintsCase{"WriteWithKeyAfterRead", false, "POST", "k",
                                                   R"(flush true, key "k")"},
                                         HintsCase{"WriteAfterRead", false, "POST", nullptr, "flush true"},
                                         HintsCase{"ReadWithKeyAfterWrite", true, "GET", "k", R"(flush true, key "k")"},
                                         HintsCase{"ReadAfterWrite", true, "GET", nullptr, "flush true"},
                                         HintsCase{"WriteWithKeyAfterWrite", true, "POST", "k", R"(key "k")"},
                                         HintsCase{"WriteAfterWrite", true, "POST", nullptr, "flush true"},
                                         HintsCase{"PutIsAWrite", false, "PUT", nullptr, "flush true"},
                                         HintsCase{"DeleteIsAWrite", false, "DELETE", nullptr, "flush true"},
                                         HintsCase{"LowerCaseGetIsAWrite", false, "get", nullptr, "flush true"},
                                         HintsCase{"EmptyTextIsAKey", true, "POST", "", R"(key "")"}),
                         [](const auto& row) { return row.param.name; });

TEST_F(OrderingHintsTest, AreAbsentFromTheVeryFirstRead) {
  EXPECT_EQ(hintsFor("GET", "k"), "nothing");
}

TEST_F(OrderingHintsTest, ContainABarrierOnTheVeryFirstWrite) {
  EXPECT_EQ(hintsFor("POST", nullptr), "flush true");
}

TEST_F(OrderingHintsTest, FollowTheLastRequestOnly) {
  Texts hints;
  for (const char* method : {"POST", "POST", "GET", "GET", "PUT"}) hints.push_back(hintsFor(method, "k"));
  EXPECT_EQ(hints, (Texts{R"(flush true, key "k")", R"(key "k")", R"(flush true, key "k")", "nothing",
                          R"(flush true, key "k")"}));
}

TEST_F(OrderingHintsTest, FollowTheRequestsOfOtherHandlersToo) {
  codec->send(requestOf("POST"), codec->otherHandler);
  EXPECT_EQ(hintsFor("GET", nullptr), "flush true");
}

TEST_F(OrderingHintsTest, TakeAKeyOfAnyType) {
  codec->handler.keyOf = [](const Message&) { return data_t(std::int64_t{7}); };
  EXPECT_EQ(hintsOf(codec->send(requestOf("POST"))), "flush true, key 7");
}

TEST_F(OrderingHintsTest, ComeFromTheHandlersViewOfTheRequest) {
  codec->handler.keyOf = [](const Message& request) {
    return request.getPayload().get<map_t>().at(data_t("a")).copy();
  };
  EXPECT_EQ(hintsOf(codec->send(requestOf("POST"))), "flush true, key 1");
}

TEST_F(OrderingHintsTest, TreatARequestWithoutAMethodAsAWrite) {
  EXPECT_EQ(hintsOf(codec->send(messageFrom(MessageBuilder().path("/p")))), "flush true");
  EXPECT_EQ(hintsFor("GET", nullptr), "flush true");
}

TEST_F(OrderingHintsTest, StandInTheRecordToo) {
  hintsFor("POST", "k");
  const OutstandingRequest record = codec->take(0);
  EXPECT_EQ(toJson(record.getMetadataMap().at(data_t("concurrencyControlKey"))), R"("k")");
  EXPECT_EQ(toJson(record.getMetadataMap().at(data_t("concurrencyControlFlush"))), "true");
}

TEST_F(OrderingHintsTest, CostTheRequestWhenTheKeyCannotBeRead) {
  codec->handler.keyOf = [](const Message&) -> data_t { throw std::runtime_error("no key"); };
  EXPECT_EQ(thrownBy([&] { codec->send(requestOf("POST")); }), "no key");
  EXPECT_EQ(codec->outstanding.size(), 0u);
  EXPECT_EQ(codec->transport.takeAll().size(), 0u);

  codec->handler.keyOf = nullptr;
  const Received next = codec->send(requestOf("GET"));
  EXPECT_EQ(next.metadata("requestId"), "1");
  EXPECT_EQ(hintsOf(next), "nothing");
}

TEST_F(OrderingHintsTest, StayOnARequestThatIsSentAgain) {
  hintsFor("POST", nullptr);
  EXPECT_EQ(hintsFor("GET", "k"), R"(flush true, key "k")");
  OutstandingRequest record = codec->take(1);
  codec->sender.sendRequest(record, codec->handler);
  EXPECT_EQ(hintsOf(*codec->transport.take()), R"(flush true, key "k")");
}

TEST_F(OrderingHintsTest, AreReplacedWhereTheyAreAskedForAgain) {
  hintsFor("POST", "old");
  OutstandingRequest record = codec->take(0);
  codec->handler.keyOf = [](const Message&) { return data_t("new"); };
  codec->sender.sendRequest(record, codec->handler);
  EXPECT_EQ(hintsOf(*codec->transport.take()), R"(flush true, key "new")");
}

TEST_F(OrderingHintsTest, AreNeverAskedForInFullMode) {
  configure(R"({"concurrencyMode": "always"})");
  int asked = 0;
  codec->handler.keyOf = [&](const Message&) {
    ++asked;
    return data_t("k");
  };
  for (const char* method : {"GET", "POST", "PUT", "GET", "DELETE"})
    EXPECT_EQ(hintsOf(codec->send(requestOf(method))), "nothing") << method;
  EXPECT_EQ(asked, 0);
}

}  // namespace
}  // namespace tests
