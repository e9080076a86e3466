#include <unicode/calendar.h>
#include <unicode/timezone.h>

#include <algorithm>
#include <optional>

#include "tests/unit/parsers/TimeTowardsPlatformTest.h"

namespace tests {
namespace {

// ---------------------------------------------------------------------------------------- moments as text

struct Moment {
  const char* zone;
  const char* seconds;
  const char* text;
};

void PrintTo(const Moment& moment, std::ostream* out) {
  *out << moment.seconds << " in " << moment.zone;
}

class MomentTest : public TimeTowardsPlatformTest, public testing::WithParamInterface<Moment> {};

TEST_P(MomentTest, IsWrittenInTheZoneOfTheEnvironment) {
  environment.set("TZ", GetParam().zone);
  EXPECT_EQ(converted(GetParam().seconds), quoted(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(Zones, MomentTest,
                         testing::Values(Moment{"UTC", "0.0", "1970-01-01T00:00:00.000Z"},
                                         Moment{"UTC", "1600000000.25", "2020-09-13T12:26:40.250Z"},
                                         Moment{"UTC", "-1.5", "1969-12-31T23:59:58.500Z"},
                                         Moment{"UTC", "4102444800.0", "2100-01-01T00:00:00.000Z"},
                                         Moment{"Europe/Berlin", "0.0", "1970-01-01T01:00:00.000+01:00"},
                                         Moment{"Europe/Berlin", "1600000000.25", "2020-09-13T14:26:40.250+02:00"},
                                         Moment{"Europe/London", "1609459200.0", "2021-01-01T00:00:00.000Z"},
                                         Moment{"Europe/London", "1625097600.0", "2021-07-01T01:00:00.000+01:00"},
                                         Moment{"America/St_Johns", "1609459200.0", "2020-12-31T20:30:00.000-03:30"},
                                         Moment{"Asia/Kolkata", "1600000000.25", "2020-09-13T17:56:40.250+05:30"},
                                         Moment{"GMT+02:00", "0.0", "1970-01-01T02:00:00.000+02:00"},
                                         Moment{"Nowhere/Atall", "0.0", "1970-01-01T00:00:00.000Z"}));

INSTANTIATE_TEST_SUITE_P(PartsOfAMillisecondAreCutOff, MomentTest,
                         testing::Values(Moment{"UTC", "0.0009", "1970-01-01T00:00:00.000Z"},
                                         Moment{"UTC", "1.9996", "1970-01-01T00:00:01.999Z"},
                                         Moment{"UTC", "-0.0001", "1969-12-31T23:59:59.999Z"}));

// ---------------------------------------------------------------------------------------- choice of the zone

/// Makes a zone ICU's default until the end of a scope.
class DefaultZone {
 public:
  explicit DefaultZone(const char* name) : before(icu::TimeZone::createDefault()) {
    icu::TimeZone::adoptDefault(icu::TimeZone::createTimeZone(name));
  }
  ~DefaultZone() { icu::TimeZone::adoptDefault(before); }
  DefaultZone(const DefaultZone&) = delete;
  DefaultZone& operator=(const DefaultZone&) = delete;

 private:
  icu::TimeZone* before;
};

struct ZoneChoice {
  const char* name;
  std::optional<const char*> tz;
  std::optional<const char*> kvIntTz;
  const char* text;
};

void PrintTo(const ZoneChoice& choice, std::ostream* out) {
  *out << choice.name;
}

class ZoneChoiceTest : public TimeTowardsPlatformTest, public testing::WithParamInterface<ZoneChoice> {};

TEST_P(ZoneChoiceTest, DecidesTheOffset) {
  const DefaultZone asia("Asia/Kolkata");
  environment.unset("TZ");
  if (GetParam().tz) environment.set("TZ", *GetParam().tz);
  if (GetParam().kvIntTz) environment.set("KV_INT_TZ", *GetParam().kvIntTz);
  EXPECT_EQ(converted("0.0"), quoted(GetParam().text));
  EXPECT_EQ(takeLogs(errorLevel), Texts{});
}

INSTANTIATE_TEST_SUITE_P(Variables, ZoneChoiceTest,
                         testing::Values(ZoneChoice{"NeitherIsSet", {}, {}, "1970-01-01T05:30:00.000+05:30"},
                                         ZoneChoice{"TheSecondAlone", {}, "GMT+02:00", "1970-01-01T02:00:00.000+02:00"},
                                         ZoneChoice{"TheFirstAlone", "GMT+03:00", {}, "1970-01-01T03:00:00.000+03:00"},
                                         ZoneChoice{"TheFirstWins", "GMT+03:00", "GMT+02:00",
                                                    "1970-01-01T03:00:00.000+03:00"},
                                         ZoneChoice{"AnEmptyFirstIsSet", "", "GMT+02:00", "1970-01-01T00:00:00.000Z"},
                                         ZoneChoice{"AnEmptySecondIsSet", {}, "", "1970-01-01T00:00:00.000Z"}),
                         NameOfCase());

TEST_F(TimeTowardsPlatformTest, ReadsTheEnvironmentOnce) {
  environment.set("TZ", "GMT+03:00");
  time();
  environment.set("TZ", "GMT+04:00");
  EXPECT_EQ(converted("0.0"), R"("1970-01-01T03:00:00.000+03:00")");
}

// ---------------------------------------------------------------------------------------- one value

TEST_F(TimeTowardsPlatformTest, TakesSecondsFromText) {
  EXPECT_EQ(converted(R"("1600000000.25")"), R"("2020-09-13T12:26:40.250Z")");
  EXPECT_EQ(converted(R"("-1.5")"), R"("1969-12-31T23:59:58.500Z")");
  EXPECT_EQ(converted(R"({"$borrowed": "1600000000"})"), R"("2020-09-13T12:26:40.000Z")");
}

TEST_F(TimeTowardsPlatformTest, TakesTextWithNothingLeftBehindTheNumber) {
  EXPECT_EQ(converted(R"("")"), R"("1970-01-01T00:00:00.000Z")");
}

TEST_F(TimeTowardsPlatformTest, LeavesAMapWithoutTheKeyAlone) {
  product::map_t query = mapFromJson(R"({"dateTo": 1.5})");
  time().convertQueryTime(query, product::hashed_key("dateFrom"));
  EXPECT_EQ(toJson(query), json(R"({"dateTo": 1.5})"));
}

TEST_F(TimeTowardsPlatformTest, FreesTheTextThatTheHostMade) {
  time();
  TestHost::forgetCalls();
  converted("0.0");
  EXPECT_EQ(TestHost::calls(HostCall::kv_getUTF8), 1u);
  EXPECT_EQ(TestHost::calls(HostCall::kv_free), 1u);
}

struct BadValue {
  const char* name;
  const char* value;
  const char* failure;
};

void PrintTo(const BadValue& value, std::ostream* out) {
  *out << value.value;
}

class BadValueTest : public TimeTowardsPlatformTest, public testing::WithParamInterface<BadValue> {};

TEST_P(BadValueTest, IsRefused) {
  EXPECT_EQ(failureOf([this] { converted(GetParam().value); }), GetParam().failure);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, BadValueTest,
    testing::Values(
        BadValue{"Word", R"("soon")",
                 "dateFrom query param should be given in seconds since epoch. Instead it got soon"},
        BadValue{
            "Timestamp", R"("2020-09-13T12:26:40.250Z")",
            "dateFrom query param should be given in seconds since epoch. Instead it got 2020-09-13T12:26:40.250Z"},
        BadValue{"TrailingBlank", R"("12 ")",
                 "dateFrom query param should be given in seconds since epoch. Instead it got 12 "},
        BadValue{"BorrowedWord", R"({"$borrowed": "soon"})",
                 "dateFrom query param should be given in seconds since epoch. Instead it got soon"}),
    NameOfCase());

INSTANTIATE_TEST_SUITE_P(
    Types, BadValueTest,
    testing::Values(BadValue{"Empty", "null",
                             "Failed to parse 'dateFrom' query param with type empty and value (null). "
                             "Query param should be given in seconds since epoch."},
                    BadValue{"Boolean", "true",
                             "Failed to parse 'dateFrom' query param with type boolean and value true. "
                             "Query param should be given in seconds since epoch."},
                    BadValue{"Integer", "1600000000",
                             "Failed to parse 'dateFrom' query param with type integer and value 1600000000. "
                             "Query param should be given in seconds since epoch."},
                    BadValue{"Decimal", R"({"$decimal": 10})",
                             "Failed to parse 'dateFrom' query param with type decimal and value dec:a. "
                             "Query param should be given in seconds since epoch."},
                    BadValue{"List", R"([1.5, "x"])",
                             "Failed to parse 'dateFrom' query param with type list and value [1.5,x]. "
                             "Query param should be given in seconds since epoch."},
                    BadValue{"Map", R"({"a": 1})",
                             "Failed to parse 'dateFrom' query param with type map and value {a:1}. "
                             "Query param should be given in seconds since epoch."},
                    BadValue{"Buffer", R"({"$buffer": "0aff"})",
                             "Failed to parse 'dateFrom' query param with type buffer and value [0x0A,0xFF]. "
                             "Query param should be given in seconds since epoch."},
                    BadValue{"Custom", R"({"$custom": 1})",
                             "Failed to parse 'dateFrom' query param with type custom and value (custom). "
                             "Query param should be given in seconds since epoch."}),
    NameOfCase());

// ---------------------------------------------------------------------------------------- messages

TEST_F(TimeTowardsPlatformTest, ConvertsFiveFieldsOfThePayload) {
  EXPECT_EQ(convertedPayload(R"({"time": 1.0, "dateTo": 2.0, "dateFrom": 3.0, "createdFrom": 4.0, "createdTo": "5"})"),
            json(R"({"time": "1970-01-01T00:00:01.000Z", "dateTo": "1970-01-01T00:00:02.000Z",
                     "dateFrom": "1970-01-01T00:00:03.000Z", "createdFrom": "1970-01-01T00:00:04.000Z",
                     "createdTo": "1970-01-01T00:00:05.000Z"})"));
}

TEST_F(TimeTowardsPlatformTest, ConvertsFiveFieldsOfTheQueryString) {
  EXPECT_EQ(convertedMessage(R"({"http": {"path": "/p", "queryString": {
                "time": 1.0, "dateTo": 2.0, "dateFrom": 3.0, "createdFrom": 4.0, "createdTo": "5"}}})",
                             "{}"),
            json(R"({"metadata": {"http": {"path": "/p", "queryString": {
                         "time": "1970-01-01T00:00:01.000Z", "dateTo": "1970-01-01T00:00:02.000Z",
                         "dateFrom": "1970-01-01T00:00:03.000Z", "createdFrom": "1970-01-01T00:00:04.000Z",
                         "createdTo": "1970-01-01T00:00:05.000Z"}}},
                     "payload": {}})"));
}

TEST_F(TimeTowardsPlatformTest, LeavesOtherFieldsAlone) {
  constexpr const char* payload = R"({"creationTime": 1.5, "lastUpdated": 1.5, "firstOccurrenceTime": 1.5,
                                      "inner": {"time": 1.5}, "Time": 1.5})";
  EXPECT_EQ(convertedPayload(payload), json(payload));
}

TEST_F(TimeTowardsPlatformTest, ConvertsTheQueryStringWhenThePayloadIsNoMap) {
  for (const char* payload : {"null", R"("time")", "[1.5]", "1.5"}) {
    EXPECT_EQ(convertedMessage(R"({"http": {"queryString": {"dateFrom": 1.5}}})", payload),
              json(R"({"metadata": {"http": {"queryString": {"dateFrom": "1970-01-01T00:00:01.500Z"}}}, "payload": )" +
                   std::string(payload) + "}"));
  }
}

TEST_F(TimeTowardsPlatformTest, TakesAMessageWithoutQueryString) {
  EXPECT_EQ(convertedMessage(R"({"http": {"path": "/p", "dateFrom": 1.5}, "dateFrom": 1.5})", "{}"),
            json(R"({"metadata": {"http": {"path": "/p", "dateFrom": 1.5}, "dateFrom": 1.5}, "payload": {}})"));
}

TEST_F(TimeTowardsPlatformTest, RefusesMetadataOfAWrongType) {
  EXPECT_EQ(failureOf([this] { convertedMessage(R"({"http": "x"})", "{}"); }),
            "Incorrect type in get (you asked for map but it's actually string)");
  EXPECT_EQ(failureOf([this] { convertedMessage(R"({"http": {"queryString": [1]}})", "{}"); }),
            "Incorrect type in get (you asked for map but it's actually list)");
}

TEST_F(TimeTowardsPlatformTest, NamesTheFieldThatItRefuses) {
  EXPECT_EQ(failureOfPayload(R"({"time": "soon"})"),
            "time query param should be given in seconds since epoch. Instead it got soon");
  EXPECT_EQ(failureOfPayload(R"({"createdTo": 5})"),
            "Failed to parse 'createdTo' query param with type integer and value 5. "
            "Query param should be given in seconds since epoch.");
  EXPECT_EQ(failureOf([this] { convertedMessage(R"({"http": {"queryString": {"createdFrom": "soon"}}})", "null"); }),
            "createdFrom query param should be given in seconds since epoch. Instead it got soon");
}

// ---------------------------------------------------------------------------------------- the present

TEST_F(TimeTowardsPlatformTest, WritesThePresentInUtcWhateverTheZone) {
  environment.set("TZ", "Asia/Kolkata");
  const double before = icu::Calendar::getNow() / 1000.0;
  const std::string now = time().formatNow();
  const double after = icu::Calendar::getNow() / 1000.0;

  std::string shape = now;
  std::replace_if(
      shape.begin(), shape.end(), [](char c) { return c >= '0' && c <= '9'; }, '0');
  EXPECT_EQ(shape, "0000-00-00T00:00:00.000Z");
  product::map_t document;
  document.insert("time", now);
  time().parseTimes(document);
  const double seconds = document.at("time").get<double>();
  EXPECT_LE(before, seconds);
  EXPECT_LE(seconds, after);
}

}  // namespace
}  // namespace tests
