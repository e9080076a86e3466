#include "codec/RequestMetrics.h"

#include <gtest/gtest.h>

#include <thread>

#include "tests/unit/codec/CodecParts.h"
#include "tests/unit/codec/WaitingThread.h"

namespace tests {
namespace {

std::string stampOf(const Message& message) {
  return toJson(message.getMetadataMap().at(data_t("metrics")));
}

// Starting requests

class StartRequestTest : public testing::Test {
 protected:
  CodecParts codec;
};

TEST_F(StartRequestTest, StampsBatchRequestAndTime) {
  codec.metrics.openBatch();
  TestHost::advanceClock(0.5);
  Message message;
  EXPECT_EQ(codec.metrics.startRequest(message), 0u);
  EXPECT_EQ(toJson(message),
            R"({"metadata":{"metrics":{"batchNo":1,"batchStartTime":1000.5,"requestNo":0}},"payload":null})");
  codec.metrics.markBatchSent();
}

TEST_F(StartRequestTest, NumbersRequestsAcrossBatches) {
  codec.metrics.openBatch();
  Message first, second, third;
  EXPECT_EQ(codec.metrics.startRequest(first), 0u);
  EXPECT_EQ(codec.metrics.startRequest(second), 1u);
  codec.metrics.markBatchSent();
  codec.metrics.openBatch();
  EXPECT_EQ(codec.metrics.startRequest(third), 2u);
  codec.metrics.markBatchSent();
  EXPECT_EQ(stampOf(second), R"({"batchNo":1,"batchStartTime":1000.0,"requestNo":1})");
  EXPECT_EQ(stampOf(third), R"({"batchNo":2,"batchStartTime":1000.0,"requestNo":2})");
}

TEST_F(StartRequestTest, ReplacesWhatStoodUnderItsKey) {
  codec.metrics.openBatch();
  for (const char* before : {R"({"metrics": {"batchNo": 9, "other": 1}})", R"({"metrics": "text"})"}) {
    Message message = messageFromJson(before, "null");
    const std::uint64_t number = codec.metrics.startRequest(message);
    EXPECT_EQ(stampOf(message), R"({"batchNo":1,"batchStartTime":1000.0,"requestNo":)" + std::to_string(number) + "}");
  }
  codec.metrics.markBatchSent();
}

// Description

struct DescriptionCase {
  const char* name;
  const char* metadata;
  const char* text;
};

void PrintTo(const DescriptionCase& each, std::ostream* out) {
  *out << each.name;
}

class DescribeRequestTest : public testing::TestWithParam<DescriptionCase> {};

TEST_P(DescribeRequestTest, TellsTheRequestInOneLine) {
  const CodecParts codec;
  EXPECT_EQ(codec.metrics.describeRequest(messageFromJson(GetParam().metadata, "null")), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, DescribeRequestTest,
    testing::Values(
        DescriptionCase{"MethodAndPath", R"({"http": {"method": "GET", "path": "/alarm/alarms"}})",
                        "GET /alarm/alarms"},
        DescriptionCase{"MergedEvents",
                        R"({"http": {"method": "POST", "path": "/measurement/measurements"},
                            "batchedMessagesCount": 5})",
                        "POST /measurement/measurements (5)"},
        DescriptionCase{"Query", R"({"http": {"method": "GET", "path": "/p", "queryString": {"pageSize": "100"}}})",
                        "GET /p?pageSize=100"},
        DescriptionCase{"EmptyQuery", R"({"http": {"method": "GET", "path": "/p", "queryString": {}}})", "GET /p"},
        DescriptionCase{"QueryThatThePathBegan",
                        R"({"http": {"method": "GET", "path": "/p?a=1", "queryString": {"b": "2"}}})",
                        "GET /p?a=1&b=2"},
        DescriptionCase{"QueryThatNeedsEncoding",
                        R"({"http": {"method": "GET", "path": "/p", "queryString": {"q": "a b&c=d/e?f#g%h+i"}}})",
                        "GET /p?q=a%20b%26c%3Dd%2Fe%3Ff%23g%25h%2Bi"},
        DescriptionCase{"KeyThatNeedsEncoding",
                        R"({"http": {"method": "GET", "path": "/p", "queryString":
                                {"$entries": [["$filter", "x"]]}}})",
                        "GET /p?%24filter=x"},
        DescriptionCase{"TextOfLatin1IsOneByteEach",
                        R"({"http": {"method": "GET", "path": "/p", "queryString": {"q": "\u00e4"}}})", "GET /p?q=%E4"},
        DescriptionCase{"TextBeyondLatin1IsSubstituted",
                        R"({"http": {"method": "GET", "path": "/p", "queryString": {"q": "\u20ac"}}})", "GET /p?q=%1A"},
        DescriptionCase{"NumberInTheQuery", R"({"http": {"method": "GET", "path": "/p", "queryString": {"n": 12}}})",
                        "GET /p?n=12"},
        DescriptionCase{"TruthInTheQuery",
                        R"({"http": {"method": "GET", "path": "/p", "queryString": {"withTotalPages": true}}})",
                        "GET /p?withTotalPages=true"},
        DescriptionCase{"PathOfLatin1", R"({"http": {"method": "GET", "path": "/\u00fc"}})", "GET /%FC"},
        DescriptionCase{"EmptyValue", R"({"http": {"method": "GET", "path": "/p", "queryString": {"q": ""}}})",
                        "GET /p?q="},
        DescriptionCase{"EventsAndQuery",
                        R"({"http": {"method": "POST", "path": "/p", "queryString": {"a": "1"}},
                            "batchedMessagesCount": 1})",
                        "POST /p?a=1 (1)"}),
    [](const auto& row) { return row.param.name; });

struct UndescribableCase {
  const char* name;
  const char* metadata;
  const char* complaint;
};

void PrintTo(const UndescribableCase& each, std::ostream* out) {
  *out << each.name;
}

class UndescribableRequestTest : public testing::TestWithParam<UndescribableCase> {};

TEST_P(UndescribableRequestTest, IsRefused) {
  const CodecParts codec;
  const Message request = messageFromJson(GetParam().metadata, "null");
  EXPECT_EQ(thrownBy([&] { codec.metrics.describeRequest(request); }), GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, UndescribableRequestTest,
    testing::Values(
        UndescribableCase{"WithoutHttp", "{}", "Element not in map"},
        UndescribableCase{"WithoutMethod", R"({"http": {"path": "/p"}})", "Element not in map"},
        UndescribableCase{"WithoutPath", R"({"http": {"method": "GET"}})", "Element not in map"},
        UndescribableCase{"WithAMethodThatIsNoText", R"({"http": {"method": 1, "path": "/p"}})",
                          "Incorrect type in get (you asked for string but it's actually integer)"},
        UndescribableCase{"WithAPathThatIsNoText", R"({"http": {"method": "GET", "path": null}})", "Get from empty"},
        UndescribableCase{"WithAQueryThatIsNoMap", R"({"http": {"method": "GET", "path": "/p", "queryString": "a"}})",
                          "Incorrect type in get (you asked for map but it's actually string)"},
        UndescribableCase{"WithAQueryValueThatIsAList",
                          R"({"http": {"method": "GET", "path": "/p", "queryString": {"a": [1]}}})",
                          "Trying to parse from incorrect type (actually list)"},
        UndescribableCase{"WithAnEmptyQueryValue",
                          R"({"http": {"method": "GET", "path": "/p", "queryString": {"a": null}}})",
                          "Trying to parse from empty"}),
    [](const auto& row) { return row.param.name; });

TEST(DescribeRequestFailureTest, RefusesAPathThatIsNoUri) {
  const CodecParts codec;
  const Message request = messageFromJson(R"({"http": {"method": "GET", "path": "/100%"}})", "null");
  EXPECT_THROW(codec.metrics.describeRequest(request), std::exception);
}

// The end of a batch. That a batch is closed shows in its line, with a threshold that every batch here passes.

class BatchClosingTest : public testing::Test {
 protected:
  BatchClosingTest() { codec.metrics.openBatch(); }
  ~BatchClosingTest() override { codec.metrics.abandonAllBatches(); }

  /// A started request that had its response.
  Message start() {
    Message request = messageFrom(MessageBuilder().method("GET").path("/p"));
    codec.metrics.startRequest(request);
    return request;
  }

  void finishElsewhere(const Message& request) {
    std::thread([&] { codec.metrics.requestFinished(request); }).join();
  }

  /// Ends two seconds after the batch began.
  void passTime() { TestHost::setClock(1002.0); }

  static std::string closed(int batch) {
    return "Long running batch: batch " + std::to_string(batch) +
           R"( "GET /p" completed after 2.000000 seconds (of which -1000.000000 seconds was queue time))";
  }

  CodecParts codec{R"({"batchLatencySecsThreshold": 1, "latencySecsLogThreshold": 0})"};
};

TEST_F(BatchClosingTest, HappensWithTheLastRequestOfABatchThatIsSent) {
  const Message first = start(), second = start(), third = start();
  codec.metrics.markBatchSent();
  passTime();
  finishElsewhere(second);
  finishElsewhere(third);
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
  finishElsewhere(first);
  EXPECT_EQ(takeLogs(warnLevel), Texts{closed(1)});
}

TEST_F(BatchClosingTest, HappensOnTheRequestThreadTooOnceTheBatchIsSent) {
  const Message request = start();
  codec.metrics.markBatchSent();
  passTime();
  codec.metrics.requestFinished(request);
  EXPECT_EQ(takeLogs(warnLevel), Texts{closed(1)});
}

TEST_F(BatchClosingTest, WaitsUntilTheBatchIsSent) {
  const Message request = start();
  passTime();
  WaitingThread finisher([&] { codec.metrics.requestFinished(request); });
  EXPECT_TRUE(finisher.sleeps());
  codec.metrics.markBatchSent();
  finisher.join();
  EXPECT_EQ(takeLogs(warnLevel), Texts{closed(1)});
}

TEST_F(BatchClosingTest, IsLeftToALaterRequestWhenTheBatchGoesOn) {
  const Message first = start();
  passTime();
  WaitingThread finisher([&] { codec.metrics.requestFinished(first); });
  EXPECT_TRUE(finisher.sleeps());
  const Message second = start();
  finisher.join();
  codec.metrics.markBatchSent();
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
  finishElsewhere(second);
  EXPECT_EQ(takeLogs(warnLevel), Texts{closed(1)});
}

TEST_F(BatchClosingTest, WaitsForNobodyWhileOtherRequestsAreOut) {
  const Message first = start(), second = start();
  finishElsewhere(first);
  codec.metrics.markBatchSent();
  finishElsewhere(second);
}

TEST_F(BatchClosingTest, WaitsOnlyForItsOwnBatch) {
  const Message first = start();
  codec.metrics.markBatchSent();
  codec.metrics.openBatch();
  const Message second = start();
  passTime();
  finishElsewhere(first);
  EXPECT_EQ(takeLogs(warnLevel), Texts{closed(1)});

  WaitingThread finisher([&] { codec.metrics.requestFinished(second); });
  EXPECT_TRUE(finisher.sleeps());
  codec.metrics.markBatchSent();
  finisher.join();
  EXPECT_EQ(takeLogs(warnLevel), Texts{closed(2)});
}

TEST_F(BatchClosingTest, DoesNotHappenInAnAbandonedBatchAndNobodyWaitsForIt) {
  const Message request = start();
  passTime();
  WaitingThread finisher([&] { codec.metrics.requestFinished(request); });
  EXPECT_TRUE(finisher.sleeps());
  codec.metrics.abandonBatch();
  finisher.join();
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
}

TEST_F(BatchClosingTest, IsNotWaitedForInAnyBatchOnceAllAreAbandoned) {
  const Message first = start();
  codec.metrics.openBatch();
  const Message second = start();
  passTime();
  WaitingThread finisher([&] {
    codec.metrics.requestFinished(first);
    codec.metrics.requestFinished(second);
  });
  EXPECT_TRUE(finisher.sleeps());
  codec.metrics.abandonAllBatches();
  finisher.join();
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
}

TEST_F(BatchClosingTest, IsNotWaitedForOnTheThreadThatHasTheBatchOpen) {
  const Message first = start();
  passTime();
  codec.metrics.requestFinished(first);
  EXPECT_EQ(takeLogs(warnLevel), Texts{});

  const Message second = start();
  codec.metrics.markBatchSent();
  finishElsewhere(second);
  EXPECT_EQ(takeLogs(warnLevel), Texts{closed(1)});
}

TEST_F(BatchClosingTest, IsOnlyOnce) {
  const Message request = start();
  codec.metrics.markBatchSent();
  passTime();
  finishElsewhere(request);
  EXPECT_EQ(takeLogs(warnLevel), Texts{closed(1)});
  // Of a request too many the count wraps: nobody waits, and nothing is closed again.
  finishElsewhere(request);
  finishElsewhere(request);
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
}

TEST_F(BatchClosingTest, DoesNotHappenToABatchWithoutARequest) {
  codec.metrics.markBatchSent();
  codec.metrics.openBatch();
  const Message request = start();
  codec.metrics.markBatchSent();
  passTime();
  finishElsewhere(request);
  EXPECT_EQ(takeLogs(warnLevel), Texts{closed(2)});
}

}  // namespace
}  // namespace tests
