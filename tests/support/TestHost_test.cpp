// The host must see what a plug-in does wrong: a check that passes everything would hide every defect behind it.
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "connectivity/host_platform.h"
#include "tests/support/MapBuilder.h"
#include "tests/support/blocks.h"
#include "tests/support/values.h"

namespace tests {
namespace {

using Lines = std::vector<std::string>;
using Numbers = std::vector<std::uint64_t>;

TEST(TestHostTest, CountsLiveBlocksByKind) {
  const LiveBlocks before = TestHost::liveBlocks();
  OwnedValue value(R"({"list": [], "buffer": {"$buffer": "00"}, "custom": {"$custom": 1}})");
  const LiveBlocks after = TestHost::liveBlocks();
  EXPECT_EQ(after.strings - before.strings, 3);
  EXPECT_EQ(after.lists - before.lists, 1);
  EXPECT_EQ(after.maps - before.maps, 1);
  EXPECT_EQ(after.buffers - before.buffers, 1);
  EXPECT_EQ(after.customs - before.customs, 1);
}

TEST(TestHostTest, TellsASecondFree) {
  char* text = qel_copy_string("x");
  qel_free_string(text);
  qel_free_string(text);
  EXPECT_EQ(TestHost::takeFaults(),
            (Lines{"qel_free_string was given a string that qel_free_string has freed already"}));
}

TEST(TestHostTest, TellsASecondFreeInsideAnotherBlock) {
  const qel_value text = stringValue("x");
  const qel_value list = listValue({text, text});
  freeValue(list);
  EXPECT_EQ(TestHost::takeFaults(),
            (Lines{"qel_free_vector was given a string that qel_free_vector has freed already"}));
}

TEST(TestHostTest, TellsAFreeWithAnotherKindsFunction) {
  map_header* map = qel_allocate_map(8);
  qel_free_string(reinterpret_cast<char*>(map));
  EXPECT_EQ(TestHost::takeFaults(), (Lines{"qel_free_string was given a map"}));
  qel_free_map(map);
}

TEST(TestHostTest, TellsAFreeOfAForeignPointer) {
  char text[] = "x";
  qel_free_string(text);
  EXPECT_EQ(TestHost::takeFaults(), (Lines{"qel_free_string was given a pointer that this host did not allocate"}));
}

TEST(TestHostTest, TellsAMapThatCountsWrongly) {
  map_header* map = qel_allocate_map(8);
  map->count = 1;
  qel_free_map(map);
  EXPECT_EQ(TestHost::takeFaults(), (Lines{"qel_free_map was given a map that counts 1 entries and holds 0"}));
}

TEST(TestHostTest, TellsUseOfTheOldBlockAfterReallocation) {
  map_header* map = qel_allocate_map(8);
  map_header* moved = qel_reallocate_map(map, 16);
  EXPECT_NE(map, moved);
  qel_free_map(map);
  EXPECT_EQ(TestHost::takeFaults(), (Lines{"qel_free_map was given a map that qel_reallocate_map has freed already"}));
  qel_free_map(moved);
}

TEST(TestHostTest, EndsATestWithWhatWasNeverFreed) {
  char* text = qel_copy_string("lost");
  map_header* map = qel_allocate_map(8);
  EXPECT_EQ(TestHost::endTest(), (Lines{"never freed: string of 5 bytes: \"lost\"", "never freed: map of 352 bytes"}));
  qel_free_string(text);
  qel_free_map(map);
}

TEST(TestHostTest, EndsATestWithItsFaults) {
  char text[] = "x";
  qel_free_string(text);
  EXPECT_EQ(TestHost::endTest(), (Lines{"fault: qel_free_string was given a pointer that this host did not allocate"}));
}

TEST(TestHostTest, EndsATestWithStatusItemsThatWereLeft) {
  int reporter = 0;
  void* item = qel_create_user_status_item(&reporter, "key", "value");
  EXPECT_EQ(TestHost::endTest(), (Lines{"status item never deleted: key"}));
  qel_delete_user_status_item(&reporter, item);
}

TEST(TestHostTest, ForgivesBlocksThatAreOlderThanTheTest) {
  char* text = qel_copy_string("older");
  TestHost::beginTest();
  EXPECT_EQ(TestHost::endTest(), Lines{});
  qel_free_string(text);
}

#if !defined(__SANITIZE_ADDRESS__)  // which stops at the write itself
TEST(TestHostTest, TellsAWriteIntoAFreedBlock) {
  char* text = qel_copy_string("x");
  qel_free_string(text);
  text[0] = 'y';
  EXPECT_EQ(TestHost::endTest(), (Lines{"fault: a string was written to after qel_free_string had freed it"}));
}
#endif

TEST(TestHostTest, CopiesEveryKindDeeply) {
  const std::string text = json(R"({"$name": "n", "$map": {"null": null, "true": true, "double": -0.5, "integer": -7,
      "decimal": {"$decimal": 12}, "string": "s", "list": [1, [2]], "map": {"a": {"$name": "inner", "$map": {}}},
      "buffer": {"$buffer": "00ff"}, "custom": {"$custom": 3}, "odd": {"$entries": [["k", 1]]}}})");
  OwnedValue original(text);
  OwnedValue copy(qel_copy_data(original.get()));
  EXPECT_EQ(toJson(copy.get()), json(R"({"$name": "n", "$map": {"null": null, "true": true, "double": -0.5,
      "integer": -7, "decimal": {"$decimal": 12}, "string": "s", "list": [1, [2]],
      "map": {"a": {"$name": "inner", "$map": {}}}, "buffer": {"$buffer": "00ff"}, "custom": {"$custom": 3},
      "odd": {"k": 1}}})"));
}

TEST(TestHostTest, CopiesSlotsAndTombstonesAsTheyStand) {
  OwnedValue original(MapBuilder(8).putHashed(1, stringValue("one"), integerValue(1)).build());
  mapIn(original.get())->tombstones = 5;
  OwnedValue copy(qel_copy_data(original.get()));
  EXPECT_EQ(mapIn(copy.get())->tombstones, 5u);
  EXPECT_EQ(slotsOf(mapIn(copy.get()))[1].hash, 1u);
  EXPECT_EQ(toJson(copy.get()), R"({"one":1})");
}

TEST(TestHostTest, CopiesABorrowedStringAsTold) {
  OwnedValue borrowed(qel_copy_data(borrowedString("x")));
  EXPECT_EQ(toJson(borrowed.get()), R"({"$borrowed":"x"})");
  TestHost::copyBorrowedStringsAsOwned(true);
  OwnedValue owned(qel_copy_data(borrowedString("x")));
  EXPECT_EQ(toJson(owned.get()), R"("x")");
}

TEST(TestHostTest, RebuildsAMapByItsStoredHashes) {
  map_header* map = mapIn(MapBuilder(8)
                              .putHashed(9, stringValue("a"), integerValue(1))
                              .putHashed(0, stringValue("b"), integerValue(2))
                              .putHashed(24, stringValue("c"), integerValue(3))
                              .name("n")
                              .build());
  map->tombstones = 4;
  OwnedValue rebuilt(mapValue(qel_reallocate_map(map, 16)));
  EXPECT_EQ(mapIn(rebuilt.get())->capacity, 16u);
  EXPECT_EQ(mapIn(rebuilt.get())->tombstones, 0u);
  EXPECT_EQ(toJson(slotsOf(mapIn(rebuilt.get()))[0].key), R"("b")");
  EXPECT_EQ(toJson(slotsOf(mapIn(rebuilt.get()))[8].key), R"("c")");
  EXPECT_EQ(toJson(slotsOf(mapIn(rebuilt.get()))[9].key), R"("a")");
  EXPECT_EQ(toJson(rebuilt.get()), R"({"$map":{"a":1,"b":2,"c":3},"$name":"n"})");
}

TEST(TestHostTest, MovesAListThatGrows) {
  list_header* list = pointerIn<list_header>(fromJson(R"(["a", "b"])"));
  list_header* moved = qel_reallocate_vector(list, 4);
  EXPECT_NE(list, moved);
  EXPECT_EQ(moved->capacity, 4u);
  OwnedValue value(valueOf(moved, QEL_LIST));
  EXPECT_EQ(toJson(value.get()), R"(["a","b"])");
}

TEST(TestHostTest, CopiesAndFreesValuesNestedWithoutEnd) {
  qel_value deep = emptyValue();
  for (int level = 0; level < 50000; ++level) deep = listValue({deep});
  const qel_value copy = qel_copy_data(deep);
  freeValue(deep);
  freeValue(copy);
}

TEST(TestHostTest, CountsCallsAndCapacities) {
  TestHost::forgetCalls();
  map_header* map = qel_reallocate_map(qel_reallocate_map(qel_allocate_map(8), 16), 8);
  qel_free_map(map);
  EXPECT_EQ(TestHost::arguments(HostCall::qel_allocate_map), (Numbers{8}));
  EXPECT_EQ(TestHost::arguments(HostCall::qel_reallocate_map), (Numbers{16, 8}));
  EXPECT_EQ(TestHost::calls(HostCall::qel_free_map), 1u);
  EXPECT_EQ(TestHost::calls(HostCall::qel_free_string), 0u);
}

TEST(TestHostTest, ThrowsFromTheCallThatIsToldTo) {
  TestHost::throwFrom(HostCall::qel_log_at, [] { throw std::runtime_error("the log is full"); });
  EXPECT_THROW(qel_log_at("c", 3, "x"), std::runtime_error);
  TestHost::throwFrom(HostCall::qel_log_at, nullptr);
  EXPECT_NO_THROW(qel_log_at("c", 3, "x"));
}

TEST(TestHostTest, FormatsEveryConversion) {
  qel_log_at("c", 4, "<%s> %d %f %li %lu %I64d %I64u 100%%", "text", -1, 0.5, -2L, 3UL,
             static_cast<std::int64_t>(-9223372036854775807 - 1), static_cast<std::uint64_t>(18446744073709551615u));
  const std::vector<LogLine> lines = TestHost::drain();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].category, "c");
  EXPECT_EQ(lines[0].level, 4);
  EXPECT_EQ(lines[0].format, "<%s> %d %f %li %lu %I64d %I64u 100%%");
  EXPECT_EQ(lines[0].text, "<text> -1 0.500000 -2 3 -9223372036854775808 18446744073709551615 100%");
}

TEST(TestHostTest, FormatsDoublesOfAnySize) {
  qel_log_at("c", 4, "%f", 1e300);
  EXPECT_EQ(TestHost::logs().at(0).text.size(), 308u);
}

TEST(TestHostTest, TellsAnUnknownConversion) {
  qel_log_at("c", 4, "%s %x", "text", 1);
  EXPECT_EQ(TestHost::takeFaults(), (Lines{"a conversion that this host does not know in the log format \"%s %x\""}));
  EXPECT_EQ(TestHost::logs().at(0).text, "text %x");
}

TEST(TestHostTest, KeepsTheLinesOfOneLevelApart) {
  qel_log_at("c", 2, "error");
  qel_log_at("c", 3, "warn");
  ASSERT_EQ(TestHost::logs(3).size(), 1u);
  EXPECT_EQ(TestHost::logs(3)[0].text, "warn");
  EXPECT_EQ(TestHost::drain(2).size(), 1u);
  EXPECT_EQ(TestHost::drain().size(), 1u);
  EXPECT_TRUE(TestHost::logs().empty());
}

TEST(TestHostTest, RefusesAStatusKeyThatIsInUseOrRefused) {
  int reporter = 0;
  void* item = qel_create_user_status_item(&reporter, "used", "1");
  TestHost::refuseStatusItem("refused");
  EXPECT_EQ(qel_create_user_status_item(&reporter, "used", "2"), nullptr);
  EXPECT_EQ(qel_create_user_status_item(&reporter, "refused", "3"), nullptr);
  EXPECT_EQ(TestHost::statusItems(), (std::map<std::string, std::string>{{"used", "1"}}));
  qel_delete_user_status_item(&reporter, item);
}

TEST(TestHostTest, TellsAStatusHandleThatIsDead) {
  int reporter = 0;
  void* item = qel_create_user_status_item(&reporter, "key", "1");
  qel_delete_user_status_item(&reporter, item);
  qel_set_user_status_item(item, "2");
  EXPECT_EQ(TestHost::takeFaults(), (Lines{"qel_set_user_status_item was given a handle of no item"}));
}

TEST(TestHostTest, ReadsTheClockThatTheTestSets) {
  EXPECT_EQ(Platform::relativeHighResTimeFloat(), 1000.0);
  TestHost::advanceClock(2.5);
  EXPECT_EQ(Platform::relativeHighResTimeFloat(), 1002.5);
  TestHost::advanceAtEachReading(1.0);
  EXPECT_EQ(Platform::relativeHighResTimeFloat(), 1002.5);
  EXPECT_EQ(Platform::relativeHighResTimeFloat(), 1003.5);
}

TEST(TestHostTest, HashesWithTheFunctionOfTheTestsChoice) {
  EXPECT_EQ(qel_hash_string(""), 0xcbf29ce484222325u);
  EXPECT_EQ(qel_hash_string("a"), 0xaf63dc4c8601ec8cu);
  TestHost::useHash([](std::string_view text) { return std::uint64_t{text.size() % 2}; });
  EXPECT_EQ(qel_hash_string("ab"), 0u);
  EXPECT_EQ(qel_hash_string("abc"), 1u);
}

TEST(TestHostTest, WritesNumbersWithinTheCallersBuffers) {
  char buffer[32];
  Platform::float64ToChar8(buffer, -2.2250738585072014e-308);
  EXPECT_STREQ(buffer, "-2.2250738585072014e-308");
  std::uint64_t bits = 0xffffffffffffffff;
  decimal64 decimal;
  std::memcpy(static_cast<void*>(&decimal), &bits, sizeof(bits));
  decimal.toString(buffer);
  EXPECT_STREQ(buffer, "dec:ffffffffffffffff");
}

TEST(TestHostTest, ReadsANumberUpToTheFirstForeignByte) {
  const char* text = "12.5s";
  const char* end = nullptr;
  EXPECT_EQ(Platform::char8ToFloat64(text, &end), 12.5);
  EXPECT_STREQ(end, "s");
  EXPECT_EQ(Platform::char8ToFloat64("x", &end), 0.0);
  EXPECT_STREQ(end, "x");
}

TEST(TestHostTest, TurnsUtf16IntoUtf8) {
  const char16_t text[] = u"aé€😀";
  char* utf8 = kv_getUTF8(reinterpret_cast<const uint16_t*>(text));
  EXPECT_STREQ(utf8, "aé€😀");
  Platform::kv_free(utf8);
}

TEST(TestHostTest, ServesSeveralThreads) {
  const auto work = [] {
    for (int round = 0; round < 200; ++round) {
      freeValue(qel_copy_data(OwnedValue(R"({"a": [1, "two"]})").get()));
      qel_log_at("c", 3, "%d", round);
    }
  };
  std::thread first(work), second(work);
  first.join();
  second.join();
  EXPECT_EQ(TestHost::logs().size(), 400u);
}

}  // namespace
}  // namespace tests
