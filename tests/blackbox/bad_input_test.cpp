// What no well-behaved neighbour sends: the plug-in refuses it by name or goes on, each query ends once, and what
// follows is served as ever.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/blackbox/BlackboxTest.h"
#include "tests/blackbox/codec_events.h"
#include "tests/unit/connectivity/cases.h"

namespace tests {
namespace {

constexpr const char* collection = "application/vnd.com.rdx.marlovance.optioncollection+json";

std::string named(const std::string& type) {
  return "com.kelvo.marlovance." + type;
}

// ---------------------------------------------------------------------------------------- answers to queries

struct QueryType {
  const char* name;
  const char* finalEvent;
  bool failsByMark = false;  ///< whether a failure bears the final event's type, and "error"
};

void PrintTo(const QueryType& type, std::ostream* out) {
  *out << type.name;
}

class BadAnswerTest : public BlackboxTest, public testing::WithParamInterface<QueryType> {
 protected:
  MessageBuilder query(bool byId) const {
    MessageBuilder builder = event(named(GetParam().name))
                                 .method("GET")
                                 .path("/some/things")
                                 .metadata("isPaging", "true")
                                 .responseChannel("c")
                                 .reqId(7)
                                 .http("queryString", R"({"system": false, "pageSize": "2"})")
                                 .payload("{}");
    if (byId) builder.query("q", "a");
    return builder;
  }

  /// Sends a query, gives the answer, ends the walk if it goes on, and counts the final events. A failure event of the
  /// same type, marked by "error", is none of them.
  std::size_t endsAfter(const std::string& mediaType, const std::string& payload, bool byId) {
    EXPECT_EQ(send(query(byId)), 0);
    EXPECT_EQ(respond(takeRequest().requestId(), 200, mediaType, payload), 0);
    for (const Received& next : takeRequests())
      EXPECT_EQ(respond(next.requestId(), 200, collection, R"({"options": [], "statistics": {"totalPages": 0}})"), 0);
    std::size_t ends = 0;
    for (const Received& received : takeHostEvents())
      if (received.type() == named(GetParam().finalEvent) && !isMarkedByError(received)) ++ends;
    EXPECT_EQ(takeRequests().size(), 0u);
    takeLogs(warnLevel);
    takeLogs(errorLevel);
    return ends;
  }

  bool isMarkedByError(const Received& received) const {
    return GetParam().failsByMark && received.document.at("payload").as_object().contains("error");
  }

  static std::string page(const std::string& elements, const std::string& statistics) {
    return R"({"options": )" + elements + R"(, "statistics": )" + statistics + "}";
  }
};

TEST_P(BadAnswerTest, EndsTheQueryOnce) {
  const std::string two = R"([{"id": "1"}, {"id": "2"}])";
  const std::string whole = R"({"currentPage": 1, "totalPages": 2})";
  const std::vector<std::string> payloads = {
      // statistics
      R"({"options": [{"id": "1"}, {"id": "2"}]})", page(two, "{}"), page(two, "null"), page(two, R"("text")"),
      page(two, "[1]"), page(two, R"({"currentPage": -1, "totalPages": -1})"),
      page(two, R"({"currentPage": "1", "totalPages": "2"})"),
      page(two, R"({"currentPage": 9223372036854775807, "totalPages": 9223372036854775807})"),
      page(two, R"({"currentPage": 1, "totalPages": 9223372036854775807})"),
      page(two, R"({"currentPage": -9223372036854775808, "totalPages": 1})"),
      // elements
      page(R"(["text", {"id": "2"}])", whole), page(R"([{"id": "1"}, 5])", whole), page("[null, null]", whole),
      page("[[], []]", whole), page("[]", whole), page("{}", whole), page("null", whole), page(R"("text")", whole),
      // ids
      page("[{}, {}]", whole), page(R"([{"id": 1}, {"id": 2}])", whole),
      page(R"([{"id": "a"}, {"id": "it's"}])", whole), page(R"([{"id": null}, {"id": [1]}])", whole),
      // whole payloads
      "null", R"("text")", "5", "[]", "{}", R"({"message": 5})"};
  createPlugin();
  for (const std::string& payload : payloads)
    for (const char* mediaType :
         {collection, "application/json", "text/html", "", "application/vnd.com.rdx.marlovance.error+json"})
      for (const bool byId : {false, true})
        EXPECT_EQ(endsAfter(mediaType, payload, byId), 1u) << payload << " as " << mediaType;
  EXPECT_EQ(session->destroy(), 0);
  EXPECT_EQ(takeHostEvents().size(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Types, BadAnswerTest,
                         testing::Values(QueryType{"FindManagedObject", "FindManagedObjectResponseAck"},
                                         QueryType{"FindMeasurement", "FindMeasurementResponseAck"},
                                         QueryType{"FindAlarm", "FindAlarmResponseAck"},
                                         QueryType{"FindEvent", "FindEventResponseAck"},
                                         QueryType{"FindOperation", "FindOperationResponseAck"},
                                         QueryType{"RequestAllDevices", "RequestAllDevicesComplete"},
                                         QueryType{"FindTenantOptions", "FindTenantOptionsResponse", true},
                                         QueryType{"GenericRequest", "GenericResponseComplete"}),
                         NameOfCase());

class BadInputTest : public BlackboxTest {
 protected:
  /// The text of the one Error event that an event ends in.
  std::string refusalOf(const MessageBuilder& event) {
    EXPECT_EQ(send({event, alarm()}), 0);
    EXPECT_EQ(takeRequests().size(), 1u) << "the next event goes out";
    takeLogs(errorLevel);
    const std::vector<Received> events = takeHostEvents();
    if (types(events) != Texts{named("Error")}) return "no single Error event";
    return std::string(events[0].document.at("payload").at("message").as_string());
  }
};

TEST_F(BadInputTest, APageOfAHundredThousandElementsComesWholeAndInOrder) {
  constexpr int count = 100000;
  std::string elements;
  for (int id = 0; id < count; ++id)
    elements += (elements.empty() ? R"({"id": )" : R"(, {"id": )") + std::to_string(id) + "}";
  send(event(named("FindAlarm")).method("GET").path("/alarms").http("queryString", "{}").reqId(7).payload("{}"));
  respond(0, 200, collection,
          R"({"alarms": [)" + elements + R"(], "statistics": {"currentPage": 1, "totalPages": 1}})");
  const std::vector<Received> events = takeHostEvents();
  ASSERT_EQ(events.size(), std::size_t{count} + 1);
  for (int id = 0; id < count; ++id)
    ASSERT_EQ(events[static_cast<std::size_t>(id)].document.at("payload").at("alarm").at("id").as_int64(), id);
  EXPECT_EQ(events.back().type(), named("FindAlarmResponseAck"));
}

TEST_F(BadInputTest, AMeasurementOfTenThousandSeriesIsMergedWithOthers) {
  std::string series;
  for (int number = 0; number < 10000; ++number)
    series += (series.empty() ? R"("s)" : R"(, "s)") + std::to_string(number) + R"(": {"value": )" +
              std::to_string(number) + "}";
  const MessageBuilder small = event(named("Measurement")).path("/m").payload("{}");
  const MessageBuilder large =
      event(named("Measurement")).path("/m").payload(R"({"measurements": {"f": {)" + series + "}}}");
  send({small, large, small});
  const Received request = takeRequest();
  EXPECT_EQ(request.metadata("batchedMessagesCount"), "3");
  const auto& bodies = request.document.at("payload").at("measurements").as_array();
  ASSERT_EQ(bodies.size(), 3u);
  EXPECT_EQ(bodies[1].at("f").as_object().size(), 10000u);
  EXPECT_EQ(bodies[1].at("f").at("s9999").at("value").as_int64(), 9999);
}

TEST_F(BadInputTest, BlindCopiesOfAMegabyteGoOut) {
  std::string text;
  for (int number = 0; number < 65536; ++number) text += "name-" + std::to_string(1000000000 + number).substr(1) + ",";
  send(event(named("SendEmail")).path("/email").payload(R"({"to": ["a"], "bcc": )" + tests::quoted(text) + "}"));
  const Received request = takeRequest();
  const auto& copies = request.document.at("payload").at("bcc").as_array();
  ASSERT_EQ(copies.size(), 65536u);
  EXPECT_EQ(copies.back().as_string(), "name-000065535");
}

struct BadEvent {
  const char* name;
  const char* type;
  const char* payload;
  const char* text;  ///< how the refusal ends
};

void PrintTo(const BadEvent& each, std::ostream* out) {
  *out << each.type << " " << each.payload;
}

class BadEventTest : public BadInputTest, public testing::WithParamInterface<BadEvent> {};

TEST_P(BadEventTest, CostsItselfAndIsNamed) {
  const std::string text =
      refusalOf(event(named(GetParam().type)).method("POST").path("/p").payload(GetParam().payload));
  EXPECT_TRUE(text.ends_with(GetParam().text)) << text;
}

INSTANTIATE_TEST_SUITE_P(
    Events, BadEventTest,
    testing::Values(BadEvent{"MeasurementsOfText", "Measurement", R"({"measurements": "x"})",
                             "Incorrect type in get (you asked for map but it's actually string)"},
                    BadEvent{"MeasurementsOfAList", "Measurement", R"({"measurements": [{"f": {}}]})",
                             "Incorrect type in get (you asked for map but it's actually list)"},
                    BadEvent{"ParametersOfText", "MeasurementFragment",
                             R"({"valueFragment": "f", "valueSeries": "s", "params": ""})",
                             "Incorrect type in get (you asked for map but it's actually string)"},
                    BadEvent{"NoSeries", "MeasurementFragment", R"({"valueFragment": "f"})",
                             "as valueFragment or valueSeries is missing"},
                    BadEvent{"AddressOfText", "SendSMS", R"({"message": "m", "address": "1"})",
                             "Incorrect type in get (you asked for list but it's actually string)"},
                    BadEvent{"AddressOfADouble", "SendSMS", R"({"message": "m", "address": 1.5})",
                             "Incorrect type in get (you asked for list but it's actually double)"},
                    BadEvent{"AddressOfABuffer", "SendSMS", R"({"message": "m", "address": {"$buffer": "0a"}})",
                             "Incorrect type in get (you asked for list but it's actually buffer)"},
                    BadEvent{"ReceiverOfACustomObject", "SendEmail", R"({"to": {"$custom": 7}})",
                             "Incorrect type in get (you asked for list but it's actually custom)"},
                    BadEvent{"ReceiverOfADecimal", "SendEmail", R"({"to": {"$decimal": 7}})",
                             "Incorrect type in get (you asked for list but it's actually decimal)"},
                    BadEvent{"GenericWithoutItsWish", "GenericRequest", "{}", "Trying to parse from empty"}),
    NameOfCase());

}  // namespace
}  // namespace tests
