#include "codec/OutstandingRequests.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "codec/exceptions.h"
#include "tests/unit/codec/CodecParts.h"

namespace tests {
namespace {

class OutstandingRequestsTest : public testing::Test {
 protected:
  OutstandingRequestsTest() {
    codec.handler.onFinished = [](Message&) {};
  }

  void add(std::int64_t id, const char* payload = "null") {
    codec.outstanding.add(messageFromJson(R"({"requestId": )" + std::to_string(id) + "}", payload), codec.handler);
  }

  /// The complaint about a response with that metadata, of type `Failure`.
  template <class Failure>
  std::string complaintAbout(std::string_view metadata) {
    Message answer = messageFromJson(metadata, "null");
    try {
      codec.outstanding.take(answer);
    } catch (const Failure& failure) {
      left = toJson(answer);
      return failure.what();
    }
    return "nothing thrown";
  }

  CodecParts codec;
  std::string left;
};

TEST_F(OutstandingRequestsTest, FindsARequestByItsId) {
  add(3, "30");
  add(1, "10");
  add(2, "20");
  EXPECT_EQ(toJson(codec.take(2)), R"({"metadata":{"requestId":2},"payload":20})");
  EXPECT_EQ(codec.outstanding.size(), 2u);
  EXPECT_EQ(toJson(codec.take(3)), R"({"metadata":{"requestId":3},"payload":30})");
  EXPECT_EQ(toJson(codec.take(1)), R"({"metadata":{"requestId":1},"payload":10})");
  EXPECT_EQ(codec.outstanding.size(), 0u);
}

TEST_F(OutstandingRequestsTest, LeavesTheResponseAloneWhenItHasARequest) {
  add(1);
  Message answer = messageFromJson(R"({"requestId": 1, "a": 2})", "[3]");
  codec.outstanding.take(answer);
  EXPECT_EQ(toJson(answer), R"({"metadata":{"a":2,"requestId":1},"payload":[3]})");
}

TEST_F(OutstandingRequestsTest, FinishesNothingByTaking) {
  add(1);
  const OutstandingRequest request = codec.take(1);
  EXPECT_TRUE(codec.handler.finished.empty());
}

TEST_F(OutstandingRequestsTest, KeepsTheFirstOfTwoRequestsWithOneId) {
  add(1, R"("first")");
  add(1, R"("second")");
  EXPECT_EQ(codec.outstanding.size(), 1u);
  EXPECT_TRUE(codec.handler.finished.empty());
  EXPECT_EQ(toJson(codec.take(1)), R"({"metadata":{"requestId":1},"payload":"first"})");
}

TEST_F(OutstandingRequestsTest, NeedsARequestIdToRecordARequest) {
  EXPECT_EQ(thrownBy([&] { codec.outstanding.add(messageFromJson("{}", "1"), codec.handler); }), "Element not in map");
}

TEST_F(OutstandingRequestsTest, FindsNoRequestForAResponseWithoutAnId) {
  add(1);
  EXPECT_EQ(complaintAbout<NoRequestFound>("{}"), "Could not find a request matching response {} / (null)");
  EXPECT_EQ(codec.outstanding.size(), 1u);
}

TEST_F(OutstandingRequestsTest, FindsNoRequestForAnIdThatIsNotRecordedAndTakesTheResponseOver) {
  add(1);
  EXPECT_EQ(complaintAbout<NoRequestFound>(R"({"requestId": 2})"),
            "Could not find a request matching response {requestId:2} / (null)");
  EXPECT_EQ(left, R"({"metadata":{},"payload":null})");
  EXPECT_EQ(complaintAbout<NoRequestFound>(R"({"requestId": -1})"),
            "Could not find a request matching response {requestId:-1} / (null)");
}

TEST_F(OutstandingRequestsTest, FindsARequestOnceOnly) {
  add(1);
  codec.take(1);
  EXPECT_EQ(complaintAbout<NoRequestFound>(R"({"requestId": 1})"),
            "Could not find a request matching response {requestId:1} / (null)");
}

TEST_F(OutstandingRequestsTest, NeedsAnIntegerAsId) {
  add(1);
  EXPECT_EQ(complaintAbout<std::runtime_error>(R"({"requestId": "1"})"),
            "Incorrect type in get (you asked for integer but it's actually string)");
  EXPECT_EQ(left, R"({"metadata":{"requestId":"1"},"payload":null})");
  EXPECT_EQ(complaintAbout<std::runtime_error>(R"({"requestId": 1.0})"),
            "Incorrect type in get (you asked for integer but it's actually double)");
  EXPECT_EQ(complaintAbout<std::runtime_error>(R"({"requestId": null})"), "Get from empty");
  EXPECT_EQ(codec.outstanding.size(), 1u);
}

TEST_F(OutstandingRequestsTest, StaysUsableAfterAFailure) {
  add(1);
  complaintAbout<std::runtime_error>(R"({"requestId": "1"})");
  complaintAbout<NoRequestFound>(R"({"requestId": 2})");
  EXPECT_EQ(toJson(codec.take(1)), R"({"metadata":{"requestId":1},"payload":null})");
}

TEST_F(OutstandingRequestsTest, FinishesAllInAscendingOrderOfIds) {
  for (const std::int64_t id : {5, 11, 2, 100, -3, 9}) add(id);
  codec.outstanding.finishAll();
  EXPECT_EQ(codec.handler.finished, (std::vector<std::int64_t>{-3, 2, 5, 9, 11, 100}));
  EXPECT_EQ(codec.outstanding.size(), 0u);
}

TEST_F(OutstandingRequestsTest, FinishesTheOthersWhenOneFails) {
  codec.handler.onFinished = [](Message&) { throw std::runtime_error("x"); };
  add(1);
  add(2);
  codec.outstanding.finishAll();
  EXPECT_EQ(codec.handler.finished, (std::vector<std::int64_t>{1, 2}));
  EXPECT_EQ(takeLogs(errorLevel), Texts(2, "Exception during finishedHandling in OutstandingRequest finalization: x"));
}

TEST_F(OutstandingRequestsTest, HoldsNoLockDuringAFinishingStep) {
  codec.handler.onFinished = [&](Message&) { EXPECT_EQ(codec.outstanding.size(), 0u); };
  add(1);
  codec.outstanding.finishAll();
  EXPECT_EQ(codec.handler.finished.size(), 1u);
}

}  // namespace
}  // namespace tests
