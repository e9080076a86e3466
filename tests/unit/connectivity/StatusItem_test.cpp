#include "connectivity/StatusItem.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "connectivity/StatusReporter.h"
#include "tests/support/TestHost.h"
#include "tests/unit/connectivity/failure.h"

namespace tests {
namespace {

using com::tallowmere::connectivity10_15_4::StatusItem;
using com::tallowmere::connectivity10_15_4::StatusReporter;
using History = std::vector<std::pair<std::string, std::string>>;
using Items = std::map<std::string, std::string>;

class StatusItemTest : public testing::Test {
 protected:
  int handle = 0;
  StatusReporter reporter{&handle};
};

TEST_F(StatusItemTest, IsMadeWithItsText) {
  const auto item = reporter.createStatusItem("key", "initial");
  EXPECT_EQ(TestHost::createdStatusItems(), (History{{"key", "initial"}}));
  EXPECT_EQ(item->getNumber(), 0);
}

TEST_F(StatusItemTest, IsMadeWithItsNumber) {
  const auto item = reporter.createStatusItem("key", -12);
  EXPECT_EQ(TestHost::createdStatusItems(), (History{{"key", "-12"}}));
  EXPECT_EQ(item->getNumber(), -12);
}

TEST_F(StatusItemTest, IsMadeWithTheLowestAndHighestNumber) {
  const auto lowest = reporter.createStatusItem("lowest", INT64_MIN);
  const auto highest = reporter.createStatusItem("highest", INT64_MAX);
  EXPECT_EQ(TestHost::statusItems(), (Items{{"highest", "9223372036854775807"}, {"lowest", "-9223372036854775808"}}));
}

TEST_F(StatusItemTest, PublishesANewText) {
  const auto item = reporter.createStatusItem("key", "initial");
  item->setStatus("new");
  EXPECT_EQ(TestHost::statusHistory(), (History{{"key", "new"}}));
  EXPECT_EQ(TestHost::statusItems(), (Items{{"key", "new"}}));
}

TEST_F(StatusItemTest, PublishesANewNumber) {
  const auto item = reporter.createStatusItem("key", 1);
  item->setStatus(-7);
  item->setStatus(INT64_MIN);
  EXPECT_EQ(TestHost::statusHistory(), (History{{"key", "-7"}, {"key", "-9223372036854775808"}}));
  EXPECT_EQ(item->getNumber(), INT64_MIN);
}

TEST_F(StatusItemTest, KeepsItsNumberWhenATextIsSet) {
  const auto item = reporter.createStatusItem("key", 1);
  item->setStatus("text");
  EXPECT_EQ(item->getNumber(), 1);
}

TEST_F(StatusItemTest, CallsTheHostOnceForTheSameTextTwice) {
  const auto item = reporter.createStatusItem("key", "initial");
  item->setStatus("same");
  item->setStatus("same");
  EXPECT_EQ(TestHost::calls(HostCall::qel_set_user_status_item), 1u);
}

TEST_F(StatusItemTest, CallsTheHostForAnEarlierTextThatComesBack) {
  const auto item = reporter.createStatusItem("key", "a");
  item->setStatus("b");
  item->setStatus("a");
  EXPECT_EQ(TestHost::statusHistory(), (History{{"key", "b"}, {"key", "a"}}));
}

TEST_F(StatusItemTest, DoesNotCallTheHostForItsInitialValue) {
  const auto words = reporter.createStatusItem("words", "initial");
  const auto number = reporter.createStatusItem("number", 5);
  words->setStatus("initial");
  number->setStatus(5);
  EXPECT_EQ(TestHost::calls(HostCall::qel_set_user_status_item), 0u);
}

TEST_F(StatusItemTest, StoresANumberWhoseTextIsThereAlready) {
  const auto item = reporter.createStatusItem("key", "initial");
  item->setStatus("5");
  item->setStatus(5);
  EXPECT_EQ(TestHost::calls(HostCall::qel_set_user_status_item), 1u);
  EXPECT_EQ(item->getNumber(), 5);
}

TEST_F(StatusItemTest, IsDeletedWithItsObject) {
  auto item = reporter.createStatusItem("key", "initial");
  item.reset();
  EXPECT_EQ(TestHost::calls(HostCall::qel_delete_user_status_item), 1u);
  EXPECT_TRUE(TestHost::statusItems().empty());
  EXPECT_NE(reporter.createStatusItem("key", "again"), nullptr);
}

TEST_F(StatusItemTest, RefusesAKeyThatTheHostHoldsAlready) {
  const auto item = reporter.createStatusItem("the key", "initial");
  EXPECT_EQ(failureOf([&] { reporter.createStatusItem("the key", "other"); }),
            "Failed to create status item 'the key' (ensure the key is unique and that this plug-in has not been "
            "shutdown already)");
  EXPECT_EQ(failureOf([&] { reporter.createStatusItem("the key", 1); }),
            "Failed to create status item 'the key' (ensure the key is unique and that this plug-in has not been "
            "shutdown already)");
  EXPECT_EQ(TestHost::statusItems(), (Items{{"the key", "initial"}}));
}

TEST_F(StatusItemTest, DeletesNothingWhenItCouldNotBeMade) {
  TestHost::refuseStatusItem("key");
  failureOf([&] { reporter.createStatusItem("key", "initial"); });
  EXPECT_EQ(TestHost::calls(HostCall::qel_delete_user_status_item), 0u);
}

TEST_F(StatusItemTest, LetsNothingOutOfItsDestructor) {
  auto item = reporter.createStatusItem("key", "initial");
  TestHost::throwFrom(HostCall::qel_delete_user_status_item, [] { throw std::runtime_error("gone"); });
  item.reset();
  EXPECT_EQ(TestHost::calls(HostCall::qel_delete_user_status_item), 1u);
  TestHost::dropStatusItems();
}

TEST_F(StatusItemTest, CanBeSetAgainAfterAFailureOfTheHost) {
  const auto item = reporter.createStatusItem("key", "initial");
  TestHost::throwFrom(HostCall::qel_set_user_status_item, [] { throw std::runtime_error("busy"); });
  EXPECT_EQ(failureOf([&] { item->setStatus("lost"); }), "busy");
  TestHost::throwFrom(HostCall::qel_set_user_status_item, nullptr);
  item->setStatus("new");
  EXPECT_EQ(TestHost::statusItems(), (Items{{"key", "new"}}));
}

TEST_F(StatusItemTest, LeavesTheHostWithTheTextThatWasSetLast) {
  const auto item = reporter.createStatusItem("key", "initial");
  const auto count = [&](std::int64_t from) {
    for (std::int64_t number = from; number < from + 500; ++number) item->setStatus(number);
  };
  std::thread one(count, 1000), other(count, 5000);
  one.join();
  other.join();
  EXPECT_EQ(TestHost::statusHistory().size(), 1000u);
  EXPECT_EQ(TestHost::statusItems(), (Items{{"key", std::to_string(item->getNumber())}}));
}

}  // namespace
}  // namespace tests
