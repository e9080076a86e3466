// What is left of an event's payload when it goes out, type by type and field by field.
#include <utility>

#include "tests/unit/handlers/HandlerFixture.h"

namespace tests {
namespace {

class ResourceBodyTest : public HandlerFixture {
 protected:
  /// The body that goes out for an event.
  std::string bodyOf(const MessageBuilder& event) {
    send(event);
    return takeRequest().payload();
  }
};

class AlarmBodyTest : public ResourceBodyTest {
 protected:
  AlarmBodyTest() { use("Alarm"); }
  MessageBuilder alarm(std::string_view payload) const { return event("/alarm/alarms").payload(payload); }
};

TEST_F(AlarmBodyTest, LosesTheFieldsThatAreForTheHostAlone) {
  EXPECT_EQ(bodyOf(alarm(R"({".kelvo_notificationType": "n", "source.name": "n", "source.value": "v", "source.id": "i",
                             "source.self": "s", "source.type": "t", "source.other": "o", "source": {"id": "10"}})")),
            json(R"({"source.other": "o", "source": {"id": "10"}})"));
}

TEST_F(AlarmBodyTest, KeepsAZeroAndAFalse) {
  constexpr const char* payload = R"({"text": 0, "status": false, "severity": 0.0})";
  EXPECT_EQ(bodyOf(alarm(payload)), json(payload));
}

TEST_F(AlarmBodyTest, TellsOfEachEmptyField) {
  EXPECT_EQ(bodyOf(alarm(R"({"severity": "", "text": ""})")), "{}");
  const Texts lines = takeLogs(debugLevel);
  ASSERT_GE(lines.size(), 2u);
  EXPECT_EQ((Texts{lines[0], lines[1]}), (Texts{"Removing \"text\" field", "Removing \"severity\" field"}));
}

TEST_F(AlarmBodyTest, LosesAnEmptyTimeBeforeItIsConverted) {
  EXPECT_EQ(bodyOf(alarm(R"({"time": "", "source": "10"})")), json(R"({"source": "10"})"));
}

struct Body {
  const char* name;  ///< of the test
  const char* type;
  const char* id;  ///< as JSON
  const char* dropped;
};

void PrintTo(const Body& body, std::ostream* out) {
  *out << body.name;
}

/// The payload as JSON, without some of its entries.
std::string without(std::string_view names, std::string_view payload) {
  boost::json::value document = parseJson(payload);
  const boost::json::value list = parseJson(names);
  for (const auto& name : list.as_array()) document.as_object().erase(name.as_string());
  return textOf(document);
}

class BodyTest : public ResourceBodyTest, public testing::WithParamInterface<Body> {
 protected:
  std::string sent(std::string_view payload) {
    use(GetParam().type);
    boost::json::value document = parseJson(payload);
    document.as_object()["id"] = parseJson(GetParam().id);
    return bodyOf(event("/p").payload(textOf(document)));
  }
};

class FullBodyTest : public BodyTest {};

TEST_P(FullBodyTest, LosesTheFieldsThatDoNotBelongToTheMethod) {
  constexpr const char* payload = R"({"source": {"id": "10"}, "deviceId": "20", "type": "t", "text": "x",
      "time": "1600000000.25", "status": "s", "severity": "MAJOR", "delivery": {"status": "d"}, "name": "n",
      "q4v_Position": {"lat": 1.5}, "q4v_SupportedMeasurements": ["m"], "q4v_SupportedOperations": ["o"],
      "other": {"a": []}})";
  boost::json::value converted = parseJson(payload);
  converted.as_object()["time"] = "2020-09-13T12:26:40.250Z";
  EXPECT_EQ(sent(payload), without(GetParam().dropped, textOf(converted)));
}

INSTANTIATE_TEST_SUITE_P(Types, FullBodyTest,
                         testing::Values(Body{"ManagedObjectCreate", "ManagedObject", R"("")", "[]"},
                                         Body{"ManagedObjectUpdate", "ManagedObject", R"("5")", "[]"},
                                         Body{"AlarmCreate", "Alarm", R"("")", "[]"},
                                         Body{"AlarmUpdate", "Alarm", R"("5")", R"(["type", "time"])"},
                                         Body{"EventCreate", "Event", R"("")", "[]"},
                                         Body{"EventUpdate", "Event", R"("5")", R"(["source", "type", "time"])"},
                                         Body{"OperationCreate", "Operation", R"("")", R"(["status"])"},
                                         Body{"OperationUpdate", "Operation", R"("5")", R"(["deviceId", "delivery"])"}),
                         NameOfCase());

class EmptyBodyTest : public BodyTest {};

TEST_P(EmptyBodyTest, LosesItsTypesFieldsThatAreEmpty) {
  constexpr const char* payload = R"({"source": "", "deviceId": "", "type": "", "text": "", "status": "",
      "severity": "", "delivery": "", "name": "", "q4v_Position": {}, "q4v_SupportedMeasurements": [],
      "q4v_SupportedOperations": [], "other": "", "creationTime": ""})";
  EXPECT_EQ(sent(payload), without(GetParam().dropped, payload));
}

INSTANTIATE_TEST_SUITE_P(
    Types, EmptyBodyTest,
    testing::Values(Body{"ManagedObjectCreate", "ManagedObject", R"("")",
                         R"(["name", "type", "q4v_Position", "q4v_SupportedMeasurements", "q4v_SupportedOperations"])"},
                    Body{"ManagedObjectUpdate", "ManagedObject", R"("5")",
                         R"(["name", "type", "q4v_Position", "q4v_SupportedMeasurements", "q4v_SupportedOperations"])"},
                    Body{"AlarmCreate", "Alarm", R"("")", R"(["source", "type", "text", "status", "severity"])"},
                    Body{"AlarmUpdate", "Alarm", R"("5")", R"(["source", "type", "text", "status", "severity"])"},
                    Body{"EventCreate", "Event", R"("")", R"(["source", "type", "text"])"},
                    Body{"EventUpdate", "Event", R"("5")", R"(["source", "type", "text"])"},
                    Body{"OperationCreate", "Operation", R"("")", R"(["deviceId", "status"])"},
                    Body{"OperationUpdate", "Operation", R"("5")", R"(["deviceId", "status", "delivery"])"}),
    NameOfCase());

TEST_F(ResourceBodyTest, TellsOfEmptyFieldsInTheOrderOfItsTypesList) {
  const std::vector<std::pair<const char*, Texts>> lists{
      {"ManagedObject", {"name", "type", "q4v_Position", "q4v_SupportedMeasurements", "q4v_SupportedOperations"}},
      {"Alarm", {"source", "type", "time", "text", "status", "severity"}},
      {"Event", {"source", "type", "time", "text"}},
      {"Operation", {"deviceId", "status"}}};
  for (const auto& [type, names] : lists) {
    boost::json::object payload;
    Texts expected;
    for (const std::string& name : names) {
      payload[name] = "";
      expected.push_back("Removing \"" + name + "\" field");
    }
    use(type);
    send(event("/p").payload(textOf(payload)));
    Texts lines = takeLogs(debugLevel);
    std::erase_if(lines, [](const std::string& line) { return !line.starts_with("Removing "); });
    EXPECT_EQ(lines, expected);
  }
}

TEST_F(ResourceBodyTest, SaysNothingOfAManagedObjectWithoutAName) {
  use("ManagedObject");
  send(event("/p").payload(R"({"q4v_Position": {}})"));
  EXPECT_EQ(takeLogs(debugLevel).front(), "Removing \"q4v_Position\" field");
}

}  // namespace
}  // namespace tests
