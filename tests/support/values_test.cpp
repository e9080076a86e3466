// The bridge between JSON and values: what it shows wrongly, no test that compares JSON can find.
#include "tests/support/values.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "tests/support/MapBuilder.h"
#include "tests/support/TestHost.h"
#include "tests/support/blocks.h"

namespace tests {
namespace {

std::string roundTrip(std::string_view text) {
  return toJson(OwnedValue(text).get());
}

TEST(ValuesTest, TellsIntegersFromDoubles) {
  EXPECT_EQ(OwnedValue("1").get().tag, QEL_INTEGER);
  EXPECT_EQ(OwnedValue("1.0").get().tag, QEL_DOUBLE);
  EXPECT_EQ(OwnedValue("1e0").get().tag, QEL_DOUBLE);
  EXPECT_EQ(roundTrip("[1, 1.0, 1e3, 0.1, -9223372036854775808]"), "[1,1.0,1000.0,0.1,-9223372036854775808]");
}

TEST(ValuesTest, ReadsEveryDoubleExactly) {
  EXPECT_EQ(roundTrip("[1700000000.123, 1.7976931348623157e308, 3.0000000000000004, 0.30000000000000004]"),
            "[1700000000.123,1.7976931348623157e+308,3.0000000000000004,0.30000000000000004]");
}

TEST(ValuesTest, ShowsKeysInByteOrder) {
  EXPECT_EQ(roundTrip(R"({"b": 1, "a": {"d": null, "c": [true, false]}})"),
            R"({"a":{"c":[true,false],"d":null},"b":1})");
}

TEST(ValuesTest, WritesSpecialFormsAsItReadsThem) {
  for (const char* text : {R"({"$borrowed":"x"})", R"({"$double":"nan"})", R"({"$double":"-inf"})",
                           R"({"$decimal":12})", R"({"$buffer":"000aff"})", R"({"$custom":7})",
                           R"({"$map":{"a":1},"$name":"n"})", R"({"$entries":[["k",2],[{"$borrowed":"k"},1]]})"}) {
    EXPECT_EQ(roundTrip(text), text);
  }
}

TEST(ValuesTest, TellsBorrowedStringsFromOwnedOnes) {
  EXPECT_EQ(OwnedValue(R"({"$borrowed": "x"})").get().tag, QEL_BORROWED_STRING);
  EXPECT_EQ(OwnedValue(R"("x")").get().tag, QEL_STRING);
}

TEST(ValuesTest, ShowsKeysThatAnObjectCannotHold) {
  OwnedValue map(MapBuilder(8)
                     .putHashed(5, integerValue(1), stringValue("integer"))
                     .putHashed(0x243FCAF1, emptyValue(), stringValue("empty"))
                     .build());
  EXPECT_EQ(toJson(map.get()), R"({"$entries":[[1,"integer"],[null,"empty"]]})");
}

TEST(ValuesTest, ShowsOneKeyThatStandsTwice) {
  OwnedValue map(MapBuilder(8)
                     .putHashed(1, stringValue("k"), integerValue(1))
                     .putHashed(2, stringValue("k"), integerValue(2))
                     .build());
  EXPECT_EQ(toJson(map.get()), R"({"$entries":[["k",1],["k",2]]})");
}

TEST(ValuesTest, ShowsUnknownTags) {
  EXPECT_EQ(toJson(qel_value{1, 42, 0}), R"({"$tag":42})");
}

TEST(ValuesTest, ReadsMissingBlocksAsEmptyOnes) {
  EXPECT_EQ(toJson(withoutBlock(QEL_MAP)), "{}");
  EXPECT_EQ(toJson(withoutBlock(QEL_LIST)), "[]");
  EXPECT_EQ(toJson(RawMessage{emptyValue(), nullptr}), R"({"metadata":{},"payload":null})");
}

TEST(ValuesTest, PlacesEntriesByTheProbingRule) {
  TestHost::useHash([](std::string_view) { return std::uint64_t{15}; });
  OwnedValue map(MapBuilder(8).put("a", integerValue(1)).put("b", integerValue(2)).put("a", integerValue(3)).build());
  const map_header* block = mapIn(map.get());
  EXPECT_EQ(block->count, 2u);
  EXPECT_EQ(toJson(slotsOf(block)[7].key), R"("a")");
  EXPECT_EQ(slotsOf(block)[7].hash, 15u);
  EXPECT_EQ(toJson(slotsOf(block)[0].key), R"("b")");
  EXPECT_EQ(toJson(map.get()), R"({"a":3,"b":2})");
}

TEST(ValuesTest, LeavesTombstonesWhereEntriesWereErased) {
  TestHost::useHash([](std::string_view) { return std::uint64_t{3}; });
  OwnedValue map(MapBuilder(8).put("a", integerValue(1)).put("b", stringValue("text")).erase("a").build());
  const map_header* block = mapIn(map.get());
  EXPECT_EQ(block->count, 1u);
  EXPECT_EQ(block->tombstones, 1u);
  EXPECT_EQ(slotsOf(block)[3].hash, 1u);
  EXPECT_EQ(slotsOf(block)[3].key.tag, QEL_EMPTY);
  EXPECT_EQ(toJson(map.get()), R"({"b":"text"})");
}

TEST(ValuesTest, GivesATableRoomForItsEntries) {
  OwnedValue map(R"({"a":1,"b":1,"c":1,"d":1,"e":1,"f":1,"g":1,"h":1,"i":1,"j":1,"k":1,"l":1,"m":1})");
  EXPECT_EQ(mapIn(map.get())->capacity, 32u);
  EXPECT_EQ(mapIn(map.get())->count, 13u);
}

TEST(ValuesTest, RefusesTextThatIsNoJson) {
  EXPECT_THROW(fromJson("{"), std::runtime_error);
  EXPECT_THROW(fromJson("1 2"), std::runtime_error);
  EXPECT_THROW(fromJson(R"({"$unknown": 1})"), std::runtime_error);
  EXPECT_THROW(fromJson("[9223372036854775808]"), std::runtime_error);
}

TEST(ValuesTest, NormalisesJsonWrittenByHand) {
  EXPECT_EQ(json(" { \"b\" : [ 1.50, {} ] , \"a\" : \"\\u00e9\" } "), R"({"a":"é","b":[1.5,{}]})");
}

}  // namespace
}  // namespace tests
