// Values that only a host can build, on their way through the codec: it must read them, change them and pass them on.
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/blackbox/BlackboxTest.h"
#include "tests/support/MapBuilder.h"

namespace tests {
namespace {

class HostBuiltValuesTest : public BlackboxTest {
 protected:
  static MessageBuilder alarm(std::string_view payload) {
    return event("com.kelvo.marlovance.Alarm").path("/alarm/alarms").payload(payload);
  }

  /// Sends an alarm around a payload that a builder made, and gives the payload of its request.
  std::string requestPayload(const qel_value& payload) {
    RawMessage message = alarm("null").build();
    message.payload = payload;
    Batch batch(std::vector{message});
    EXPECT_EQ(plugin().sendTowardsTransport(batch), 0);
    return takeRequest().payload();
  }

  std::string requestPayload(std::string_view payload) {
    send(alarm(payload));
    return takeRequest().payload();
  }
};

TEST_F(HostBuiltValuesTest, MapsWithTombstonesAreReadAndChanged) {
  MapBuilder map(8);
  for (const char* key : {"a", "b", "c", "d", "e"}) map.put(key, integerValue(1));
  for (const char* key : {"a", "c", "e"}) map.erase(key);
  map.put("text", stringValue("")).put("status", stringValue("ACTIVE"));
  EXPECT_EQ(requestPayload(map.build()), R"({"b":1,"d":1,"status":"ACTIVE"})");
}

TEST_F(HostBuiltValuesTest, MapsWithoutOneFreeSlotAreReadAndChanged) {
  MapBuilder map(8);
  for (const char* key : {"a", "b", "c", "d", "e", "f", "id"}) map.put(key, integerValue(1));
  map.put("text", stringValue(""));
  EXPECT_EQ(requestPayload(map.build()), R"({"a":1,"b":1,"c":1,"d":1,"e":1,"f":1})");
}

TEST_F(HostBuiltValuesTest, MapsOfNothingButTombstonesAreEmpty) {
  MapBuilder map(8);
  for (const char* key : {"a", "b", "c", "d", "e", "f", "g", "h"}) map.put(key, integerValue(1));
  for (const char* key : {"a", "b", "c", "d", "e", "f", "g", "h"}) map.erase(key);
  EXPECT_EQ(requestPayload(map.build()), "{}");
}

TEST_F(HostBuiltValuesTest, EntriesWhoseHashIsAMarkAreEntries) {
  for (const auto hash :
       {+[](std::string_view) { return std::uint64_t{0}; }, +[](std::string_view) { return std::uint64_t{1}; }}) {
    session.reset();  // a host has one hash for as long as a library is loaded
    TestHost::useHash(hash);
    session = std::make_unique<Session>();
    EXPECT_EQ(requestPayload(R"({"id": "", "text": "hot", "source.id": "12", "severity": "", "limit": 1})"),
              R"({"limit":1,"text":"hot"})");
  }
}

TEST_F(HostBuiltValuesTest, MapsKeepTheirNames) {
  EXPECT_EQ(requestPayload(R"({"$name": "outer", "$map": {"inner": {"$name": "", "$map": {"a": 1}}}})"),
            R"({"$map":{"inner":{"$map":{"a":1},"$name":""}},"$name":"outer"})");
}

TEST_F(HostBuiltValuesTest, BorrowedStringsReadLikeOwnedOnes) {
  send(alarm(R"({"id": {"$borrowed": "42"}, "text": {"$borrowed": ""}, "severity": {"$borrowed": "MAJOR"}})"));
  const Received request = takeRequest();
  EXPECT_EQ(request.http("path"), R"("/alarm/alarms/42")");
  EXPECT_EQ(request.payload(), R"({"severity":{"$borrowed":"MAJOR"}})");
}

TEST_F(HostBuiltValuesTest, ABorrowedKeyIsAnotherKey) {
  EXPECT_EQ(requestPayload(R"({"$entries": [[{"$borrowed": "id"}, "42"], ["a", 1]]})"),
            R"({"$entries":[["a",1],[{"$borrowed":"id"},"42"]]})");
}

TEST_F(HostBuiltValuesTest, ATypeUnderABorrowedKeyIsNoType) {
  MapBuilder metadata(8);
  metadata.put(borrowedString("qel.type"), stringValue("com.kelvo.marlovance.Alarm"));
  Batch batch(std::vector{RawMessage{emptyValue(), mapIn(metadata.build())}});
  EXPECT_EQ(plugin().sendTowardsTransport(batch), 0);
  EXPECT_EQ(takeLogs(errorLevel),
            (Texts{"NoTypeFound: Dropping [{qel.type:com.kelvo.marlovance.Alarm} / (null)] with no qel.type"}));
}

TEST_F(HostBuiltValuesTest, AMessageWithoutMetadataHasNoType) {
  send(MessageBuilder());
  EXPECT_EQ(takeLogs(errorLevel), (Texts{"NoTypeFound: Dropping [{} / (null)] with no qel.type"}));
}

TEST_F(HostBuiltValuesTest, ContainersWithoutABlockAreEmpty) {
  MapBuilder map(8);
  map.put("source", withoutBlock(QEL_MAP)).put("text", withoutBlock(QEL_LIST)).put("status", withoutBlock(QEL_BUFFER));
  map.put("list", withoutBlock(QEL_LIST)).put("map", withoutBlock(QEL_MAP));
  EXPECT_EQ(requestPayload(map.build()), R"({"list":[],"map":{}})");
}

TEST_F(HostBuiltValuesTest, APayloadThatIsAMapWithoutABlockIsAMap) {
  EXPECT_EQ(requestPayload(withoutBlock(QEL_MAP)), "{}");
}

TEST_F(HostBuiltValuesTest, ValuesOfEveryKindPassThrough) {
  const std::string payload = json(R"({"null": null, "bool": true, "double": {"$double": "nan"}, "integer": -1,
      "decimal": {"$decimal": 12}, "list": [[], {}], "buffer": {"$buffer": "00ff"}, "custom": {"$custom": 7},
      "keys": {"$entries": [["k", 1], [{"$borrowed": "k"}, 2]]}})");
  EXPECT_EQ(requestPayload(payload), payload);
}

TEST_F(HostBuiltValuesTest, ValuesNestedTenThousandDeepPassThroughAtEveryLevelOfTheLog) {
  TestHost::setLogLevel(debugLevel);
  session->transport.recordsContents = false;
  qel_value deep = emptyValue();
  for (int level = 0; level < 10000; ++level) {
    deep = level % 2 == 0 ? listValue({deep}) : MapBuilder(8).put("k", deep).build();
  }
  RawMessage message = alarm("null").build();
  message.payload = MapBuilder(8).put("deep", deep).build();
  Batch batch(std::vector{message});
  EXPECT_EQ(plugin().sendTowardsTransport(batch), 0);
  EXPECT_EQ(session->transport.takeBatchSizes(), (std::vector<std::size_t>{1}));
  EXPECT_EQ(takeLogs(errorLevel), Texts{});
}

}  // namespace
}  // namespace tests
