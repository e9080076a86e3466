#include "connectivity/Message.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/TestHost.h"
#include "tests/unit/connectivity/failure.h"
#include "tests/unit/connectivity/made_values.h"

namespace tests {
namespace {

using product::data_t;
using product::map_t;
using product::Message;

constexpr const char* nonStringKey = "Cannot use non-string keys into metadata";

TEST(MessageTest, HasNeitherPayloadNorMetadataByDefault) {
  TestHost::forgetCalls();
  const Message message;
  EXPECT_TRUE(message.getPayload().empty());
  EXPECT_EQ(message.getMetadataMap().header(), nullptr);
  EXPECT_EQ(TestHost::calls(HostCall::qel_allocate_map), 0u);
}

TEST(MessageTest, IsAMemberOfABatchWhenMadeByDefault) {
  Message batch[3];
  batch[1] = messageFromJson(R"({"k": 1})", "2");
  std::vector<std::string> seen;
  for (const Message& message : batch) seen.push_back(toJson(message));
  EXPECT_EQ(seen, (std::vector<std::string>{R"({"metadata":{},"payload":null})", R"({"metadata":{"k":1},"payload":2})",
                                            R"({"metadata":{},"payload":null})"}));
}

TEST(MessageTest, TakesItsPartsOver) {
  data_t payload("words");
  map_t metadata = mapFromJson(R"({"k": 1})");
  const map_header* block = metadata.header();
  const Message message(std::move(payload), std::move(metadata));
  EXPECT_EQ(toJson(message), R"({"metadata":{"k":1},"payload":"words"})");
  EXPECT_EQ(message.getMetadataMap().header(), block);
  EXPECT_TRUE(payload.empty());
  EXPECT_EQ(metadata.header(), nullptr);
}

TEST(MessageTest, HasNoMetadataWhenMadeOfAPayload) {
  const Message message(text("words"));
  EXPECT_STREQ(message.getPayload().get<const char*>(), "words");
  EXPECT_EQ(message.getMetadataMap().header(), nullptr);
}

TEST(MessageTest, LeavesAnEmptyMessageWhenMoved) {
  Message source = messageFromJson(R"({"k": 1})", "[2]");
  Message target(std::move(source));
  EXPECT_TRUE(source.getPayload().empty());
  EXPECT_EQ(source.getMetadataMap().header(), nullptr);
  Message last = messageFromJson(R"({"old": "x"})", R"("old")");
  last = std::move(target);
  EXPECT_TRUE(target.getPayload().empty());
  EXPECT_EQ(target.getMetadataMap().header(), nullptr);
  EXPECT_EQ(toJson(last), R"({"metadata":{"k":1},"payload":[2]})");
}

TEST(MessageTest, ReplacesItsPayload) {
  Message message = messageFromJson(R"({"k": 1})", R"({"old": "x"})");
  message.setPayload(text("new"));
  EXPECT_EQ(toJson(message), R"({"metadata":{"k":1},"payload":"new"})");
}

TEST(MessageTest, ReplacesItsPayloadByAPartOfIt) {
  Message message = messageFromJson("{}", R"({"inner": [1]})");
  message.setPayload(std::move(message.getPayload().get<map_t>().find("inner")->second));
  EXPECT_EQ(toJson(message.getPayload()), "[1]");
}

TEST(MessageTest, GivesItsPartsByReference) {
  Message message;
  message.getPayload() = true;
  message.getMetadataMap()["k"] = "v";
  EXPECT_EQ(toJson(std::as_const(message)), R"({"metadata":{"k":"v"},"payload":true})");
  EXPECT_EQ(&std::as_const(message).getMetadataMap(), &message.getMetadataMap());
  EXPECT_EQ(&std::as_const(message).getPayload(), &message.getPayload());
}

TEST(MessageTest, IsCopiedDeeply) {
  Message message = messageFromJson(R"({"$name": "n", "$map": {"k": [1]}})", R"({"a": [2]})");
  const Message copy = message.copy();
  message.getPayload() = false;
  message.getMetadataMap()["more"] = true;
  EXPECT_EQ(toJson(copy), R"({"metadata":{"$map":{"k":[1]},"$name":"n"},"payload":{"a":[2]}})");
}

TEST(MessageTest, IsCopiedWithoutMetadata) {
  const Message copy = Message(integer(1)).copy();
  EXPECT_EQ(copy.getMetadataMap().header(), nullptr);
  EXPECT_EQ(toJson(copy.getPayload()), "1");
}

TEST(MessageTest, FreesItsMetadataThenItsPayload) {
  std::vector<std::string> order;
  {
    const Message message = messageFromJson(R"({"k": 1})", "[1]");
    TestHost::throwFrom(HostCall::qel_free_map, [&] { order.push_back("metadata"); });
    TestHost::throwFrom(HostCall::qel_free_vector, [&] { order.push_back("payload"); });
  }
  TestHost::throwFrom(HostCall::qel_free_map, nullptr);
  TestHost::throwFrom(HostCall::qel_free_vector, nullptr);
  EXPECT_EQ(order, (std::vector<std::string>{"metadata", "payload"}));
}

TEST(MessageTest, FreesItsPayloadThoughTheFreeOfItsMetadataThrows) {
  // In a process of its own, which ends early when the failure stands in the way.
  const auto freeBoth = [] {
    try {
      const Message message = messageFromJson(R"({"k": 1})", "[1]");
      TestHost::forgetCalls();
      TestHost::throwFrom(HostCall::qel_free_map, [] { throw std::runtime_error("no free"); });
    } catch (const std::runtime_error&) {
    }
    const auto frees = TestHost::calls(HostCall::qel_free_map) + 10 * TestHost::calls(HostCall::qel_free_vector);
    std::_Exit(static_cast<int>(frees));
  };
  EXPECT_EXIT(freeBoth(), testing::ExitedWithCode(11), "");
}

// ---- metadata values

TEST(MessageMetadataTest, IsPutInChains) {
  Message message;
  Message& same = message.putMetadataValue("a", integer(1)).putMetadataValue("b", text("two"));
  EXPECT_EQ(&same, &message);
  EXPECT_EQ(toJson(message), R"({"metadata":{"a":1,"b":"two"},"payload":null})");
}

TEST(MessageMetadataTest, GetsItsBlockOfEightWithTheFirstValue) {
  Message message;
  TestHost::forgetCalls();
  message.putMetadataValue("a", true);
  EXPECT_EQ(TestHost::arguments(HostCall::qel_allocate_map), (std::vector<std::uint64_t>{8}));
  EXPECT_EQ(message.getMetadataMap().header()->capacity, 8u);
}

TEST(MessageMetadataTest, ReplacesAndFreesAnEarlierValue) {
  const std::int64_t customsBefore = TestHost::liveBlocks().customs;
  Message message;
  message.putMetadataValue("a", custom()).putMetadataValue("a", text("new"));
  EXPECT_EQ(toJson(message.getMetadataMap()), R"({"a":"new"})");
  EXPECT_EQ(TestHost::liveBlocks().customs, customsBefore);
}

TEST(MessageMetadataTest, StoresOwnedKeys) {
  Message message;
  message.putMetadataValue("a", true);
  EXPECT_EQ(message.getMetadataMap().begin()->first.view().tag, QEL_STRING);
}

TEST(MessageMetadataTest, RefusesKeysThatAreNoStrings) {
  Message message = messageFromJson(R"({"k": 1})", "2");
  EXPECT_EQ(failureOf([&] { message.putMetadataValue(integer(1), true); }), nonStringKey);
  EXPECT_EQ(failureOf([&] { message.putMetadataValue(data_t(), true); }), nonStringKey);
  EXPECT_EQ(failureOf([&] { message.putMetadataValue(custom(), true); }), nonStringKey);
  EXPECT_EQ(failureOf([&] { message.putMetadataValue(withTag(11), true); }), nonStringKey);
  EXPECT_EQ(toJson(message), R"({"metadata":{"k":1},"payload":2})");
}

TEST(MessageMetadataTest, MakesNoBlockForARefusedKey) {
  Message message;
  EXPECT_EQ(failureOf([&] { message.putMetadataValue(integer(1), true); }), nonStringKey);
  EXPECT_EQ(message.getMetadataMap().header(), nullptr);
}

TEST(MessageMetadataTest, DestroysTheValueOfARefusedKey) {
  const std::int64_t customsBefore = TestHost::liveBlocks().customs;
  Message message;
  data_t value = custom();
  EXPECT_EQ(failureOf([&] { message.putMetadataValue(integer(1), std::move(value)); }), nonStringKey);
  EXPECT_EQ(TestHost::liveBlocks().customs, customsBefore);
}

TEST(MessageMetadataTest, TakesABorrowedKeyThatNoOwnedKeyReaches) {
  Message message;
  message.putMetadataValue(borrowed("qel.type"), text("Event"));
  const map_t& metadata = message.getMetadataMap();
  EXPECT_EQ(metadata.begin()->first.view().tag, QEL_BORROWED_STRING);
  EXPECT_TRUE(metadata.find("qel.type") == metadata.end());
  EXPECT_STREQ(metadata.at(borrowed("qel.type")).get<const char*>(), "Event");
}

TEST(MessageMetadataTest, IsReadByTheKeysOfTheFrame) {
  Message message;
  message.putMetadataValue(product::HOST_MESSAGE_TYPE, integer(1));
  message.putMetadataValue(product::HOST_MESSAGE_CHANNEL, integer(2));
  message.putMetadataValue(product::HOST_MESSAGE_CONTROL_OBJECT, data_t());
  EXPECT_EQ(toJson(message.getMetadataMap()), R"({"qel.channel":2,"qel.controlObject":null,"qel.type":1})");
  EXPECT_EQ(failureOf([&] { return std::as_const(message).getMetadataMap().at("absent").type(); }),
            "Element not in map");
}

}  // namespace
}  // namespace tests
