// Time beside a plain date format of ICU's, which it has to equal whatever it leaves out on the way.
#include <unicode/smpdtfmt.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tests/unit/parsers/ParserTest.h"

namespace tests {
namespace {

bool isDigit(char character) {
  return character >= '0' && character <= '9';
}

constexpr std::ptrdiff_t mostDigits = 35;  // over which plain ICU may divide by zero

const char* const pattern = "yyyy-MM-dd'T'HH:mm:ss.SSSXXX";

/// Whatever the standard library, the same numbers in each run.
class Chance {
 public:
  std::size_t below(std::size_t end) { return generator() % end; }
  double upTo(double most) { return static_cast<double>(generator()) / static_cast<double>(generator.max()) * most; }

 private:
  std::mt19937_64 generator{4711};
};

class TimeBesideIcuTest : public ParserTest {
 protected:
  TimeBesideIcuTest() {
    UErrorCode status = U_ZERO_ERROR;
    plain = std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString(pattern), icu::Locale::getEnglish(), status);
    if (U_FAILURE(status)) throw std::runtime_error("ICU has no date format");
  }

  double readByIcu(const std::string& text) {
    UErrorCode status = U_ZERO_ERROR;
    const UDate millis = plain->parse(icu::UnicodeString::fromUTF8(text), status);
    return U_FAILURE(status) ? 0.0 : millis / 1000.0;
  }

  double readByTime(const std::string& text) {
    product::map_t document;
    document.insert(product::data_t("time"), product::data_t(text));
    time().parseTimeField(document, product::hashed_key("time"));
    return document.at(product::hashed_key("time")).get<double>();
  }

  void setZoneOfIcu(const char* zone) {
    UErrorCode status = U_ZERO_ERROR;
    plain->adoptCalendar(icu::Calendar::createInstance(icu::TimeZone::createTimeZone(icu::UnicodeString(zone)),
                                                       icu::Locale::getDefault(), status));
  }

  std::string writtenByIcu(double seconds) {
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString text;
    static_cast<icu::Format&>(*plain).format(icu::Formattable(seconds * 1000.0), text, status);
    std::string utf8;
    return text.toUTF8String(utf8);
  }

  std::string writtenByTime(double seconds) {
    product::map_t query;
    query.insert(product::data_t("time"), product::data_t(seconds));
    time().convertQueryTime(query, product::hashed_key("time"));
    return query.at(product::hashed_key("time")).get<std::string>();
  }

  Chance chance;
  std::unique_ptr<icu::SimpleDateFormat> plain;
};

const std::vector<std::string> timestamps = {
    "2020-09-13T12:26:40.250Z",           "2020-09-13T14:26:40.250+02:00",
    "2020-09-13T06:56:40.250-05:30",      "2020-09-13T14:26:40.250+02",
    "2020-09-13T14:26:40.250+0200",       "2020-09-13T14:26:40.250GMT+02:00",
    "1969-12-31T23:59:58.500Z",           "1-2-3T4:5:6.7Z",
    "12345-01-01T00:00:00.000Z",          "2147483648-01-01T00:00:00.000Z",
    "-0044-03-15T12:00:00.000Z",          "2020-13-32T25:61:61.999Z",
    "2020-09-13T12:26:40.123456789Z",     "2020-09-13T12:26:40.1234567890123Z",
    " 2020- 09-13T 12:26:40.250 Z",       "2,020-09-13T12:26:40.250Z",
    "2020E2-09-13T12:26:40.250Z",         "\uFF12\uFF10\uFF12\uFF10-09-13T12:26:40.250Z",
    "2020-0\u0669-13T12:26:40.25\u0660Z", "2020\u200F-09-13T12:26:40.250\u200FZ",
    "2020-09-13T12:26:40.250-00:00",      "2020-09-13T12:26:40.250+00:00:30",
    "2020-09-13T12:26:40.250z",           "2020-09-13T12:26:40.250",
};

TEST_F(TimeBesideIcuTest, ReadsEachFormOfATimestampAlike) {
  for (const std::string& text : timestamps) EXPECT_EQ(readByTime(text), readByIcu(text)) << text;
}

TEST_F(TimeBesideIcuTest, ReadsDamagedTimestampsAlike) {
  const std::vector<std::string> pieces = {
      "0", "1", "2", "5", "9", "00", "123456789", "-",      "+",      ":",      ".",      ",",
      "T", "Z", "z", "t", "E", "e",  "E5",        " ",      "'",      "\u00A0", "GMT",    "UTC",
      "%", "x", "(", ")", "#", "\t", "\u2212",    "\u0660", "\uFF15", "\u200F", "\u0301", "\u221E"};
  for (int round = 0; round < 40'000; ++round) {
    std::string text = timestamps[chance.below(timestamps.size())];
    for (std::size_t left = 1 + chance.below(3); left > 0 && !text.empty(); --left) {
      const std::size_t at = chance.below(text.size());
      const std::string& piece = pieces[chance.below(pieces.size())];
      switch (chance.below(4)) {
        case 0:
          text.insert(at, piece);
          break;
        case 1:
          text.erase(at, 1 + chance.below(3));
          break;
        case 2:
          text.replace(at, 1, piece);
          break;
        default:
          text.resize(at);
          break;
      }
    }
    if (std::count_if(text.begin(), text.end(), isDigit) >= mostDigits) continue;
    ASSERT_EQ(readByTime(text), readByIcu(text)) << text;
  }
}

TEST_F(TimeBesideIcuTest, ReadsOffsetsInAnyOrderAlike) {
  const std::vector<std::string> ends = {"Z", "+02:00", "-05:30", "+00:00",    "",      "Z ",
                                         "z", "+2",     "Zulu",   "+02:00:00", "+25:00"};
  for (int round = 0; round < 5'000; ++round) {
    const std::string text = "2020-09-13T12:26:" + std::to_string(10 + chance.below(50)) + "." +
                             std::to_string(100 + chance.below(900)) + ends[chance.below(ends.size())];
    ASSERT_EQ(readByTime(text), readByIcu(text)) << text;
  }
}

class ZoneBesideIcuTest : public TimeBesideIcuTest, public testing::WithParamInterface<const char*> {};

TEST_P(ZoneBesideIcuTest, WritesInstantsAlike) {
  environment.set("TZ", GetParam());
  setZoneOfIcu(GetParam());
  std::vector<double> instants = {0.0,
                                  -0.0,
                                  -0.001,
                                  -1.5,
                                  0.0005,
                                  1600000000.25,
                                  253402300799.999,
                                  253402300800.0,
                                  -62135596800.0,
                                  -62135596800.001,
                                  -99999999999.0,
                                  1e12,
                                  -1e12,
                                  3e14,
                                  1e300,
                                  -1e300,
                                  std::numeric_limits<double>::infinity(),
                                  -std::numeric_limits<double>::infinity(),
                                  std::numeric_limits<double>::quiet_NaN()};
  for (int round = 0; round < 3'000; ++round) {
    instants.push_back(chance.upTo(4e9));
    instants.push_back(std::pow(10.0, chance.upTo(15)) * (chance.below(2) ? 1 : -1));
  }
  for (const double seconds : instants) ASSERT_EQ(writtenByTime(seconds), writtenByIcu(seconds)) << seconds;
}

INSTANTIATE_TEST_SUITE_P(Zones, ZoneBesideIcuTest,
                         testing::Values("UTC", "Europe/Vienna", "Asia/Kolkata", "America/St_Johns",
                                         "Pacific/Kiritimati"));

}  // namespace
}  // namespace tests
