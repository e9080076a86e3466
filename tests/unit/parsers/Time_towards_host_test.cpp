#include <memory>
#include <stdexcept>
#include <utility>

#include "tests/unit/parsers/ParserTest.h"

namespace tests {
namespace {

class TimeTowardsHostTest : public ParserTest {
 protected:
  /// What becomes of a value, as JSON, under "lastUpdated" of a document.
  std::string read(std::string_view value) {
    product::map_t document = mapFromJson(R"({"lastUpdated": )" + std::string(value) + "}");
    time().parseTimeField(document, product::hashed_key("lastUpdated"));
    return toJson(document.at(product::hashed_key("lastUpdated")));
  }

  std::string readDocument(std::string_view text) {
    product::map_t document = mapFromJson(text);
    time().parseTimes(document);
    return toJson(document);
  }
};

struct Timestamp {
  const char* text;
  const char* seconds;
};

void PrintTo(const Timestamp& timestamp, std::ostream* out) {
  *out << timestamp.text;
}

class TimestampTest : public TimeTowardsHostTest, public testing::WithParamInterface<Timestamp> {};

TEST_P(TimestampTest, IsReadByItsOwnOffset) {
  for (const char* zone : {"UTC", "Asia/Kolkata"}) {
    environment.set("TZ", zone);
    EXPECT_EQ(read(quoted(GetParam().text)), GetParam().seconds) << "in " << zone;
  }
  EXPECT_EQ(takeLogs(debugLevel), Texts{});
}

INSTANTIATE_TEST_SUITE_P(Texts, TimestampTest,
                         testing::Values(Timestamp{"1970-01-01T00:00:00.000Z", "0.0"},
                                         Timestamp{"2020-09-13T12:26:40.250Z", "1600000000.25"},
                                         Timestamp{"2020-09-13T14:26:40.250+02:00", "1600000000.25"},
                                         Timestamp{"2020-09-13T06:56:40.250-05:30", "1600000000.25"},
                                         Timestamp{"2020-09-13T12:26:40.250+00:00", "1600000000.25"},
                                         Timestamp{"1969-12-31T23:59:58.500Z", "-1.5"},
                                         Timestamp{"2100-01-01T00:00:00.001Z", "4102444800.001"}));

TEST_F(TimeTowardsHostTest, LeavesAFractionOfThirtyFourDigitsToIcu) {
  EXPECT_NE(read(quoted("2020-09-13T12:26:40.9999999999999999999999999999999999Z")), "0.0");
  EXPECT_EQ(takeLogs(debugLevel), Texts{});
}

TEST_F(TimeTowardsHostTest, CountsNoDigitsThatOthersPart) {
  EXPECT_EQ(read(quoted("2020-09-13T12:26:40.250Z 20200913 122640250 and 20200913-122640250")), "1600000000.25");
}

TEST_F(TimeTowardsHostTest, ReadsABorrowedText) {
  EXPECT_EQ(read(R"({"$borrowed": "2020-09-13T12:26:40.250Z"})"), "1600000000.25");
}

TEST_F(TimeTowardsHostTest, ReadsFourFieldsAndNoOthers) {
  EXPECT_EQ(readDocument(R"({"time": "1970-01-01T00:00:01.000Z", "creationTime": "1970-01-01T00:00:02.000Z",
                             "lastUpdated": "1970-01-01T00:00:03.000Z",
                             "firstOccurrenceTime": "1970-01-01T00:00:04.000Z",
                             "dateFrom": "1970-01-01T00:00:05.000Z", "createdTo": 6.0,
                             "inner": {"time": "1970-01-01T00:00:07.000Z"}})"),
            json(R"({"time": 1.0, "creationTime": 2.0, "lastUpdated": 3.0, "firstOccurrenceTime": 4.0,
                     "dateFrom": "1970-01-01T00:00:05.000Z", "createdTo": 6.0,
                     "inner": {"time": "1970-01-01T00:00:07.000Z"}})"));
}

TEST_F(TimeTowardsHostTest, AddsNoFieldThatIsMissing) {
  EXPECT_EQ(readDocument(R"({"id": "1"})"), json(R"({"id": "1"})"));
}

TEST_F(TimeTowardsHostTest, ReadsAFieldOfAnyName) {
  product::map_t document = mapFromJson(R"({"when": "1970-01-01T00:00:01.500Z"})");
  time().parseTimeField(document, product::hashed_key("when"));
  EXPECT_EQ(toJson(document), json(R"({"when": 1.5})"));
}

// ---------------------------------------------------------------------------------------- failures

struct Unreadable {
  const char* name;
  const char* value;
  const char* line;
};

void PrintTo(const Unreadable& value, std::ostream* out) {
  *out << value.value;
}

class UnreadableTest : public TimeTowardsHostTest, public testing::WithParamInterface<Unreadable> {};

TEST_P(UnreadableTest, BecomesZeroWithADebugLine) {
  time();
  EXPECT_EQ(read(GetParam().value), "0.0");
  EXPECT_EQ(takeLogs(debugLevel), (Texts{GetParam().line}));
  EXPECT_EQ(TestHost::logs().size(), 0u) << "nothing above debug";
}

INSTANTIATE_TEST_SUITE_P(
    Texts, UnreadableTest,
    testing::Values(
        Unreadable{"Word", R"("soon")", "Failed to parse field 'lastUpdated' with value soon: error code 1"},
        Unreadable{"NoText", R"("")", "Failed to parse field 'lastUpdated' with value : error code 1"},
        Unreadable{"NoTimeOfDay", R"("2020-09-13")",
                   "Failed to parse field 'lastUpdated' with value 2020-09-13: error code 1"},
        Unreadable{"NoOffset", R"("2020-09-13T12:26:40.250")",
                   "Failed to parse field 'lastUpdated' with value 2020-09-13T12:26:40.250: error code 1"},
        Unreadable{"Seconds", R"("1600000000.25")",
                   "Failed to parse field 'lastUpdated' with value 1600000000.25: error code 1"},
        Unreadable{"FractionThatBreaksIcu", R"("2020-09-13T12:26:40.99999999999999999999999999999999999Z")",
                   "Failed to parse field 'lastUpdated' with value "
                   "2020-09-13T12:26:40.99999999999999999999999999999999999Z: error code 1"},
        Unreadable{
            "FractionOfOtherDigits",
            R"("2020-09-13T12:26:40.١١١١١١١١١١١١١١١١١١‎١١١١١١١١١١١١١١١١١١Z")",
            "Failed to parse field 'lastUpdated' with value "
            "2020-09-13T12:26:40.١١١١١١١١١١١١١١١١١١‎١١١١١١١١١١١١١١١١١١Z: error code "
            "1"}),
    NameOfCase());

INSTANTIATE_TEST_SUITE_P(
    Types, UnreadableTest,
    testing::Values(
        Unreadable{"Empty", "null",
                   "Failed to parse field 'lastUpdated' with type empty and value (null): Can only parse strings"},
        Unreadable{"Boolean", "true",
                   "Failed to parse field 'lastUpdated' with type boolean and value true: Can only parse strings"},
        Unreadable{"Double", "1.5",
                   "Failed to parse field 'lastUpdated' with type double and value 1.5: Can only parse strings"},
        Unreadable{"Integer", "15",
                   "Failed to parse field 'lastUpdated' with type integer and value 15: Can only parse strings"},
        Unreadable{"Decimal", R"({"$decimal": 10})",
                   "Failed to parse field 'lastUpdated' with type decimal and value dec:a: Can only parse strings"},
        Unreadable{"List", R"(["x"])",
                   "Failed to parse field 'lastUpdated' with type list and value [x]: Can only parse strings"},
        Unreadable{"Map", R"({"a": 1})",
                   "Failed to parse field 'lastUpdated' with type map and value {a:1}: Can only parse strings"},
        Unreadable{"Buffer", R"({"$buffer": "0a"})",
                   "Failed to parse field 'lastUpdated' with type buffer and value [0x0A]: Can only parse strings"},
        Unreadable{"Custom", R"({"$custom": 1})",
                   "Failed to parse field 'lastUpdated' with type custom and value (custom): Can only parse strings"}),
    NameOfCase());

TEST_F(TimeTowardsHostTest, GivesZeroAlsoWhereNoDebugLineIsWritten) {
  TestHost::setLogLevel(infoLevel);
  EXPECT_EQ(readDocument(R"({"time": "soon", "lastUpdated": 7})"), json(R"({"time": 0.0, "lastUpdated": 0.0})"));
  EXPECT_TRUE(TestHost::logs().empty());
}

TEST_F(TimeTowardsHostTest, ReadsTheFieldsBehindAnUnreadableOne) {
  EXPECT_EQ(readDocument(R"({"time": "soon", "lastUpdated": "1970-01-01T00:00:01.500Z"})"),
            json(R"({"time": 0.0, "lastUpdated": 1.5})"));
}

TEST_F(TimeTowardsHostTest, KeepsAnExceptionToItself) {
  time();
  const auto first = std::make_shared<bool>(true);
  TestHost::throwFrom(HostCall::float64ToChar8, [first] {
    if (std::exchange(*first, false)) throw std::runtime_error("no text for numbers");
  });
  EXPECT_EQ(read("1.5"), "0.0");
  EXPECT_EQ(takeLogs(debugLevel), (Texts{"Failed to parse field 'lastUpdated' with type double and value 1.5: "
                                         "Caught exception: no text for numbers"}));
}

TEST_F(TimeTowardsHostTest, KeepsAnExceptionToItselfThatEvenItsLineMeets) {
  time();
  TestHost::throwFrom(HostCall::float64ToChar8, [] { throw std::runtime_error("no text for numbers"); });
  EXPECT_EQ(read("1.5"), "0.0");
  EXPECT_EQ(takeLogs(debugLevel), Texts{});
}

}  // namespace
}  // namespace tests
