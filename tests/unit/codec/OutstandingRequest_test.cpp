#include "codec/OutstandingRequest.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <utility>

#include "tests/unit/codec/CodecParts.h"

namespace tests {
namespace {

class OutstandingRequestTest : public testing::Test {
 protected:
  OutstandingRequestTest() {
    codec.handler.onFinished = [this](Message&) {
      ++finishings;
      if (failing) failing();
    };
  }

  OutstandingRequest record(std::string_view metadata = R"({"requestId": 1})", std::string_view payload = "null") {
    return OutstandingRequest(messageFromJson(metadata, payload), codec.handler);
  }

  CodecParts codec;
  int finishings = 0;
  std::function<void()> failing;
};

TEST_F(OutstandingRequestTest, RunsTheFinishingStepAtItsEnd) {
  {
    const OutstandingRequest request = record();
    EXPECT_EQ(finishings, 0);
  }
  EXPECT_EQ(finishings, 1);
}

TEST_F(OutstandingRequestTest, GivesItselfToTheFinishingStep) {
  const Message* seen = nullptr;
  codec.handler.onFinished = [&](Message& request) { seen = &request; };
  auto request = std::make_unique<OutstandingRequest>(record());
  const Message* address = request.get();
  request.reset();
  EXPECT_EQ(seen, address);
}

TEST_F(OutstandingRequestTest, FinishesOnceHoweverOftenItIsMoved) {
  {
    OutstandingRequest first = record(R"({"requestId": 1})", "[2]");
    OutstandingRequest second = std::move(first);
    const OutstandingRequest third = std::move(second);
    EXPECT_EQ(toJson(first), R"({"metadata":{},"payload":null})");
    EXPECT_EQ(toJson(third), R"({"metadata":{"requestId":1},"payload":[2]})");
  }
  EXPECT_EQ(finishings, 1);
}

TEST_F(OutstandingRequestTest, FinishesNothingWhenItsMessageWasGivenAway) {
  Message taken;
  {
    OutstandingRequest request = record();
    taken = std::move(static_cast<Message&>(request));
  }
  EXPECT_EQ(finishings, 0);
}

TEST_F(OutstandingRequestTest, IsEmptyOnlyWithoutPayloadAndWithoutMetadata) {
  record("{}", "null");
  EXPECT_EQ(finishings, 0);
  record("{}", "1");
  EXPECT_EQ(finishings, 1);
  record(R"({"a": 1})", "null");
  EXPECT_EQ(finishings, 2);
  record("{}", "{}");
  EXPECT_EQ(finishings, 3);
}

TEST_F(OutstandingRequestTest, IsEmptyWithAMetadataBlockThatHoldsNothing) {
  {
    OutstandingRequest request = record(R"({"requestId": 1})");
    request.getMetadataMap().erase(data_t("requestId"));
  }
  EXPECT_EQ(finishings, 0);
}

TEST_F(OutstandingRequestTest, WritesALineWhenTheFinishingStepFails) {
  failing = [] { throw std::runtime_error("x"); };
  record();
  EXPECT_EQ(TestHost::logs(errorLevel).at(0).format,
            "<%s> Exception during finishedHandling in OutstandingRequest finalization: %s");
  EXPECT_EQ(takeLogs(errorLevel), Texts{"Exception during finishedHandling in OutstandingRequest finalization: x"});
}

TEST_F(OutstandingRequestTest, LetsOutNothingThatIsNoStandardException) {
  failing = [] { throw 7; };
  EXPECT_NO_THROW(record());
  EXPECT_EQ(finishings, 1);
  EXPECT_EQ(takeLogs(errorLevel), Texts{});
}

TEST_F(OutstandingRequestTest, LetsOutNothingWhenTheLineCannotBeWritten) {
  failing = [] { throw std::runtime_error("x"); };
  for (const auto& thrower :
       {std::function<void()>([] { throw std::runtime_error("no log"); }), std::function<void()>([] { throw 7; })}) {
    TestHost::throwFrom(HostCall::qel_log_at, thrower);
    EXPECT_NO_THROW(record());
  }
  TestHost::throwFrom(HostCall::qel_log_at, nullptr);
  EXPECT_EQ(finishings, 2);
}

TEST_F(OutstandingRequestTest, FinishesWhileAnExceptionPasses) {
  EXPECT_EQ(thrownBy([&] {
              const OutstandingRequest request = record();
              throw std::runtime_error("passing");
            }),
            "passing");
  EXPECT_EQ(finishings, 1);
}

TEST_F(OutstandingRequestTest, KeepsThePassingExceptionWhenTheFinishingStepFailsToo) {
  failing = [] { throw std::runtime_error("x"); };
  EXPECT_EQ(thrownBy([&] {
              const OutstandingRequest request = record();
              throw std::runtime_error("passing");
            }),
            "passing");
  EXPECT_EQ(takeLogs(errorLevel), Texts{"Exception during finishedHandling in OutstandingRequest finalization: x"});
}

// By the handler's own step

TEST_F(OutstandingRequestTest, CannotFinishARequestWithoutMetrics) {
  codec.handler.onFinished = nullptr;
  record();
  EXPECT_EQ(takeLogs(errorLevel),
            Texts{"Exception during finishedHandling in OutstandingRequest finalization: Element not in map"});
}

}  // namespace
}  // namespace tests
