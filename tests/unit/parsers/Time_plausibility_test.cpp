#include "connectivity/to_string.h"
#include "tests/unit/parsers/TimeTowardsPlatformTest.h"

namespace tests {
namespace {

class PlausibilityTest : public TimeTowardsPlatformTest {
 protected:
  /// Converts an event with the time and the source, both JSON, and gives the warnings.
  Texts warnings(std::string_view eventTime, std::string_view source) {
    convertedPayload(R"({"time": )" + std::string(eventTime) + R"(, "source": )" + std::string(source) + "}");
    return takeLogs(warnLevel);
  }
  std::size_t warningCount(std::string_view eventTime, std::string_view source) {
    return warnings(eventTime, source).size();
  }
};

TEST_F(PlausibilityTest, ShowsTheWholeMessage) {
  constexpr const char* payload = R"({"time": 1.5, "source": {"id": "7"}})";
  const std::string message = product::to_string(messageFromJson(R"({"qel.type": "T"})", payload));
  convertedMessage(R"({"qel.type": "T"})", payload);
  EXPECT_EQ(takeLogs(warnLevel), (Texts{"Invalid or uninitialized timestamp in [" + message + "]"}));
}

TEST_F(PlausibilityTest, WarnsOncePerSource) {
  EXPECT_EQ(warningCount("1.5", R"({"id": "7"})"), 1u);
  EXPECT_EQ(warningCount("2.5", R"({"id": "7"})"), 0u);
  EXPECT_EQ(warningCount("1.5", R"({"id": "8"})"), 1u);
  EXPECT_EQ(warningCount("1.5", R"({"id": "7"})"), 0u);
}

TEST_F(PlausibilityTest, SendsASmallTimeAsItIs) {
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(convertedPayload(R"({"time": 1.5, "source": {"id": "7"}})"),
              json(R"({"time": "1970-01-01T00:00:01.500Z", "source": {"id": "7"}})"));
  }
}

TEST_F(PlausibilityTest, BeginsToBelieveAfterAYear) {
  EXPECT_EQ(warningCount("31535999.999", R"({"id": "7"})"), 1u);
  EXPECT_EQ(warningCount("31536000.0", R"({"id": "8"})"), 0u);
  EXPECT_EQ(warningCount("-5.0", R"({"id": "9"})"), 1u);
}

TEST_F(PlausibilityTest, ReadsTextAsANumber) {
  EXPECT_EQ(warningCount(R"("1.5")", R"({"id": "7"})"), 1u);
  EXPECT_EQ(warningCount(R"("1600000000")", R"({"id": "8"})"), 0u);
}

TEST_F(PlausibilityTest, WarnsOfAWordBeforeItIsRefused) {
  EXPECT_EQ(failureOfPayload(R"({"time": "soon", "source": {"id": "7"}})"),
            "time query param should be given in seconds since epoch. Instead it got soon");
  EXPECT_EQ(takeLogs(warnLevel).size(), 1u);
}

TEST_F(PlausibilityTest, KnowsASourceByTheTextOfItsId) {
  EXPECT_EQ(warningCount("1.5", R"({"id": 7})"), 1u);
  EXPECT_EQ(warningCount("1.5", R"({"id": "7"})"), 0u);
}

TEST_F(PlausibilityTest, SaysNothingOfASourceWithAnEmptyId) {
  EXPECT_EQ(warningCount("1.5", R"({"id": ""})"), 0u);
}

TEST_F(PlausibilityTest, NeedsBothTimeAndSource) {
  EXPECT_EQ(convertedPayload(R"({"time": 1.5})"), json(R"({"time": "1970-01-01T00:00:01.500Z"})"));
  EXPECT_EQ(convertedPayload(R"({"source": "7"})"), json(R"({"source": "7"})"));
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
}

TEST_F(PlausibilityTest, LooksAtTheFieldTimeOnly) {
  EXPECT_EQ(convertedPayload(R"({"dateFrom": 1.5, "source": "7"})"),
            json(R"({"dateFrom": "1970-01-01T00:00:01.500Z", "source": "7"})"));
}

TEST_F(PlausibilityTest, LooksAtThePayloadOnly) {
  convertedMessage(R"({"http": {"queryString": {"time": 1.5, "source": {"id": "7"}}}})", "{}");
  EXPECT_EQ(takeLogs(warnLevel), Texts{});
}

TEST_F(PlausibilityTest, RefusesATimeThatIsNeitherNumberNorText) {
  EXPECT_EQ(failureOfPayload(R"({"time": 5, "source": {"id": "7"}})"),
            "Incorrect type in get (you asked for double but it's actually integer)");
  EXPECT_EQ(failureOfPayload(R"({"time": null, "source": {"id": "7"}})"), "Get from empty");
}

TEST_F(PlausibilityTest, RefusesASourceWithoutAUsableId) {
  EXPECT_EQ(failureOfPayload(R"({"time": 1600000000.25, "source": "7"})"),
            "Incorrect type in get (you asked for map but it's actually string)");
  EXPECT_EQ(failureOfPayload(R"({"time": 1600000000.25, "source": {"name": "x"}})"), "Element not in map");
  EXPECT_EQ(failureOfPayload(R"({"time": 1600000000.25, "source": {"id": null}})"), "Trying to parse from empty");
  EXPECT_EQ(failureOfPayload(R"({"time": 1600000000.25, "source": {"id": []}})"),
            "Trying to parse from incorrect type (actually list)");
}

}  // namespace
}  // namespace tests
