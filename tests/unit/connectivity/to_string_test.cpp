#include "connectivity/to_string.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

#include "connectivity/Message.h"
#include "tests/support/Environment.h"
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
using product::Message;
using product::to_string;

data_t json(const char* words) {
  return dataFromJson(words);
}

struct Case {
  const char* name;
  std::function<data_t()> make;
  const char* text;
};

void PrintTo(const Case& each, std::ostream* out) {
  *out << each.name;
}

class RenderingTest : public testing::TestWithParam<Case> {};

TEST_P(RenderingTest, IsTheTextOfTheTag) {
  EXPECT_EQ(to_string(GetParam().make()), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Leaves, RenderingTest,
    testing::Values(Case{"Empty", [] { return data_t(); }, "(null)"}, Case{"True", [] { return data_t(true); }, "true"},
                    Case{"False", [] { return data_t(false); }, "false"},
                    Case{"TrueOfAnotherByte", [] { return withTag(1, 0x80); }, "true"},
                    Case{"Double", [] { return data_t(0.1); }, "0.1"},
                    Case{"DoubleInFull", [] { return data_t(1234567.875); }, "1234567.875"},
                    Case{"LongestDouble", [] { return data_t(-2.2250738585072014e-308); }, "-2.2250738585072014e-308"},
                    Case{"Zero", [] { return integer(0); }, "0"}, Case{"Negative", [] { return integer(-12); }, "-12"},
                    Case{"HighestInteger", [] { return integer(INT64_MAX); }, "9223372036854775807"},
                    Case{"LowestInteger", [] { return integer(INT64_MIN); }, "-9223372036854775808"},
                    Case{"Decimal", [] { return decimal(0x12); }, "dec:12"},
                    Case{"LongestDecimal", [] { return decimal(0xFFFFFFFFFFFFFFFF); }, "dec:ffffffffffffffff"},
                    Case{"String", [] { return text("some words"); }, "some words"},
                    Case{"EmptyString", [] { return text(""); }, ""},
                    Case{"StringThatLooksLikeMore", [] { return text("a,b:c}\"\\\n"); }, "a,b:c}\"\\\n"},
                    Case{"BorrowedString", [] { return borrowed("some words"); }, "some words"},
                    Case{"Custom", [] { return custom(); }, "(custom)"},
                    Case{"Tag11", [] { return withTag(11, 1); }, "(null)"},
                    Case{"HighestTag", [] { return withTag(0xFFFFFFFF, 1); }, "(null)"}),
    NameOfCase());

INSTANTIATE_TEST_SUITE_P(
    Containers, RenderingTest,
    testing::Values(
        Case{"EmptyList", [] { return json("[]"); }, "[]"},
        Case{"ListWithoutBlock", [] { return withoutBlockOf(QEL_LIST); }, "[]"},
        Case{"ListOfOne", [] { return json("[1]"); }, "[1]"},
        Case{"List", [] { return json(R"([1, true, "a b", null, 0.1, {"$custom": 1}])"); },
             "[1,true,a b,(null),0.1,(custom)]"},
        Case{"ListOfEmptyStrings", [] { return json(R"(["", "", ""])"); }, "[,,]"},
        Case{"NestedLists", [] { return json("[[], [1, [2]], {}]"); }, "[[],[1,[2]],{}]"},
        Case{"EmptyMap", [] { return json("{}"); }, "{}"},
        Case{"MapWithoutBlock", [] { return withoutBlockOf(QEL_MAP); }, "{}"},
        Case{"Map", [] { return json(R"({"k": "v"})"); }, "{k:v}"},
        Case{"EmptyStringInMap", [] { return json(R"({"k": ""})"); }, "{k:}"},
        Case{"EmptyKey", [] { return json(R"({"": 1})"); }, "{:1}"},
        Case{"NestedMaps", [] { return json(R"({"a": {"b": [{"c": 1}]}})"); }, "{a:{b:[{c:1}]}}"},
        Case{"MapWithKeyOfAnyType", [] { return json(R"({"$entries": [[{"$borrowed": "a"}, 1]]})"); }, "{a:1}"},
        Case{"NamedEmptyMap", [] { return json(R"({"$name": "name", "$map": {}})"); }, "name:{}"},
        Case{"NamedMap", [] { return json(R"({"$name": "name", "$map": {"a": 1}})"); }, "name:{a:1}"},
        Case{"MapWithEmptyName", [] { return json(R"({"$name": "", "$map": {}})"); }, ":{}"},
        Case{"NamedMapInMap", [] { return json(R"({"a": {"$name": "in", "$map": {"b": 1}}})"); }, "{a:in:{b:1}}"},
        Case{"EmptyBuffer", [] { return buffer(""); }, "[]"},
        Case{"BufferWithoutBlock", [] { return withoutBlockOf(QEL_BUFFER); }, "[]"},
        Case{"Buffer",
             [] {
               return buffer({"\x0A\xFF\x00\x9C", 4});
             },
             "[0x0A,0xFF,0x00,0x9C]"},
        Case{"BufferInList", [] { return listOf(buffer("\x01"), buffer("")); }, "[[0x01],[]]"}),
    NameOfCase());

TEST(RenderingTest, FollowsSlotOrder) {
  const map_t map = adoptMap(MapBuilder(8)
                                 .putHashed(5, stringValue("a"), integerValue(1))
                                 .putHashed(2, stringValue("b"), listValue({booleanValue(true), stringValue("x")}))
                                 .build());
  EXPECT_EQ(to_string(map), "{b:[true,x],a:1}");
}

TEST(RenderingTest, FollowsTheSlotOrderThatHashesGive) {
  TestHost::useHash([](std::string_view key) { return key == "a" ? std::uint64_t{6} : std::uint64_t{9}; });
  EXPECT_EQ(to_string(json(R"({"a": 1, "b": [true, "x"]})")), "{b:[true,x],a:1}");
}

TEST(RenderingTest, PassesOverTombstones) {
  data_t value = json(R"({"a": 1, "b": 2})");
  value.get<map_t>().erase(data_t("a"));
  EXPECT_EQ(to_string(value), "{b:2}");
}

TEST(RenderingTest, ShowsAnEmptyKey) {
  map_t map;
  const data_t nothing;
  map[nothing] = std::int64_t{1};
  EXPECT_EQ(to_string(map), "{(null):1}");
}

TEST(RenderingTest, ShowsKeysOfAnyType) {
  map_t map;
  map[listOf(integer(1), data_t(true))] = map_t(0, "name");
  EXPECT_EQ(to_string(map), "{[1,true]:name:{}}");
}

TEST(RenderingTest, OfAContainerIsThatOfAValueThatHoldsIt) {
  const data_t list = json("[1, [2]]"), map = json(R"({"$name": "n", "$map": {"a": [1]}})"), bytes = buffer("\x0A");
  EXPECT_EQ(to_string(list.get<list_t>()), "[1,[2]]");
  EXPECT_EQ(to_string(map.get<map_t>()), "n:{a:[1]}");
  EXPECT_EQ(to_string(bytes.get<product::buffer_t>()), "[0x0A]");
  EXPECT_EQ(to_string(list_t()), "[]");
  EXPECT_EQ(to_string(map_t()), "{}");
}

TEST(RenderingTest, OfADoubleIsNotItsConversion) {
  const data_t value(1234567.875);
  EXPECT_EQ(to_string(value), "1234567.875");
  EXPECT_EQ(value.convert_to<std::string>(), "1.23457e+06");
}

TEST(RenderingTest, AsksTheHostForDoublesAndDecimalsAlone) {
  const data_t value = listOf(data_t(0.5), decimal(1), integer(2), text("x"));
  TestHost::forgetCalls();
  to_string(value);
  EXPECT_EQ(TestHost::calls(HostCall::float64ToChar8), 1u);
  EXPECT_EQ(TestHost::calls(HostCall::decimalToString), 1u);
  EXPECT_EQ(TestHost::calls(HostCall::qel_copy_data), 0u);
  EXPECT_EQ(TestHost::calls(HostCall::qel_copy_string), 0u);
}

// ---- messages

TEST(RenderingTest, ShowsMetadataThenPayload) {
  EXPECT_EQ(to_string(Message()), "{} / (null)");
  EXPECT_EQ(to_string(messageFromJson(R"({"k": "v"})", "[1, 2]")), "{k:v} / [1,2]");
  EXPECT_EQ(to_string(Message(text("words"))), "{} / words");
  EXPECT_EQ(to_string(messageFromJson(R"({"$name": "n", "$map": {}})", "null")), "n:{} / (null)");
}

// ---- containers that change while they are rendered

TEST(RenderingTest, NoticesAListThatChanges) {
  list_t list;
  list.reserve(8);
  list.push_back(0.5);
  list.push_back(integer(1));
  TestHost::throwFrom(HostCall::float64ToChar8, [&] { list.push_back(integer(2)); });
  EXPECT_EQ(failureOf([&] { to_string(list); }), "Iterator invalidated by modifying list");
}

TEST(RenderingTest, NoticesAMapThatChanges) {
  map_t map = adoptMap(MapBuilder(16)
                           .putHashed(1, integerValue(1), doubleValue(0.5))
                           .putHashed(2, integerValue(2), integerValue(3))
                           .build());
  TestHost::throwFrom(HostCall::float64ToChar8, [&] { map[integer(9)] = true; });
  EXPECT_EQ(failureOf([&] { to_string(map); }), "Iterator invalidated by modifying map");
}

class LastTextTest : public testing::Test {
 protected:
  /// What rendering fails with when the host does `change` while it makes the text of a double.
  template <class Container>
  static std::string failure(const Container& container, std::function<void()> change) {
    TestHost::throwFrom(HostCall::float64ToChar8, std::move(change));
    const std::string text = failureOf([&] { to_string(container); });
    TestHost::throwFrom(HostCall::float64ToChar8, nullptr);
    return text;
  }

  std::string failureOfAnInsertion() {
    map_t map = adoptMap(MapBuilder(16).putHashed(1, integerValue(1), doubleValue(0.5)).build());
    return failure(map, [&] { map[integer(9)] = true; });
  }

  std::string failureOfARebuild() {
    map_t map = adoptMap(MapBuilder(16).putHashed(1, doubleValue(0.5), integerValue(1)).build());
    return failure(map, [&] { map.reserve(32); });
  }

  std::string failureOfAnAppend() {
    list_t list;
    list.reserve(8);
    list.push_back(integer(1));
    list.push_back(0.5);
    return failure(list, [&] { list.push_back(integer(2)); });
  }
};

TEST_F(LastTextTest, NoticesAnInsertion) {
  EXPECT_EQ(failureOfAnInsertion(), "Iterator invalidated by modifying map");
}

TEST_F(LastTextTest, OfAKeyNoticesARebuild) {
  EXPECT_EQ(failureOfARebuild(), "Iterator invalidated by modifying map");
}

TEST_F(LastTextTest, NoticesAnAppend) {
  EXPECT_EQ(failureOfAnAppend(), "Iterator invalidated by modifying list");
}

TEST_F(LastTextTest, NoticesNothingWhenChecksAreSwitchedOff) {
  Environment environment;
  environment.set("KV_SKIP_DATA_T_ITERATOR_CHECKS", "1");
  EXPECT_EQ(failureOfAnInsertion(), "(no failure)");
  EXPECT_EQ(failureOfARebuild(), "(no failure)");
  EXPECT_EQ(failureOfAnAppend(), "(no failure)");
}

TEST(RenderingTest, LetsAFailureOfTheHostThrough) {
  TestHost::throwFrom(HostCall::float64ToChar8, [] { throw std::runtime_error("no text"); });
  EXPECT_EQ(failureOf([] { to_string(listOf(data_t(0.5))); }), "no text");
}

}  // namespace
}  // namespace tests
