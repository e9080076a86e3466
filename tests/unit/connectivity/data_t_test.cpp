#include "connectivity/data_t.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/MapBuilder.h"
#include "tests/support/TestHost.h"
#include "tests/unit/connectivity/cases.h"
#include "tests/unit/connectivity/failure.h"
#include "tests/unit/connectivity/made_values.h"

namespace tests {
namespace {

using product::data_t;
using product::list_t;
using product::map_t;
using product::Tag;

constexpr const char* nullText = "Cannot use a null char* as a data_t value (consider using an empty data_t() instead)";
constexpr const char* nobody = nullptr;

const std::vector<HostCall>& freeCalls() {
  static const std::vector<HostCall> calls{HostCall::qel_free_string, HostCall::qel_free_vector, HostCall::qel_free_map,
                                           HostCall::qel_free_buffer, HostCall::qel_free_custom};
  return calls;
}

// ---- construction

TEST(ValueTest, IsEmptyByDefault) {
  const data_t value;
  EXPECT_TRUE(value.empty());
  EXPECT_EQ(value.type(), Tag::empty);
}

TEST(ValueTest, TakesItsTagFromWhatItIsMadeOf) {
  EXPECT_EQ(toJson(data_t(true)), "true");
  EXPECT_EQ(toJson(data_t(false)), "false");
  EXPECT_EQ(toJson(data_t(0.5)), "0.5");
  EXPECT_EQ(toJson(data_t(std::int64_t{-7})), "-7");
  EXPECT_EQ(toJson(data_t("text")), R"("text")");
  EXPECT_EQ(toJson(data_t(std::string("text"))), R"("text")");
  EXPECT_EQ(toJson(data_t(list_t())), "[]");
  EXPECT_EQ(toJson(data_t(map_t())), "{}");
}

TEST(ValueTest, CopiesItsTextThroughTheHost) {
  const char* words = "some words";
  TestHost::forgetCalls();
  const data_t fromPointer(words);
  const data_t fromString{std::string(words)};
  EXPECT_EQ(TestHost::calls(HostCall::qel_copy_string), 2u);
  EXPECT_NE(fromPointer.get<const char*>(), words);
  EXPECT_STREQ(fromPointer.get<const char*>(), words);
  EXPECT_STREQ(fromString.get<const char*>(), words);
}

TEST(ValueTest, EndsItsTextAtTheFirstNul) {
  EXPECT_EQ(data_t(std::string("a\0b", 3)).get<std::string>(), "a");
}

TEST(ValueTest, RefusesANullPointer) {
  EXPECT_EQ(failureOf([] { return data_t(nobody); }), nullText);
}

TEST(ValueTest, RefusesANullPointerInAnAssignment) {
  data_t value("before");
  EXPECT_EQ(failureOf([&] { value = nobody; }), nullText);
  EXPECT_EQ(toJson(value), R"("before")");
}

TEST(ValueTest, TakesOverAList) {
  list_t list = listFromJson("[1, 2]");
  const data_t* elements = &list[0];
  TestHost::forgetCalls();
  const data_t value(std::move(list));
  EXPECT_EQ(&value.get<list_t>()[0], elements);
  EXPECT_TRUE(list.empty());
  EXPECT_EQ(TestHost::calls(HostCall::qel_copy_data), 0u);
}

TEST(ValueTest, TakesOverAMap) {
  map_t map = mapFromJson(R"({"a": 1})");
  const map_header* block = map.header();
  const data_t value(std::move(map));
  EXPECT_EQ(value.get<map_t>().header(), block);
  EXPECT_EQ(map.header(), nullptr);
}

// ---- moves and assignment

TEST(ValueTest, LeavesAnEmptyValueWhenMovedFrom) {
  data_t source("text");
  const data_t target(std::move(source));
  EXPECT_EQ(toJson(target), R"("text")");
  EXPECT_EQ(source.type(), Tag::empty);
  EXPECT_EQ(source.bits(), 0u);
}

TEST(ValueTest, LeavesAnEmptyValueWhenAssignedFrom) {
  data_t source = integer(5), target("old");
  target = std::move(source);
  EXPECT_EQ(toJson(target), "5");
  EXPECT_EQ(source.type(), Tag::empty);
  EXPECT_EQ(source.bits(), 0u);
}

TEST(ValueTest, MovesWithoutTheHost) {
  data_t source = dataFromJson(R"({"a": [1, "two"]})"), target;
  TestHost::forgetCalls();
  target = std::move(source);
  const data_t last(std::move(target));
  for (std::size_t call = 0; call < hostCallCount; ++call) {
    EXPECT_EQ(TestHost::calls(static_cast<HostCall>(call)), 0u) << "host call number " << call;
  }
}

struct Assignment {
  const char* name;
  std::function<void(data_t&)> assign;
  const char* expected;
};

void PrintTo(const Assignment& each, std::ostream* out) {
  *out << each.name;
}

class ValueAssignmentTest : public testing::TestWithParam<Assignment> {};

TEST_P(ValueAssignmentTest, ReplacesTheOldValueAndFreesIt) {
  const std::int64_t customsBefore = TestHost::liveBlocks().customs;
  data_t value = dataFromJson(R"({"old": {"$custom": 1}})");
  GetParam().assign(value);
  EXPECT_EQ(toJson(value), GetParam().expected);
  EXPECT_EQ(TestHost::liveBlocks().customs, customsBefore);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, ValueAssignmentTest,
    testing::Values(Assignment{"Boolean", [](data_t& value) { value = true; }, "true"},
                    Assignment{"Double", [](data_t& value) { value = 0.25; }, "0.25"},
                    Assignment{"Integer", [](data_t& value) { value = std::int64_t{9}; }, "9"},
                    Assignment{"Pointer", [](data_t& value) { value = "text"; }, R"("text")"},
                    Assignment{"String", [](data_t& value) { value = std::string("text"); }, R"("text")"},
                    Assignment{"List", [](data_t& value) { value = listFromJson("[1]"); }, "[1]"},
                    Assignment{"Map", [](data_t& value) { value = mapFromJson(R"({"a":1})"); }, R"({"a":1})"},
                    Assignment{"Value", [](data_t& value) { value = data_t("text"); }, R"("text")"}),
    NameOfCase());

TEST(ValueTest, BuildsTheNewValueBeforeItFreesTheOld) {
  std::vector<std::string> order;
  data_t value("old");
  TestHost::throwFrom(HostCall::qel_copy_string, [&] { order.push_back("copy"); });
  TestHost::throwFrom(HostCall::qel_free_string, [&] { order.push_back("free"); });
  value = "new";
  TestHost::throwFrom(HostCall::qel_free_string, nullptr);
  EXPECT_EQ(order, (std::vector<std::string>{"copy", "free"}));
}

TEST(ValueTest, HoldsTheNewValueAlreadyWhenTheOldIsFreed) {
  data_t value("old");
  std::string seen;
  TestHost::throwFrom(HostCall::qel_free_string, [&] { seen = toJson(value); });
  value = std::int64_t{5};
  TestHost::throwFrom(HostCall::qel_free_string, nullptr);
  EXPECT_EQ(seen, "5");
}

TEST(ValueTest, StaysAsItWasWhenTheNewValueCannotBeBuilt) {
  data_t value("old");
  TestHost::throwFrom(HostCall::qel_copy_string, [] { throw std::runtime_error("no room"); });
  EXPECT_EQ(failureOf([&] { value = "new"; }), "no room");
  EXPECT_EQ(toJson(value), R"("old")");
}

TEST(ValueTest, CanBeReplacedByAnElementOfItself) {
  data_t value = dataFromJson(R"([{"a": ["deep"]}])");
  value = std::move(value.get<list_t>()[0]);
  EXPECT_EQ(toJson(value), R"({"a":["deep"]})");
}

TEST(ValueTest, CanBeReplacedByAValueInItself) {
  data_t value = dataFromJson(R"({"a": {"b": "deep"}, "c": "other"})");
  value = std::move(value.get<map_t>().at("a"));
  EXPECT_EQ(toJson(value), R"({"b":"deep"})");
}

TEST(ValueTest, CanBeReplacedByAContainerInItself) {
  data_t map = dataFromJson(R"({"a": {"b": 1}})");
  map = std::move(map.get<map_t>().at("a").get<map_t>());
  EXPECT_EQ(toJson(map), R"({"b":1})");
  data_t list = dataFromJson("[[1, 2]]");
  list = std::move(list.get<list_t>()[0].get<list_t>());
  EXPECT_EQ(toJson(list), "[1,2]");
}

TEST(ValueTest, CanBeReplacedByATextInItself) {
  data_t value = dataFromJson(R"(["deep"])");
  value = value.get<list_t>()[0].get<const char*>();
  EXPECT_EQ(toJson(value), R"("deep")");
}

TEST(ValueTest, SurvivesAssignmentToItself) {
  data_t value("text");
  data_t& same = value;
  value = std::move(same);
  EXPECT_EQ(toJson(value), R"("text")");
}

TEST(ValueTest, SwapsWithoutTheHost) {
  data_t one("text"), other = integer(5);
  TestHost::forgetCalls();
  one.swap(other);
  EXPECT_EQ(toJson(one), "5");
  EXPECT_EQ(toJson(other), R"("text")");
  EXPECT_EQ(TestHost::calls(HostCall::qel_free_string), 0u);
}

// ---- destruction, copies and names, tag by tag

struct TagCase {
  const char* name;
  std::function<data_t()> make;
  const char* typeName;
  std::vector<HostCall> freedBy;
  const char* copied;  // null when JSON doesn't show it
};

void PrintTo(const TagCase& each, std::ostream* out) {
  *out << each.name;
}

class ValueTagTest : public testing::TestWithParam<TagCase> {};

TEST_P(ValueTagTest, HasItsTypeName) {
  EXPECT_STREQ(GetParam().make().type_name(), GetParam().typeName);
}

TEST_P(ValueTagTest, IsFreedWithTheOperationOfItsTagAndNoOther) {
  {
    const data_t value = GetParam().make();
    TestHost::forgetCalls();
  }
  for (const HostCall call : freeCalls()) {
    const bool expected = GetParam().freedBy == std::vector<HostCall>{call};
    EXPECT_EQ(TestHost::calls(call), expected ? 1u : 0u) << "host call number " << static_cast<std::size_t>(call);
  }
}

TEST_P(ValueTagTest, IsCopiedByTheHost) {
  const data_t value = GetParam().make();
  TestHost::forgetCalls();
  const data_t copy = value.copy();
  EXPECT_EQ(TestHost::calls(HostCall::qel_copy_data), 1u);
  if (GetParam().copied) {
    EXPECT_EQ(toJson(copy), GetParam().copied);
  }
  if (!GetParam().freedBy.empty()) {
    EXPECT_NE(copy.bits(), value.bits());
  }
}

INSTANTIATE_TEST_SUITE_P(
    Tags, ValueTagTest,
    testing::Values(
        TagCase{"Empty", [] { return data_t(); }, "empty", {}, "null"},
        TagCase{"Boolean", [] { return data_t(true); }, "boolean", {}, "true"},
        TagCase{"Double", [] { return data_t(0.5); }, "double", {}, "0.5"},
        TagCase{"Integer", [] { return integer(5); }, "integer", {}, "5"},
        TagCase{"Decimal", [] { return decimal(12); }, "decimal", {}, R"({"$decimal":12})"},
        TagCase{"String", [] { return text("a"); }, "string", {HostCall::qel_free_string}, R"("a")"},
        TagCase{"List", [] { return dataFromJson(R"([1, "a"])"); }, "list", {HostCall::qel_free_vector}, R"([1,"a"])"},
        TagCase{"Map",
                [] { return dataFromJson(R"({"$name": "n", "$map": {"a": [1]}})"); },
                "map",
                {HostCall::qel_free_map},
                R"({"$map":{"a":[1]},"$name":"n"})"},
        TagCase{
            "Buffer", [] { return buffer("\n\xFF"); }, "buffer", {HostCall::qel_free_buffer}, R"({"$buffer":"0aff"})"},
        TagCase{"Custom", [] { return custom(3); }, "custom", {HostCall::qel_free_custom}, R"({"$custom":3})"},
        TagCase{"BorrowedString", [] { return borrowed("a"); }, "string", {}, R"({"$borrowed":"a"})"},
        TagCase{"Tag11", [] { return withTag(11, 99); }, "Unknown", {}, nullptr},
        TagCase{"HighestTag", [] { return withTag(0xFFFFFFFF, 99); }, "Unknown", {}, nullptr}),
    NameOfCase());

TEST(ValueTest, IsIndependentOfItsCopy) {
  data_t value = dataFromJson(R"({"a": [1]})");
  const data_t copy = value.copy();
  value.get<map_t>().at("a").get<list_t>().push_back(integer(2));
  value.get<map_t>()["b"] = true;
  EXPECT_EQ(toJson(copy), R"({"a":[1]})");
}

TEST(ValueTest, CopyOfABorrowedStringMayOwnItsText) {
  TestHost::copyBorrowedStringsAsOwned(true);
  const data_t value = borrowed("a");
  EXPECT_EQ(toJson(value.copy()), R"("a")");
}

TEST(ValueTest, CopiesHostBuiltMapsWithNameTombstonesAndHashes) {
  const map_t map =
      adoptMap(MapBuilder(8).name("n").put("gone", integerValue(1)).erase("gone").put("a", integerValue(2)).build());
  const data_t value = data_t::adopt(qel_copy_data(mapValue(map.header())));
  const data_t copy = value.copy();
  EXPECT_EQ(copy.get<map_t>().header()->tombstones, 1u);
  EXPECT_EQ(toJson(copy), R"({"$map":{"a":2},"$name":"n"})");
}

TEST(ValueTest, FreesContainersWithoutABlock) {
  for (const qel_tag tag : {QEL_LIST, QEL_MAP, QEL_BUFFER, QEL_CUSTOM}) {
    const data_t value = withoutBlockOf(tag);
    const data_t copy = value.copy();
    EXPECT_EQ(copy.type(), value.type());
  }
}

}  // namespace
}  // namespace tests
