// The lines of RequestMetrics on long-running requests and batches.
#include <gtest/gtest.h>

#include <string>

#include "tests/unit/codec/LatencyTest.h"

namespace tests {
namespace {

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
  respond(1026.0, query().sent(1025.0));
  finish(1026.0, query());
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

class LongRunningBatchTest : public LatencyTest {};

TEST_F(LongRunningBatchTest, IsReportedAboveItsThreshold) {
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

TEST_F(LongRunningBatchTest, IsNotReportedAtItsThreshold) {
  configure(R"({"latencySecsLogThreshold": 0})");
  respond(1050.0, Tracked(0));
  codec->metrics.markBatchSent();
  finish(1050.0, Tracked(0));
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
}

TEST_F(LongRunningBatchTest, IsNotReportedWithAThresholdOfZero) {
  configure(R"({"latencySecsLogThreshold": 0, "batchLatencySecsThreshold": 0})");
  respond(9000.0, Tracked(0));
  codec->metrics.markBatchSent();
  finish(9000.0, Tracked(0));
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
}

TEST_F(LongRunningBatchTest, IsMeasuredFromItsOpeningAndItsFirstSentTime) {
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
