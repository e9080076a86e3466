#include "connectivity/list_t.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/Environment.h"
#include "tests/support/TestHost.h"
#include "tests/unit/connectivity/failure.h"
#include "tests/unit/connectivity/made_values.h"

namespace tests {
namespace {

using product::data_t;
using product::list_t;
using Numbers = std::vector<std::uint64_t>;

constexpr const char* outOfBounds = "Out of bounds";
constexpr const char* invalidated = "Iterator invalidated by modifying list";
constexpr const char* theSwitch = "KV_SKIP_DATA_T_ITERATOR_CHECKS";

list_t numbers(std::int64_t count) {
  list_t list;
  for (std::int64_t number = 0; number < count; ++number) list.push_back(integer(number));
  return list;
}

TEST(ListTest, TakesOneOfItsOwnElementsWhenItGrows) {
  list_t list = numbers(2);
  list.push_back(std::move(list[1]));
  EXPECT_EQ(toJson(list), "[0,null,1]");
}

TEST(ListTest, HasNoBlockByDefault) {
  TestHost::forgetCalls();
  const list_t list;
  EXPECT_EQ(list.size(), 0u);
  EXPECT_TRUE(list.empty());
  EXPECT_TRUE(list.begin() == list.end());
  EXPECT_EQ(TestHost::calls(HostCall::qel_allocate_vector), 0u);
}

TEST(ListTest, CopiesTheValuesOfAnInitializerThroughTheHost) {
  TestHost::forgetCalls();
  const list_t list{integer(1), text("two"), listOf(integer(3))};
  EXPECT_EQ(TestHost::calls(HostCall::qel_copy_data), 3u);
  EXPECT_EQ(toJson(list), R"([1,"two",[3]])");
}

TEST(ListTest, IsNullAfterAMove) {
  list_t source = numbers(2);
  const list_t target(std::move(source));
  EXPECT_EQ(toJson(target), "[0,1]");
  EXPECT_TRUE(source.empty());
  EXPECT_TRUE(source.begin() == source.end());
}

TEST(ListTest, FreesItsOldBlockWhenAssigned) {
  list_t source = numbers(2), target = listFromJson(R"(["old"])");
  TestHost::forgetCalls();
  target = std::move(source);
  EXPECT_EQ(TestHost::calls(HostCall::qel_free_vector), 1u);
  EXPECT_EQ(toJson(target), "[0,1]");
  EXPECT_EQ(source.size(), 0u);
}

TEST(ListTest, SurvivesAssignmentToItself) {
  list_t list = numbers(2);
  list_t& same = list;
  list = std::move(same);
  EXPECT_EQ(toJson(list), "[0,1]");
}

// ---- growth

TEST(ListTest, DoublesItsRoomFromTwo) {
  TestHost::forgetCalls();
  const list_t list = numbers(9);
  EXPECT_EQ(TestHost::arguments(HostCall::qel_allocate_vector), (Numbers{2}));
  EXPECT_EQ(TestHost::arguments(HostCall::qel_reallocate_vector), (Numbers{4, 8, 16}));
  EXPECT_EQ(toJson(list), "[0,1,2,3,4,5,6,7,8]");
}

TEST(ListTest, GrowsOnlyWhenItIsFull) {
  list_t list;
  TestHost::forgetCalls();
  list.push_back(integer(0));
  list.push_back(integer(1));
  EXPECT_EQ(TestHost::arguments(HostCall::qel_reallocate_vector), Numbers{});
  list.push_back(integer(2));
  EXPECT_EQ(TestHost::arguments(HostCall::qel_reallocate_vector), (Numbers{4}));
}

TEST(ListTest, GivesABlockWithoutRoomRoomForTwo) {
  data_t value = data_t::adopt(valueOf(qel_allocate_vector(0), QEL_LIST));
  TestHost::takeFaults();  // a host may hold such a block; a plug-in may not ask for it
  TestHost::forgetCalls();
  value.get<list_t>().push_back(integer(1));
  EXPECT_EQ(TestHost::arguments(HostCall::qel_reallocate_vector), (Numbers{2}));
  EXPECT_EQ(toJson(value), "[1]");
}

TEST(ListTest, TakesTheValueOutOfItsSource) {
  list_t list;
  data_t source("text");
  const std::uint64_t block = source.bits();
  list.push_back(std::move(source));
  EXPECT_TRUE(source.empty());
  EXPECT_EQ(list[0].bits(), block);
}

TEST(ListTest, KeepsWhatItHasWhenItCannotGrow) {
  list_t list = numbers(2);
  data_t value("kept");
  TestHost::throwFrom(HostCall::qel_reallocate_vector, [] { throw std::runtime_error("no memory"); });
  EXPECT_EQ(failureOf([&] { list.push_back(std::move(value)); }), "no memory");
  EXPECT_EQ(toJson(value), R"("kept")");
  EXPECT_EQ(failureOf([&] { list.push_back(std::move(list[1])); }), "no memory");
  EXPECT_EQ(toJson(list), "[0,1]");
}

TEST(ListTest, KeepsTheValueWhenThereIsNoBlockForIt) {
  list_t list;
  data_t value("kept");
  TestHost::throwFrom(HostCall::qel_allocate_vector, [] { throw std::runtime_error("no memory"); });
  EXPECT_EQ(failureOf([&] { list.push_back(std::move(value)); }), "no memory");
  EXPECT_EQ(toJson(value), R"("kept")");
  EXPECT_TRUE(list.empty());
}

TEST(ListTest, ReservesAtLeastTwo) {
  TestHost::forgetCalls();
  for (const std::uint64_t n : {0u, 1u, 2u, 3u, 50u}) {
    list_t list;
    list.reserve(n);
    EXPECT_EQ(list.size(), 0u);
  }
  EXPECT_EQ(TestHost::arguments(HostCall::qel_allocate_vector), (Numbers{2, 2, 2, 3, 50}));
  EXPECT_EQ(TestHost::calls(HostCall::qel_reallocate_vector), 0u);
}

TEST(ListTest, ReservesByReallocationWhenThereIsABlock) {
  list_t list = numbers(1);
  TestHost::forgetCalls();
  list.reserve(1);
  list.reserve(7);
  EXPECT_EQ(TestHost::arguments(HostCall::qel_reallocate_vector), (Numbers{2, 7}));
  EXPECT_EQ(TestHost::calls(HostCall::qel_allocate_vector), 0u);
  EXPECT_EQ(toJson(list), "[0]");
}

// ---- elements

TEST(ListTest, GivesElementsByReference) {
  list_t list = numbers(2);
  list[1] = "changed";
  list.front() = true;
  EXPECT_EQ(toJson(list), R"([true,"changed"])");
  const list_t& constant = list;
  EXPECT_EQ(&constant[1], &list[1]);
  EXPECT_EQ(&constant.front(), &list[0]);
}

TEST(ListTest, RefusesAnIndexThatIsNotBelowItsCount) {
  list_t list = numbers(2);
  const list_t& constant = list;
  EXPECT_EQ(failureOf([&] { return list[2].type(); }), outOfBounds);
  EXPECT_EQ(failureOf([&] { return constant[2].type(); }), outOfBounds);
  EXPECT_EQ(failureOf([&] { return list[~std::uint64_t{0}].type(); }), outOfBounds);
}

TEST(ListTest, RefusesEveryIndexWithoutABlock) {
  list_t list;
  const list_t& constant = list;
  EXPECT_EQ(failureOf([&] { return list[0].type(); }), outOfBounds);
  EXPECT_EQ(failureOf([&] { return constant[0].type(); }), outOfBounds);
  EXPECT_EQ(failureOf([&] { return list.front().type(); }), outOfBounds);
  EXPECT_EQ(failureOf([&] { return constant.front().type(); }), outOfBounds);
}

TEST(ListTest, HasNoFrontWhenItsBlockHoldsNothing) {
  list_t list;
  list.reserve(4);
  EXPECT_EQ(failureOf([&] { return list.front().type(); }), outOfBounds);
}

// ---- iterators

TEST(ListIteratorTest, WalksTheElementsInOrder) {
  list_t list = numbers(3);
  std::string seen;
  for (data_t& element : list) seen += std::to_string(element.get<std::int64_t>());
  for (const data_t& element : std::as_const(list)) seen += std::to_string(element.get<std::int64_t>());
  EXPECT_EQ(seen, "012012");
}

TEST(ListIteratorTest, IsInvalidAfterAnAppend) {
  list_t list = numbers(1);
  const auto position = list.begin();
  list.push_back(integer(1));
  EXPECT_EQ(failureOf([&] { return &*position; }), invalidated);
  EXPECT_EQ(failureOf([&] { return position->type(); }), invalidated);
  EXPECT_EQ(failureOf([&] { return &*list.begin(); }), "(no failure)");
}

TEST(ListIteratorTest, IsInvalidWhenReadOnlyToo) {
  list_t list = numbers(1);
  const auto position = std::as_const(list).begin();
  list.push_back(integer(1));
  EXPECT_EQ(failureOf([&] { return &*position; }), invalidated);
}

TEST(ListIteratorTest, IsInvalidWhenTheBlockIsGone) {
  list_t list = numbers(1);
  const auto position = list.begin();
  const list_t other(std::move(list));
  EXPECT_EQ(failureOf([&] { return &*position; }), invalidated);
}

TEST(ListIteratorTest, IsNotCheckedWhenItIsIncremented) {
  list_t list = numbers(1);
  list.reserve(4);
  auto position = list.begin();
  list.push_back(integer(1));
  EXPECT_EQ(failureOf([&] { ++position; }), "(no failure)");
  EXPECT_EQ(failureOf([&] { position++; }), "(no failure)");
}

TEST(ListIteratorTest, DoesNotNoticeARelocationWithTheSameCount) {
  list_t list = numbers(2);
  const auto position = list.begin();
  const data_t* before = &*position;
  list.reserve(8);
  EXPECT_EQ(failureOf([&] { return &*position; }), "(no failure)");
  EXPECT_NE(&*list.begin(), before);
}

TEST(ListIteratorTest, GoesOnAsItStandsWhenChecksAreSwitchedOff) {
  Environment environment;
  list_t list = numbers(1);
  list.reserve(4);
  const auto position = list.begin();
  list.push_back(integer(1));
  environment.set(theSwitch, "1");
  EXPECT_EQ(position->get<std::int64_t>(), 0);
}

TEST(ListIteratorTest, LooksAtTheSwitchAtEachFailure) {
  Environment environment;
  list_t list = numbers(1);
  const auto position = list.begin();
  list.push_back(integer(1));
  environment.unset(theSwitch);
  EXPECT_EQ(failureOf([&] { return &*position; }), invalidated);
  environment.set(theSwitch, "");  // set is set, whatever to
  EXPECT_EQ(failureOf([&] { return &*position; }), "(no failure)");
  environment.unset(theSwitch);
  EXPECT_EQ(failureOf([&] { return &*position; }), invalidated);
  environment.set(theSwitch, "no");
  EXPECT_EQ(failureOf([&] { return &*position; }), "(no failure)");
}

}  // namespace
}  // namespace tests
