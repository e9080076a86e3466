#include "chainrunner/Mapping.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

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

TEST_F(BuiltInMappingTest, KnowsExactlyTheTypesOfThePlugin) {
  EXPECT_EQ(mapping.types(),
            (std::vector<std::string>{"com.kelvo.marlovance.Alarm", "com.kelvo.marlovance.Event",
                                      "com.kelvo.marlovance.FindAlarm", "com.kelvo.marlovance.FindEvent",
                                      "com.kelvo.marlovance.FindManagedObject", "com.kelvo.marlovance.FindMeasurement",
                                      "com.kelvo.marlovance.FindOperation", "com.kelvo.marlovance.FindTenantOptions",
                                      "com.kelvo.marlovance.GenericRequest", "com.kelvo.marlovance.GetCurrentUser",
                                      "com.kelvo.marlovance.ManagedObject", "com.kelvo.marlovance.Measurement",
                                      "com.kelvo.marlovance.MeasurementFragment", "com.kelvo.marlovance.Operation",
                                      "com.kelvo.marlovance.RequestAllDevices", "com.kelvo.marlovance.SendEmail",
                                      "com.kelvo.marlovance.SendSMS"}));
}

TEST_F(BuiltInMappingTest, MakesEveryValueOfAMeasurementAFloat) {
  EXPECT_EQ(
      mapped(mapping, "Measurement", R"({"time": 16, "measurements": {"c_T": {"T": {"value": 21, "unit": "C"}}}})"),
      sorted(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Measurement",
                                    "contentType": "application/vnd.com.rdx.marlovance.measurement+json",
                                    "http": {"method": "POST", "path": "/measurement/measurements"}},
                       "payload": {"time": 16.0, "measurements": {"c_T": {"T": {"value": 21.0, "unit": "C"}}}}})"));
}

TEST_F(BuiltInMappingTest, MakesAFragmentARequest) {
  EXPECT_EQ(mapped(mapping, "MeasurementFragment", R"({"value": 21, "valueFragment": "c_T", "valueSeries": "T"})"),
            sorted(R"({"metadata": {"qel.type": "com.kelvo.marlovance.MeasurementFragment",
                                    "contentType": "application/vnd.com.rdx.marlovance.measurement+json",
                                    "http": {"method": "POST", "path": "/measurement/measurements"}},
                       "payload": {"value": 21.0, "valueFragment": "c_T", "valueSeries": "T"}})"));
}

TEST_F(BuiltInMappingTest, SendsMessagesToTheirServices) {
  EXPECT_EQ(mapped(mapping, "SendSMS", R"({"address": ["1"], "message": "m"})"),
            sorted(R"({"metadata": {"qel.type": "com.kelvo.marlovance.SendSMS", "contentType": "application/json",
                                    "http": {"method": "POST", "path": "/messaging/sms/outbound"}},
                       "payload": {"address": ["1"], "message": "m"}})"));
  EXPECT_EQ(mapped(mapping, "SendEmail", R"({"to": ["a@b"]})"),
            sorted(R"({"metadata": {"qel.type": "com.kelvo.marlovance.SendEmail", "contentType": "application/json",
                                    "http": {"method": "POST", "path": "/messaging/email"}},
                       "payload": {"to": ["a@b"]}})"));
}

TEST_F(BuiltInMappingTest, MakesParametersTheQueryAndDatesFloats) {
  EXPECT_EQ(mapped(mapping, "FindAlarm",
                   R"({"reqId": 1, "params": {"pageSize": 7, "withTotalPages": true, "id": 12, "dateFrom": 16,
                                              "dateTo": 17.5, "createdFrom": 1, "createdTo": 2, "severity": "MAJOR"}})"),
            sorted(R"({"metadata": {"qel.type": "com.kelvo.marlovance.FindAlarm", "reqId": 1,
                                    "http": {"method": "GET", "path": "/alarm/alarms",
                                             "queryString": {"pageSize": "7", "withTotalPages": "true", "id": "12",
                                                             "dateFrom": 16.0, "dateTo": 17.5, "createdFrom": 1.0,
                                                             "createdTo": 2.0, "severity": "MAJOR"}}},
                       "payload": {}})"));
}

TEST_F(BuiltInMappingTest, GivesEachQueryItsPathAndAQueryString) {
  constexpr std::pair<const char*, const char*> paths[] = {{"FindManagedObject", "/registry/managed-objects"},
                                                           {"FindMeasurement", "/measurement/measurements"},
                                                           {"FindAlarm", "/alarm/alarms"},
                                                           {"FindEvent", "/event/events"},
                                                           {"FindOperation", "/operation/operations"},
                                                           {"RequestAllDevices", "/registry/managed-objects"}};
  for (const auto& [type, path] : paths)
    EXPECT_EQ(mapped(mapping, type, R"({"reqId": 1})"),
              sorted((R"({"metadata": {"qel.type": "com.kelvo.marlovance.)" + std::string(type) +
                      R"(", "reqId": 1, "http": {"method": "GET", "path": ")" + path +
                      R"(", "queryString": {}}}, "payload": {}})")
                         .c_str()));
}

TEST_F(BuiltInMappingTest, AsksForTheTenantsOwnOptionsUnlessTold) {
  EXPECT_EQ(mapped(mapping, "FindTenantOptions", R"({"reqId": 1, "category": "mail", "key": 5})"),
            sorted(R"({"metadata": {"qel.type": "com.kelvo.marlovance.FindTenantOptions", "reqId": 1,
                                    "http": {"method": "GET", "path": "/tenant/options",
                                             "queryString": {"category": "mail", "key": "5", "system": false}}},
                       "payload": {}})"));
  EXPECT_EQ(mapped(mapping, "FindTenantOptions", R"({"reqId": 1, "system": true})"),
            sorted(R"({"metadata": {"qel.type": "com.kelvo.marlovance.FindTenantOptions", "reqId": 1,
                                    "http": {"method": "GET", "path": "/tenant/options",
                                             "queryString": {"system": true}}},
                       "payload": {}})"));
}

TEST_F(BuiltInMappingTest, AsksForTheCurrentUserWithASessionOfItsOwn) {
  EXPECT_EQ(mapped(mapping, "GetCurrentUser",
                   R"({"reqId": 1, "cookies": {"authorization": "c"}, "headers": {"X-XSRF-TOKEN": "t"}})"),
            sorted(R"({"metadata": {"qel.type": "com.kelvo.marlovance.GetCurrentUser", "reqId": 1,
                                    "http": {"method": "GET", "path": "/user/current",
                                             "cookies": {"authorization": "c"}, "headers": {"X-XSRF-TOKEN": "t"}}},
                       "payload": {}})"));
}

TEST_F(BuiltInMappingTest, TakesARequestOfAnyKindApart) {
  EXPECT_EQ(mapped(mapping, "GenericRequest",
                   R"({"reqId": 1, "method": "PUT", "path": "/a", "params": {"x": 1}, "headers": {"H": "h"},
                       "contentType": "text/x", "isPaging": true, "body": {"path": "/b"}})"),
            sorted(R"({"metadata": {"qel.type": "com.kelvo.marlovance.GenericRequest", "reqId": 1, "isPaging": true,
                                    "contentType": "text/x",
                                    "http": {"method": "PUT", "path": "/a", "queryString": {"x": "1"},
                                             "headers": {"H": "h"}}},
                       "payload": {"path": "/b"}})"));
  EXPECT_EQ(mapped(mapping, "GenericRequest", R"({"reqId": 1, "path": "/a"})"),
            sorted(R"({"metadata": {"qel.type": "com.kelvo.marlovance.GenericRequest", "reqId": 1, "isPaging": false,
                                    "http": {"method": "GET", "path": "/a", "queryString": {}, "headers": {}}},
                       "payload": {}})"));
}

TEST_F(BuiltInMappingTest, NamesTheFieldThatIsMissingOrDoesNotFit) {
  constexpr std::tuple<const char*, const char*, const char*> refusals[] = {
      {"FindAlarm", "{}", "reqId is missing"},
      {"FindAlarm", R"({"reqId": "1"})", "reqId is not an integer but string"},
      {"FindAlarm", R"({"reqId": 1, "params": ["a"]})", "params is not an object but list"},
      {"FindAlarm", R"({"reqId": 1, "severity": "MAJOR"})", "the payload has an unknown field \"severity\""},
      {"FindAlarm", "[1]", "the payload is not an object but list"},
      {"RequestAllDevices", R"({"reqId": 1, "responseChannel": 5})", "responseChannel is not a string but integer"},
      {"FindTenantOptions", R"({"reqId": 1, "system": "yes"})", "system is not a boolean but string"},
      {"FindTenantOptions", R"({"reqId": 1, "category": {}})", "category is not a string but map"},
      {"GetCurrentUser", R"({"reqId": 1, "cookies": "c"})", "cookies is not an object but string"},
      {"GetCurrentUser", "{}", "reqId is missing"},
      {"GenericRequest", R"({"reqId": 1})", "path is missing"},
      {"GenericRequest", R"({"path": "/a"})", "reqId is missing"},
      {"GenericRequest", R"({"reqId": 1, "path": 7})", "path is not a string but integer"},
      {"GenericRequest", R"({"reqId": 1, "path": "/a", "method": null})", "method is not a string but empty"},
      {"GenericRequest", R"({"reqId": 1, "path": "/a", "isPaging": "true"})", "isPaging is not a boolean but string"},
      {"GenericRequest", R"({"reqId": 1, "path": "/a", "querry": {}})", "the payload has an unknown field \"querry\""}};
  for (const auto& [type, payload, reason] : refusals) EXPECT_EQ(mapped(mapping, type, payload), reason) << payload;
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
  const Mapping mapping = queryMapping("    move: {reqId: metadata.reqId}\n    required: [metadata.reqId]\n");
  EXPECT_EQ(mapped(mapping, "Query", "{}"), "reqId is missing");
}

TEST(MappingTest, MakesTextsOfWholeNumbersAndBooleans) {
  const Mapping mapping = queryMapping("    texts: [a/*]\n");
  EXPECT_EQ(mapped(mapping, "Query", R"({"a": {"i": -9223372036854775808, "b": false, "f": 1.5, "n": null}, "b": 1})"),
            sorted(R"({"metadata": {"qel.type": "x.Query", "http": {"method": "GET", "path": "/things"}},
                       "payload": {"a": {"i": "-9223372036854775808", "b": "false", "f": 1.5, "n": null}, "b": 1}})"));
}

TEST(MappingTest, ChecksKindsWhereverThePathLeads) {
  const Mapping mapping = queryMapping("    kinds: {'a/*': list}\n");
  EXPECT_EQ(mapped(mapping, "Query", R"({"a": [[], 5]})"), "a/* is not a list but integer");
}

TEST(MappingTest, BeginsWithTheRulesOfAnotherType) {
  ChainFile chain;
  chain.overlay("test", R"(
events:
  x.A: {method: GET, path: /a, floats: [f]}
  x.B: {like: x.A, path: /b, floats: [g]}
)");
  EXPECT_EQ(mapped(chain.mapping, "B", R"({"f": 1, "g": 2})"),
            sorted(R"({"metadata": {"qel.type": "x.B", "http": {"method": "GET", "path": "/b"}},
                       "payload": {"f": 1.0, "g": 2.0}})"));
}

TEST(MappingTest, MakesMessagesThatShareNothing) {
  const Mapping mapping = queryMapping("    contentType: text/x\n    move: {p: query.p}\n");
  const std::string first = mapped(mapping, "Query", R"({"p": 1})");
  EXPECT_EQ(first, sorted(R"({"metadata": {"qel.type": "x.Query", "contentType": "text/x",
                                           "http": {"method": "GET", "path": "/things", "queryString": {"p": 1}}},
                              "payload": {}})"));
  EXPECT_EQ(mapped(mapping, "Query", "{}"), sorted(R"({"metadata": {"qel.type": "x.Query", "contentType": "text/x",
                                                        "http": {"method": "GET", "path": "/things"}},
                                                       "payload": {}})"));
  EXPECT_EQ(mapped(mapping, "Query", R"({"p": 1})"), first);
}

TEST(MappingTest, TakesOneFieldOfManyParentsFromAllOfThem) {
  const Mapping mapping = queryMapping("    move: {'list/*/x': metadata.x}\n");
  EXPECT_EQ(mapped(mapping, "Query", R"({"list": [{"x": 1, "y": 2}, 3, {"x": 4}, {}]})"),
            sorted(R"({"metadata": {"qel.type": "x.Query", "x": 4, "http": {"method": "GET", "path": "/things"}},
                       "payload": {"list": [{"y": 2}, 3, {}, {}]}})"));
}

TEST(MappingTest, KnowsNewRulesByBothNames) {
  EventRules rules;
  Mapping mapping;
  for (const char* path : {"/old", "/new"}) {
    rules.path = path;
    mapping.set("x.A", rules);
  }
  for (const char* name : {"A", "x.A"}) EXPECT_EQ(mapping.rulesOf(name)->path, "/new") << name;
  EXPECT_EQ(mapping.types(), std::vector<std::string>{"x.A"});
}

TEST(MappingTest, MovesThePayloadAwayLast) {
  const Mapping mapping = queryMapping("    move: {body: payload, where: path}\n");
  EXPECT_EQ(mapped(mapping, "Query", R"({"body": {"where": "/inner"}, "where": "/outer"})"),
            sorted(R"({"metadata": {"qel.type": "x.Query", "http": {"method": "GET", "path": "/outer"}},
                       "payload": {"where": "/inner"}})"));
}

TEST(MappingTest, RefusesToSpreadWhatIsNoObject) {
  const Mapping mapping = queryMapping("    move: {params: query}\n");
  EXPECT_EQ(mapped(mapping, "Query", R"({"params": [1]})"), "the value for queryString is not an object but list");
}

}  // namespace
}  // namespace chainrunner
