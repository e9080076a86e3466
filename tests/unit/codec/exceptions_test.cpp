#include "codec/exceptions.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "tests/support/product_values.h"

namespace tests {
namespace {

using namespace com::tallowmere::connectivity::plugins;

static_assert(std::is_base_of_v<std::exception, NoTypeFound>);
static_assert(std::is_base_of_v<std::exception, NoRequestFound>);
static_assert(std::is_base_of_v<std::exception, DropMessage>);
static_assert(std::is_base_of_v<std::exception, BatchingNotSupported>);

TEST(ExceptionsTest, NoTypeFoundShowsTheMessageAndTakesItOver) {
  Message message = messageFromJson(R"({"a": 1})", "[2, 3]");
  const NoTypeFound failure(std::move(message));
  EXPECT_STREQ(failure.what(), "Dropping [{a:1} / [2,3]] with no qel.type");
  EXPECT_EQ(toJson(message), R"({"metadata":{},"payload":null})");
}

TEST(ExceptionsTest, NoRequestFoundShowsTheResponseAndTakesItOver) {
  Message response = messageFromJson(R"({"requestId": 5})", "null");
  const NoRequestFound failure(std::move(response));
  EXPECT_STREQ(failure.what(), "Could not find a request matching response {requestId:5} / (null)");
  EXPECT_EQ(toJson(response), R"({"metadata":{},"payload":null})");
}

TEST(ExceptionsTest, DropMessageShowsTheMessageAndTheReasonAndLeavesTheMessage) {
  const Message message = messageFromJson("{}", R"("body")");
  EXPECT_STREQ(DropMessage("payload is not a map", message).what(), "Dropping [{} / body] as payload is not a map");
  EXPECT_EQ(toJson(message), R"({"metadata":{},"payload":"body"})");
}

TEST(ExceptionsTest, BatchingNotSupportedHasAFixedText) {
  EXPECT_STREQ(BatchingNotSupported().what(), "Batching not supported for these messages: ");
}

}  // namespace
}  // namespace tests
