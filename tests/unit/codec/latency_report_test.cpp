// The latency side of RequestMetrics: status items, averages, and the lines on long-running requests and batches.
#include <gtest/gtest.h>

#include <optional>
#include <regex>
#include <thread>

#include "codec/RequestMetrics.h"
#include "tests/unit/codec/CodecParts.h"

namespace tests {
namespace {

using History = std::vector<std::pair<std::string, std::string>>;

constexpr const char* maxMillis = "c1.MarlovanceCodec.maxLatencyInLastHourMillis";
constexpr const char* maxDetails = "c1.MarlovanceCodec.maxLatencyInLastHourDetails";
constexpr const char* slowDetails = "c1.MarlovanceCodec.mostRecentSlowRequestDetails";
constexpr const char* shortMillis = "c1.MarlovanceCodec.requestLatencyEWMAShortMillis";
constexpr const char* longMillis = "c1.MarlovanceCodec.requestLatencyEWMALongMillis";

/// A request in batch 1 as tracking knows it when its response has come, all times in seconds.
class Tracked {
 public:
  explicit Tracked(std::int64_t requestNo) {
    builder.method("GET").path("/p");
    stamp["batchNo"] = 1;
    stamp["requestNo"] = requestNo;
    stamp["batchStartTime"] = 1000.0;
    stamp["individualStartTime"] = 1000.0;
    sent(1000.0);
  }
  Tracked& startedAt(double seconds) { return put("batchStartTime", seconds); }
  Tracked& pageStartedAt(double seconds) { return put("individualStartTime", seconds); }
  Tracked& sent(double seconds) { return metadata("requestSentTime", textOfDouble(seconds)); }
  Tracked& metadata(std::string_view key, std::string_view json) {
    builder.metadata(key, json);
    return *this;
  }
  Tracked& http(std::string_view key, std::string_view json) {
    builder.http(key, json);
    return *this;
  }
  Tracked& without(std::string_view key) {
    builder.without(key);
    return *this;
  }
  Tracked& withoutStamp(const char* key) {
    stamp.erase(key);
    return *this;
  }
  Message message() const { return messageFrom(MessageBuilder(builder).metadata("metrics", textOf(stamp))); }

 private:
  Tracked& put(const char* key, double seconds) {
    stamp[key] = seconds;
    return *this;
  }

  MessageBuilder builder;
  boost::json::object stamp;
};

class LatencyTest : public testing::Test {
 protected:
  void configure(std::string_view options) {
    codec.reset();
    codec.emplace(options);
    openBatch();
  }
  void SetUp() override { configure("{}"); }

  /// A response at that time of the clock.
  void respond(double at, const Tracked& request) {
    TestHost::setClock(at);
    codec->metrics.requestResponded(request.message());
  }
  std::string complaintAboutResponse(double at, const Tracked& request) {
    return thrownBy([&] { respond(at, request); });
  }

  /// The end of a request at that time of the clock, while its batch is open.
  void finish(double at, const Tracked& request) {
    TestHost::setClock(at);
    codec->metrics.requestFinished(request.message());
  }

  std::string status(const char* key) { return TestHost::statusItems().at(key); }

  /// What was published for the key since the beginning of the test.
  Texts published(const char* key) {
    Texts texts;
    for (const auto& [name, text] : TestHost::statusHistory())
      if (name == key) texts.push_back(text);
    return texts;
  }

  std::optional<CodecParts> codec;

 private:
  void openBatch() {
    TestHost::setClock(1000.0);
    codec->metrics.openBatch();
    Message counted;
    codec->metrics.startRequest(counted);
  }
};

/// A status text that begins with a time, as "TIME" and what follows it.
std::string withoutTime(const std::string& text) {
  return std::regex_replace(text, std::regex(R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z\t)"), "TIME\t");
}

// Status items

TEST_F(LatencyTest, MakesFiveStatusItemsInOrder) {
  const History expected = {{"c1.MarlovanceCodec.maxLatencyInLastHourMillis", "0"},
                            {"c1.MarlovanceCodec.maxLatencyInLastHourDetails", ""},
                            {"c1.MarlovanceCodec.mostRecentSlowRequestDetails", ""},
                            {"c1.MarlovanceCodec.requestLatencyEWMAShortMillis", "0"},
                            {"c1.MarlovanceCodec.requestLatencyEWMALongMillis", "0"}};
  EXPECT_EQ(TestHost::createdStatusItems(), expected);
  EXPECT_EQ(TestHost::statusHistory(), History{});
}

TEST_F(LatencyTest, CannotDoWithoutAStatusItem) {
  codec.reset();
  TestHost::refuseStatusItem(slowDetails);
  EXPECT_EQ(thrownBy([&] { codec.emplace(); }),
            "Failed to create status item 'c1.MarlovanceCodec.mostRecentSlowRequestDetails' (ensure the key is unique "
            "and that this plug-in has not been shutdown already)");
}

// The maximum

TEST_F(LatencyTest, PublishesAMaximumWithItsTimeAndDescription) {
  respond(1000.5, Tracked(0).http("queryString", R"({"a": "b c"})").metadata("batchedMessagesCount", "3"));
  EXPECT_EQ(status(maxMillis), "500");
  EXPECT_EQ(withoutTime(status(maxDetails)), "TIME\tGET /p?a=b%20c (3)");
}

TEST_F(LatencyTest, TruncatesMilliseconds) {
  respond(1001.2509765625, Tracked(0));
  EXPECT_EQ(status(maxMillis), "1250");
}

TEST_F(LatencyTest, MeasuresTheMaximumFromTheStartOfTheRequest) {
  respond(1000.75, Tracked(0).startedAt(1000.25).pageStartedAt(1000.5));
  EXPECT_EQ(status(maxMillis), "500");
}

TEST_F(LatencyTest, ReplacesTheMaximumByAGreaterLatencyOnly) {
  respond(1000.5, Tracked(0));
  respond(1000.5, Tracked(1).http("path", R"("/equal")"));
  respond(1000.5, Tracked(2).startedAt(1000.25).http("path", R"("/less")"));
  EXPECT_EQ(withoutTime(status(maxDetails)), "TIME\tGET /p");
  respond(1000.75, Tracked(3).http("path", R"("/more")"));
  EXPECT_EQ(withoutTime(status(maxDetails)), "TIME\tGET /more");
  EXPECT_EQ(published(maxMillis), (Texts{"500", "750"}));
}

TEST_F(LatencyTest, KeepsTheMaximumForAnHour) {
  respond(1008.0, Tracked(0));
  respond(4608.0, Tracked(1).startedAt(4607.75).sent(4608.0));
  EXPECT_EQ(published(maxMillis), Texts{"8000"});
}

TEST_F(LatencyTest, TakesAnyLatencyAsTheMaximumAfterAnHourWithoutOne) {
  respond(1008.0, Tracked(0));
  respond(4608.25, Tracked(1).startedAt(4608.0).sent(4608.25).http("path", R"("/quick")"));
  EXPECT_EQ(published(maxMillis), (Texts{"8000", "250"}));
  EXPECT_EQ(withoutTime(status(maxDetails)), "TIME\tGET /quick");
}

TEST_F(LatencyTest, BeginsTheHourAnewWithEachMaximum) {
  respond(1008.0, Tracked(0));
  respond(4000.0, Tracked(1).startedAt(3990.0).sent(4000.0));
  respond(4700.0, Tracked(2).startedAt(4699.0).sent(4700.0));
  EXPECT_EQ(published(maxMillis), (Texts{"8000", "10000"}));
  respond(7600.5, Tracked(3).startedAt(7600.0).sent(7600.5));
  EXPECT_EQ(published(maxMillis), (Texts{"8000", "10000", "500"}));
}

TEST_F(LatencyTest, CountsTheFirstHourFromZeroOnTheClock) {
  respond(1000.0, Tracked(0));
  EXPECT_EQ(status(maxDetails), "");
  respond(3600.0, Tracked(1).startedAt(3600.0).sent(3600.0));
  EXPECT_EQ(status(maxDetails), "");
  respond(3600.5, Tracked(2).startedAt(3600.5).sent(3600.5));
  EXPECT_EQ(withoutTime(status(maxDetails)), "TIME\tGET /p");
  EXPECT_EQ(published(maxMillis), Texts{});
}

TEST_F(LatencyTest, FailsTheResponseOfARequestThatCannotBeDescribedAfterItsMaximumIsPublished) {
  const Tracked withoutMethod = Tracked(0).metadata("http", R"({"path": "/p"})");
  EXPECT_EQ(complaintAboutResponse(1000.5, withoutMethod), "Element not in map");
  EXPECT_EQ(TestHost::statusHistory(), (History{{maxMillis, "500"}}));
  codec->metrics.requestResponded(Tracked(1).metadata("http", "{}").message());
}

// Slow requests

TEST_F(LatencyTest, ShowsARequestAboveTheSlowThreshold) {
  respond(1001.25, Tracked(0));
  EXPECT_EQ(withoutTime(status(slowDetails)), "TIME\tGET /p");
}

TEST_F(LatencyTest, DoesNotCallARequestAtTheThresholdSlow) {
  respond(1001.0, Tracked(0));
  EXPECT_EQ(status(slowDetails), "");
}

TEST_F(LatencyTest, MeasuresSlownessFromTheStartOfThePage) {
  respond(1009.0, Tracked(0).pageStartedAt(1008.5));
  EXPECT_EQ(status(slowDetails), "");
}

TEST_F(LatencyTest, EstimatesAQueryFromItsLatestPage) {
  respond(1000.4, Tracked(0).metadata("totalPages", "2"));
  EXPECT_EQ(status(slowDetails), "");
  respond(1000.4, Tracked(0).metadata("totalPages", "3"));
  EXPECT_EQ(withoutTime(status(slowDetails)), "TIME\tGET /p");
}

TEST_F(LatencyTest, ShowsTheMostRecentSlowRequest) {
  respond(1009.0, Tracked(0));
  respond(1009.0, Tracked(1).pageStartedAt(1007.0).http("path", R"("/second")"));
  EXPECT_EQ(withoutTime(status(slowDetails)), "TIME\tGET /second");
}

TEST_F(LatencyTest, FollowsTheConfiguredSlowThreshold) {
  configure(R"({"latencySecsSlowThreshold": 5})");
  respond(1005.0, Tracked(0));
  EXPECT_EQ(status(slowDetails), "");
  respond(1005.5, Tracked(1));
  EXPECT_EQ(withoutTime(status(slowDetails)), "TIME\tGET /p");
}

TEST_F(LatencyTest, CallsNothingSlowWithAThresholdOfZero) {
  configure(R"({"latencySecsSlowThreshold": 0})");
  respond(2000.0, Tracked(0).metadata("totalPages", "1000"));
  EXPECT_EQ(status(slowDetails), "");
}

TEST_F(LatencyTest, NeedsAnIntegerAsTotalPages) {
  EXPECT_EQ(complaintAboutResponse(1000.0, Tracked(0).metadata("totalPages", R"("3")")),
            "Incorrect type in get (you asked for integer but it's actually string)");
}

// What a response must bring

TEST_F(LatencyTest, NeedsTheStampOfTheRequest) {
  EXPECT_EQ(thrownBy([&] { codec->metrics.requestResponded(messageFromJson("{}", "null")); }), "Element not in map");
  for (const char* key : {"batchNo", "requestNo", "batchStartTime", "individualStartTime"})
    EXPECT_EQ(complaintAboutResponse(1000.0, Tracked(0).withoutStamp(key)), "Element not in map") << key;
}

TEST_F(LatencyTest, NeedsTheSentTimeAsADouble) {
  EXPECT_EQ(complaintAboutResponse(1000.0, Tracked(0).metadata("requestSentTime", "null")), "Get from empty");
  EXPECT_EQ(complaintAboutResponse(1000.0, Tracked(0).metadata("requestSentTime", "1000")),
            "Incorrect type in get (you asked for double but it's actually integer)");
  EXPECT_EQ(complaintAboutResponse(1000.0, Tracked(0).metadata("requestSentTime", R"("1000.0")")),
            "Incorrect type in get (you asked for double but it's actually string)");
}

TEST_F(LatencyTest, MakesNoDescriptionWhenNothingNeedsIt) {
  // What can't be described would throw.
  EXPECT_EQ(complaintAboutResponse(1000.0, Tracked(0).metadata("http", "{}")), "nothing thrown");
  configure(R"({"latencySecsLogThreshold": 0, "batchLatencySecsThreshold": 0})");
  EXPECT_EQ(thrownBy([&] { finish(1000.5, Tracked(0).metadata("http", "{}")); }), "nothing thrown");
}

// Averages

TEST_F(LatencyTest, PublishesBothAveragesWhenARequestEnds) {
  finish(1000.125, Tracked(0));
  EXPECT_EQ(TestHost::statusHistory(), (History{{longMillis, "125"}, {shortMillis, "125"}}));
}

TEST_F(LatencyTest, TruncatesTheAveragesOfSeveralRequests) {
  finish(1000.125, Tracked(0));
  finish(1000.25, Tracked(1));
  EXPECT_EQ(status(shortMillis), "187");
  EXPECT_EQ(status(longMillis), "137");
}

TEST_F(LatencyTest, AveragesTheWholeTimeOfARequest) {
  finish(1008.0, Tracked(0).startedAt(1004.0).pageStartedAt(1007.0));
  EXPECT_EQ(status(shortMillis), "4000");
}

TEST_F(LatencyTest, AveragesRequestsThatNeverHadAResponse) {
  configure(R"({"latencySecsLogThreshold": 0})");
  finish(1002.0, Tracked(0).without("requestSentTime"));
  EXPECT_EQ(status(longMillis), "2000");
}

TEST_F(LatencyTest, DoesNotTouchTheAveragesWithAResponse) {
  respond(1002.0, Tracked(0));
  EXPECT_EQ(published(longMillis), Texts{});
  EXPECT_EQ(published(shortMillis), Texts{});
}

TEST_F(LatencyTest, TellsTheHostOfAChangeOnly) {
  finish(1000.125, Tracked(0));
  finish(1000.125, Tracked(1));
  EXPECT_EQ(TestHost::statusHistory().size(), 2u);
}

TEST_F(LatencyTest, CannotEndARequestWithoutItsStamp) {
  EXPECT_EQ(thrownBy([&] { codec->metrics.requestFinished(messageFromJson("{}", "null")); }), "Element not in map");
  for (const char* key : {"batchNo", "requestNo", "batchStartTime"})
    EXPECT_EQ(thrownBy([&] { finish(1000.0, Tracked(0).withoutStamp(key)); }), "Element not in map") << key;
}

// Long-running requests

class LongRunningTest : public LatencyTest {
 protected:
  /// A query that was queued for three seconds.
  static Tracked query() { return Tracked(0).sent(1003.0); }
};

TEST_F(LongRunningTest, IsDetectedByItsFirstResponseAfterTheThreshold) {
  respond(1013.0, query());
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
  respond(1013.5, query());
  EXPECT_EQ(TestHost::logs(warnLevel).at(0).format,
            "<%s> Long running query detected: request %I64d \"%s\" in batch %I64d has been running for %f seconds (of "
            "which %f seconds was queue time), with %s totalPages=%I64d and pageSize=%I64d");
  EXPECT_EQ(
      takeLogs(warnLevel),
      Texts{R"(Long running query detected: request 0 "GET /p" in batch 1 has been running for 13.500000 seconds )"
            "(of which 3.000000 seconds was queue time), with  totalPages=1 and pageSize=0"});
}

TEST_F(LongRunningTest, IsReportedAgainHalfAMinuteAfterTheLastReport) {
  respond(1014.0, query());
  takeLogs(warnLevel);
  respond(1024.0, query());
  respond(1044.0, query());
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
  respond(1045.0, query());
  EXPECT_EQ(TestHost::logs(warnLevel).at(0).format,
            "<%s> Long running query in-progress: request %I64d in batch %I64d has been running for %f seconds (of "
            "which %f seconds was queue time), with %s totalPages=%I64d, pageSize=%I64d, requestDetails=\"%s\"");
  EXPECT_EQ(
      takeLogs(warnLevel),
      Texts{"Long running query in-progress: request 0 in batch 1 has been running for 45.000000 seconds (of "
            R"(which 3.000000 seconds was queue time), with  totalPages=1, pageSize=0, requestDetails="GET /p")"});
  respond(1075.0, query());
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
  respond(1075.5, query());
  EXPECT_EQ(takeLogs(warnLevel).size(), 1u);
}

TEST_F(LongRunningTest, IsReportedAgainAfterTheThresholdWhenThatIsLonger) {
  configure(R"({"latencySecsLogThreshold": 40})");
  respond(1044.0, query());
  EXPECT_EQ(takeLogs(warnLevel).size(), 1u);
  respond(1084.0, query());
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
  respond(1084.5, query());
  EXPECT_EQ(takeLogs(warnLevel).size(), 1u);
}

TEST_F(LongRunningTest, CountsFromTheFirstSentTime) {
  respond(1004.0, query());
  respond(1013.5, query().sent(1012.0));
  EXPECT_EQ(
      takeLogs(warnLevel),
      Texts{R"(Long running query detected: request 0 "GET /p" in batch 1 has been running for 13.500000 seconds )"
            "(of which 3.000000 seconds was queue time), with  totalPages=1 and pageSize=0"});
}

TEST_F(LongRunningTest, IsToldApartByItsRequestNumber) {
  respond(1014.0, query());
  takeLogs(warnLevel);
  respond(1014.0, Tracked(7).sent(1002.0));
  EXPECT_EQ(
      takeLogs(warnLevel),
      Texts{R"(Long running query detected: request 7 "GET /p" in batch 1 has been running for 14.000000 seconds )"
            "(of which 2.000000 seconds was queue time), with  totalPages=1 and pageSize=0"});
}

TEST_F(LongRunningTest, IsReportedWhenItIsCompleted) {
  respond(1014.0, query());
  takeLogs(warnLevel);
  finish(1014.5, query());
  EXPECT_EQ(TestHost::logs(warnLevel).at(0).format,
            "<%s> Long running query completed: request %I64d \"%s\" completed after %f seconds");
  EXPECT_EQ(takeLogs(warnLevel),
            Texts{R"(Long running query completed: request 0 "GET /p" completed after 14.500000 seconds)"});
}

TEST_F(LongRunningTest, IsForgottenWhenItIsCompleted) {
  respond(1014.0, query());
  finish(1014.0, query());
  takeLogs(warnLevel);
  respond(1015.0, query().sent(1014.0));
  finish(1015.0, query());
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
}

TEST_F(LongRunningTest, IsReportedAsCompletedWhenItsEndCameLate) {
  respond(1004.0, query());
  finish(1013.5, query());
  EXPECT_EQ(takeLogs(warnLevel),
            Texts{R"(Long running query completed: request 0 "GET /p" completed after 13.500000 seconds)"});
}

TEST_F(LongRunningTest, IsNotReportedAsCompletedWhenItWasQuick) {
  respond(1004.0, query());
  finish(1013.0, query());
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
}

TEST_F(LongRunningTest, IsReportedAsCompletedWithoutAnyResponseByTheClocksReading) {
  finish(1000.0, Tracked(0));
  EXPECT_EQ(takeLogs(warnLevel),
            Texts{R"(Long running query completed: request 0 "GET /p" completed after 0.000000 seconds)"});
  finish(10.0, Tracked(1).startedAt(9.0));
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
}

TEST_F(LongRunningTest, IsNotReportedAtAllWithAThresholdOfZero) {
  configure(R"({"latencySecsLogThreshold": 0, "batchLatencySecsThreshold": 0})");
  respond(2000.0, query());
  respond(9000.0, query());
  finish(9000.0, query());
  finish(9000.0, Tracked(1));
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
}

struct ProgressCase {
  const char* name;
  const char* metadata;
  const char* text;
};

void PrintTo(const ProgressCase& each, std::ostream* out) {
  *out << each.name;
}

class ProgressTest : public LatencyTest, public testing::WithParamInterface<ProgressCase> {
 protected:
  Tracked query() {
    Tracked request = Tracked(0);
    const boost::json::value entries = parseJson(GetParam().metadata);
    for (const auto& entry : entries.as_object()) {
      if (entry.key() == "queryString") {
        request.http("queryString", textOf(entry.value()));
      } else {
        request.metadata(std::string(entry.key()), textOf(entry.value()));
      }
    }
    return request;
  }
};

TEST_P(ProgressTest, ShowsInTheReport) {
  respond(1011.0, query());
  const std::string line = takeLogs(warnLevel).at(0);
  const std::string head = " seconds was queue time), with ";
  EXPECT_EQ(line.substr(line.find(head) + head.size()), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ProgressTest,
    testing::Values(
        ProgressCase{"NoQuery", "{}", " totalPages=1 and pageSize=0"},
        ProgressCase{"NoQueryThoughSimple", R"({"simpleQuery": true, "pagesLeft": 4})", " totalPages=1 and pageSize=0"},
        ProgressCase{"EmptyQuery", R"({"queryString": {}})", " totalPages=1 and pageSize=0"},
        ProgressCase{"PageSizeAsText", R"({"queryString": {"pageSize": "100"}})", " totalPages=1 and pageSize=100"},
        ProgressCase{"CurrentPage", R"({"queryString": {"pageSize": "100", "currentPage": "3"}, "totalPages": 9})",
                     "currentPage=3, totalPages=9 and pageSize=100"},
        ProgressCase{"PagesLeftIsNotShownOfAnOrdinaryQuery", R"({"queryString": {"currentPage": "3"}, "pagesLeft": 4})",
                     "currentPage=3, totalPages=1 and pageSize=0"},
        ProgressCase{"PagesLeft",
                     R"({"queryString": {"pageSize": "5", "currentPage": "3"}, "simpleQuery": true, "pagesLeft": 4})",
                     "pagesLeft=4, totalPages=1 and pageSize=5"},
        ProgressCase{"SimpleQueryByTheKeyAlone",
                     R"({"queryString": {"currentPage": "3"}, "simpleQuery": false, "pagesLeft": "many"})",
                     "pagesLeft=many, totalPages=1 and pageSize=0"},
        ProgressCase{"CurrentPageIsNotShownOfASimpleQuery",
                     R"({"queryString": {"currentPage": "3"}, "simpleQuery": true})", " totalPages=1 and pageSize=0"}),
    [](const auto& row) { return row.param.name; });

TEST_F(LongRunningTest, ShowsTheProgressOfAQueryThatGoesOn) {
  const Tracked request = query().metadata("totalPages", "9").http("queryString", R"({"currentPage": "2"})");
  respond(1014.0, request);
  takeLogs(warnLevel);
  respond(1045.0, request);
  EXPECT_EQ(takeLogs(warnLevel),
            Texts{"Long running query in-progress: request 0 in batch 1 has been running for 45.000000 seconds (of "
                  "which 3.000000 seconds was queue time), with currentPage=2, totalPages=9, pageSize=0, "
                  R"(requestDetails="GET /p?currentPage=2")"});
}

// Long-running batches

TEST_F(LatencyTest, ReportsABatchAboveItsThreshold) {
  configure(R"({"latencySecsLogThreshold": 0})");
  respond(1050.5, Tracked(0).sent(1003.0));
  codec->metrics.markBatchSent();
  finish(1050.5, Tracked(0));
  EXPECT_EQ(TestHost::logs(warnLevel).at(0).format,
            "<%s> Long running batch: batch %I64d \"%s\" completed after %f seconds (of which %f seconds was queue "
            "time)");
  EXPECT_EQ(takeLogs(warnLevel), Texts{R"(Long running batch: batch 1 "GET /p" completed after 50.500000 seconds (of )"
                                       "which 3.000000 seconds was queue time)"});
}

TEST_F(LatencyTest, DoesNotReportABatchAtItsThreshold) {
  configure(R"({"latencySecsLogThreshold": 0})");
  respond(1050.0, Tracked(0));
  codec->metrics.markBatchSent();
  finish(1050.0, Tracked(0));
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
}

TEST_F(LatencyTest, ReportsNoBatchWithAThresholdOfZero) {
  configure(R"({"latencySecsLogThreshold": 0, "batchLatencySecsThreshold": 0})");
  respond(9000.0, Tracked(0));
  codec->metrics.markBatchSent();
  finish(9000.0, Tracked(0));
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
}

TEST_F(LatencyTest, MeasuresABatchFromItsOpeningAndItsFirstSentTime) {
  configure(R"({"latencySecsLogThreshold": 0})");
  Message second;
  codec->metrics.startRequest(second);
  codec->metrics.markBatchSent();
  respond(1002.0, Tracked(0).sent(1001.0));
  finish(1002.0, Tracked(0));
  respond(1070.0, Tracked(1).startedAt(1060.0).sent(1065.0));
  finish(1070.0, Tracked(1).startedAt(1060.0));
  EXPECT_EQ(takeLogs(warnLevel), Texts{R"(Long running batch: batch 1 "GET /p" completed after 70.000000 seconds (of )"
                                       "which 1.000000 seconds was queue time)"});
}

}  // namespace
}  // namespace tests
