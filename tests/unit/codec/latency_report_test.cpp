// The latency side of RequestMetrics: status items and averages.
#include <gtest/gtest.h>

#include <regex>

#include "tests/unit/codec/LatencyTest.h"

namespace tests {
namespace {

using History = std::vector<std::pair<std::string, std::string>>;

constexpr const char* maxMillis = "c1.MarlovanceCodec.maxLatencyInLastHourMillis";
constexpr const char* maxDetails = "c1.MarlovanceCodec.maxLatencyInLastHourDetails";
constexpr const char* slowDetails = "c1.MarlovanceCodec.mostRecentSlowRequestDetails";
constexpr const char* shortMillis = "c1.MarlovanceCodec.requestLatencyEWMAShortMillis";
constexpr const char* longMillis = "c1.MarlovanceCodec.requestLatencyEWMALongMillis";

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
  EXPECT_EQ(complaintAboutResponse(1000.5, Tracked(1).metadata("http", "{}")), "nothing thrown");
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

}  // namespace
}  // namespace tests
