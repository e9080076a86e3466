#include "chainrunner/Mapping.h"

#include <gtest/gtest.h>

#include "chainrunner/ChainFile.h"
#include "chainrunner/json_reader.h"
#include "chainrunner/json_writer.h"

namespace chainrunner {
namespace {

map_t mapOf(const char* json) {
  return std::move(readJson(json).get<map_t>());
}

/// {"metadata": ..., "payload": ...} of the message that the mapping makes, or the reason of its refusal.
std::string mapped(const Mapping& mapping, const char* type, const char* payload, const char* metadata = "{}") {
  try {
    Message message = mapping.toMessage(type, readJson(payload), mapOf(metadata));
    map_t both;
    both[data_t("metadata")] = std::move(message.getMetadataMap());
    both[data_t("payload")] = std::move(message.getPayload());
    return toJson(data_t(std::move(both)));
  } catch (const MappingError& error) {
    return error.what();
  }
}

std::string sorted(const char* json) {
  return toJson(readJson(json));
}

class BuiltInMappingTest : public testing::Test {
 protected:
  const Mapping mapping = ChainFile::builtIn().mapping;
};

TEST_F(BuiltInMappingTest, MakesAnAlarmARequest) {
  EXPECT_EQ(mapped(mapping, "com.kelvo.marlovance.Alarm",
                   R"({"reqId": 7, "requiresResponse": true, "responseChannel": "c", "time": 16, "type": "t"})"),
            sorted(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Alarm", "reqId": 7, "requiresResponse": true,
                                    "responseChannel": "c",
                                    "contentType": "application/vnd.com.rdx.marlovance.alarm+json",
                                    "http": {"method": "POST", "path": "/alarm/alarms"}},
                       "payload": {"time": 16.0, "type": "t"}})"));
}

TEST_F(BuiltInMappingTest, KnowsTheWritingTypesByBothNames) {
  for (const char* name : {"ManagedObject", "Alarm", "Event", "Operation"}) {
    const std::string fullName = std::string("com.kelvo.marlovance.") + name;
    ASSERT_NE(mapping.find(name), nullptr) << name;
    EXPECT_EQ(*mapping.find(name), fullName);
    ASSERT_NE(mapping.find(fullName), nullptr) << fullName;
    EXPECT_EQ(*mapping.find(fullName), fullName);
  }
}

TEST_F(BuiltInMappingTest, GivesEachTypeItsPathAndMediaType) {
  EXPECT_EQ(mapped(mapping, "ManagedObject", "{}"),
            sorted(R"({"metadata": {"qel.type": "com.kelvo.marlovance.ManagedObject",
                                    "contentType": "application/vnd.com.rdx.marlovance.managedobject+json",
                                    "http": {"method": "POST", "path": "/registry/managed-objects"}}, "payload": {}})"));
  EXPECT_EQ(mapped(mapping, "Event", "{}"), sorted(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Event",
                                    "contentType": "application/vnd.com.rdx.marlovance.event+json",
                                    "http": {"method": "POST", "path": "/event/events"}}, "payload": {}})"));
  EXPECT_EQ(mapped(mapping, "Operation", "{}"), sorted(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Operation",
                                    "contentType": "application/vnd.com.rdx.marlovance.operation+json",
                                    "http": {"method": "POST", "path": "/operation/operations"}}, "payload": {}})"));
}

TEST_F(BuiltInMappingTest, RefusesAnUnknownType) {
  EXPECT_EQ(mapped(mapping, "alarm", "{}"), "unknown event type \"alarm\"");
}

TEST_F(BuiltInMappingTest, LeavesOutAResponseThatIsNotRequired) {
  EXPECT_EQ(mapped(mapping, "Alarm", R"({"requiresResponse": false})"), mapped(mapping, "Alarm", "{}"));
}

TEST_F(BuiltInMappingTest, RefusesReplyKeysThatDoNotFit) {
  EXPECT_EQ(mapped(mapping, "Alarm", R"({"requiresResponse": true})"), "requiresResponse needs a reqId");
  EXPECT_EQ(mapped(mapping, "Alarm", R"({"requiresResponse": "yes", "reqId": 1})"),
            "requiresResponse is not a boolean but string");
  EXPECT_EQ(mapped(mapping, "Alarm", R"({"reqId": 1.0})"), "reqId is not an integer but double");
  EXPECT_EQ(mapped(mapping, "Alarm", R"({"responseChannel": 1})"), "responseChannel is not a string but integer");
}

TEST_F(BuiltInMappingTest, LetsTheLinesMetadataWin) {
  EXPECT_EQ(mapped(mapping, "Alarm", R"({"reqId": 1})", R"({"reqId": 2, "responseChannel": "mine"})"),
            sorted(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Alarm", "reqId": 2, "responseChannel": "mine",
                                    "contentType": "application/vnd.com.rdx.marlovance.alarm+json",
                                    "http": {"method": "POST", "path": "/alarm/alarms"}}, "payload": {}})"));
}

TEST_F(BuiltInMappingTest, KeepsItsOwnMetadataToItself) {
  EXPECT_EQ(mapped(mapping, "Alarm", "{}", R"({"http": {}})"), "metadata may not hold \"http\"");
  EXPECT_EQ(mapped(mapping, "Alarm", "{}", R"({"qel.type": "x"})"), "metadata may not hold \"qel.type\"");
}

TEST_F(BuiltInMappingTest, PassesOnAPayloadThatIsNoObject) {
  EXPECT_EQ(mapped(mapping, "Alarm", "[1]"), sorted(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Alarm",
                                    "contentType": "application/vnd.com.rdx.marlovance.alarm+json",
                                    "http": {"method": "POST", "path": "/alarm/alarms"}}, "payload": [1]})"));
}

/// A mapping of one event type, x.Query, with rules in YAML.
Mapping queryMapping(const std::string& rules) {
  ChainFile chain;
  chain.overlay("test", "events:\n  x.Query:\n    method: GET\n    path: /things\n" + rules);
  return std::move(chain.mapping);
}

TEST(MappingTest, MakesFloatsInNestedMapsAndLists) {
  const Mapping mapping = queryMapping("    floats: [a/*/b, 'list/*', deep/x/y]\n");
  EXPECT_EQ(mapped(mapping, "Query", R"({"a": {"k": {"b": 1, "c": 1}, "l": {"b": 2.5}}, "list": [1, "t"], "deep": 3})"),
            sorted(R"({"metadata": {"qel.type": "x.Query", "http": {"method": "GET", "path": "/things"}},
                       "payload": {"a": {"k": {"b": 1.0, "c": 1}, "l": {"b": 2.5}}, "list": [1.0, "t"], "deep": 3}})"));
}

TEST(MappingTest, MovesFieldsToEveryPartOfARequest) {
  const Mapping mapping = queryMapping(R"(
    move: {verb: method, where: path, params: query, one: query.two, heads: headers, h: header.X-H, cookies: cookies,
           c: cookie.session, inner/deep: metadata.deep, body: payload}
)");
  EXPECT_EQ(mapped(mapping, "Query",
                   R"({"verb": "DELETE", "where": "/other", "params": {"p": 1}, "one": 2, "heads": {"A": "b"}, "h": "x",
                       "cookies": {"k": "v"}, "c": "s", "inner": {"deep": true, "stays": 1}, "body": {"x": 1}})"),
            sorted(R"({"metadata": {"qel.type": "x.Query", "deep": true,
                                    "http": {"method": "DELETE", "path": "/other", "queryString": {"p": 1, "two": 2},
                                             "headers": {"A": "b", "X-H": "x"}, "cookies": {"k": "v", "session": "s"}}},
                       "payload": {"x": 1}})"));
}

TEST(MappingTest, SetsWhatTheEventDidNotBring) {
  const Mapping mapping = queryMapping(R"(
    move: {size: query.pageSize}
    set: {query.pageSize: "100", query.withTotalPages: "true", metadata.isPaging: true, metadata.n: 3, metadata.f: 1.5}
)");
  EXPECT_EQ(mapped(mapping, "Query", R"({"size": "7"})"),
            sorted(R"({"metadata": {"qel.type": "x.Query", "isPaging": true, "n": 3, "f": 1.5,
                                    "http": {"method": "GET", "path": "/things",
                                             "queryString": {"pageSize": "7", "withTotalPages": "true"}}},
                       "payload": {}})"));
}

TEST(MappingTest, RefusesAnEventWithoutARequiredKey) {
  const Mapping mapping = queryMapping("    move: {reqId: metadata.reqId}\n    required: [reqId]\n");
  EXPECT_EQ(mapped(mapping, "Query", "{}"), "reqId is missing");
}

TEST(MappingTest, RefusesToSpreadWhatIsNoObject) {
  const Mapping mapping = queryMapping("    move: {params: query}\n");
  EXPECT_EQ(mapped(mapping, "Query", R"({"params": [1]})"), "the value for queryString is not an object but list");
}

}  // namespace
}  // namespace chainrunner
