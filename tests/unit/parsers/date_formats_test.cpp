// The two formats that ICU's date formats call for their numbers and zones.
#include <gtest/gtest.h>
#include <unicode/decimfmt.h>
#include <unicode/fieldpos.h>
#include <unicode/fmtable.h>
#include <unicode/parsepos.h>
#include <unicode/timezone.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>

#include "parsers/FieldNumberFormat.h"
#include "parsers/RememberedZoneFormat.h"

namespace tests {
namespace {

using com::tallowmere::connectivity::plugins::FieldNumberFormat;
using com::tallowmere::connectivity::plugins::RememberedZoneFormat;

std::string utf8(const icu::UnicodeString& text) {
  std::string result;
  return text.toUTF8String(result);
}

class FieldNumberFormatTest : public testing::Test {
 protected:
  FieldNumberFormatTest() {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::NumberFormat> whole(icu::NumberFormat::createInstance(icu::Locale::getEnglish(), status));
    whole->setGroupingUsed(false);
    whole->setParseIntegerOnly(true);
    format = std::make_unique<FieldNumberFormat>(std::move(whole));
  }

  template <typename Number>
  std::string written(Number number, int least, int most) {
    const std::unique_ptr<icu::NumberFormat> clone(format->clone());
    clone->setMinimumIntegerDigits(least);
    clone->setMaximumIntegerDigits(most);
    icu::UnicodeString text("<");
    icu::FieldPosition anywhere;
    return utf8(clone->format(number, text, anywhere));
  }

  /// The number and how far it reaches, "123 to 5".
  std::string read(const char* utf8Text, int from) {
    icu::Formattable number;
    icu::ParsePosition at(from);
    format->parse(icu::UnicodeString::fromUTF8(utf8Text), number, at);
    return std::to_string(number.getLong()) + " to " + std::to_string(at.getIndex());
  }

  std::unique_ptr<FieldNumberFormat> format;
};

TEST_F(FieldNumberFormatTest, PadsWithZeros) {
  EXPECT_EQ(written(7, 2, 10), "<07");
  EXPECT_EQ(written(0, 2, 10), "<00");
  EXPECT_EQ(written(0, 1, 10), "<0");
  EXPECT_EQ(written(2020, 4, 10), "<2020");
  EXPECT_EQ(written(999'999'999, 4, 10), "<999999999");
}

TEST_F(FieldNumberFormatTest, LeavesOtherNumbersToTheWholeFormat) {
  EXPECT_EQ(written(-44, 4, 10), "<-0044");
  EXPECT_EQ(written(1'000'000'000, 4, 10), "<1000000000");
  EXPECT_EQ(written(std::numeric_limits<std::int32_t>::max(), 4, 10), "<2147483647");
  EXPECT_EQ(written(std::numeric_limits<std::int32_t>::min(), 4, 10), "<-2147483648");
  EXPECT_EQ(written(7, 12, 12), "<000000000007");
  EXPECT_EQ(written(2020, 2, 2), "<20") << "the last digits, as ICU writes a year of two";
  EXPECT_EQ(written(std::int64_t{12'345'678'901}, 1, 20), "<12345678901");
  EXPECT_EQ(written(2.5, 3, 10), "<002.5");
}

TEST_F(FieldNumberFormatTest, TellsWhereTheNumberIs) {
  icu::UnicodeString text("at ");
  icu::FieldPosition where(UNUM_INTEGER_FIELD);
  EXPECT_EQ(utf8(format->format(std::int32_t{42}, text, where)), "at 42");
  EXPECT_EQ(where.getBeginIndex(), 3);
  EXPECT_EQ(where.getEndIndex(), 5);
}

TEST_F(FieldNumberFormatTest, ReadsDigits) {
  EXPECT_EQ(read("2020-09-13", 0), "2020 to 4");
  EXPECT_EQ(read("2020-09-13", 5), "9 to 7");
  EXPECT_EQ(read("2020-09-13", 8), "13 to 10");
  EXPECT_EQ(read("250Z", 0), "250 to 3");
  EXPECT_EQ(read("250+02:00", 0), "250 to 3");
  EXPECT_EQ(read("13T12:26:40.250", 0), "13 to 2");
  EXPECT_EQ(read("13T12:26:40.250", 9), "40 to 11");
}

TEST_F(FieldNumberFormatTest, LeavesOtherTextsToTheWholeFormat) {
  EXPECT_EQ(read("-44", 0), "-44 to 3");
  EXPECT_EQ(read("5E2-", 0), "500 to 3");
  EXPECT_EQ(read("1234567890-", 0), "1234567890 to 10");
  EXPECT_EQ(read("\uFF12\uFF10-", 0), "20 to 2");
  EXPECT_EQ(read("2\u0669-", 0), "29 to 2");
  EXPECT_EQ(read("x", 0), "0 to 0");
  EXPECT_EQ(read("12", 2), "0 to 2");
  EXPECT_EQ(read("", 0), "0 to 0");
}

TEST_F(FieldNumberFormatTest, KeepsAPlaceForOneCloneAtATime) {
  const std::unique_ptr<icu::NumberFormat> first(format->clone());
  const void* const place = first.get();
  const std::unique_ptr<icu::NumberFormat> second(format->clone());
  const std::unique_ptr<icu::NumberFormat> ofAClone(first->clone());
  EXPECT_NE(second.get(), place);
  EXPECT_NE(ofAClone.get(), place);
}

TEST_F(FieldNumberFormatTest, UsesThePlaceAgain) {
  std::unique_ptr<icu::NumberFormat> clone(format->clone());
  const void* const place = clone.get();
  for (int round = 0; round < 3; ++round) {
    clone.reset();
    clone.reset(format->clone());
    EXPECT_EQ(clone.get(), place);
    EXPECT_EQ(clone->getMaximumIntegerDigits(), format->getMaximumIntegerDigits());
  }
}

TEST_F(FieldNumberFormatTest, ClonesKeepTheirDigits) {
  const std::unique_ptr<icu::NumberFormat> clone(format->clone());
  clone->setMinimumIntegerDigits(3);
  clone->setMaximumIntegerDigits(4);
  const std::unique_ptr<icu::NumberFormat> again(clone->clone());
  icu::UnicodeString text;
  icu::FieldPosition anywhere;
  EXPECT_EQ(utf8(again->format(std::int32_t{7}, text, anywhere)), "007");
  EXPECT_EQ(again->getMaximumIntegerDigits(), 4);
}

TEST_F(FieldNumberFormatTest, IsAClassOfItsOwn) {
  const std::unique_ptr<icu::NumberFormat> clone(format->clone());
  EXPECT_EQ(clone->getDynamicClassID(), format->getDynamicClassID());
  EXPECT_NE(format->getDynamicClassID(), icu::DecimalFormat::getStaticClassID());
}

class RememberedZoneFormatTest : public testing::Test {
 protected:
  RememberedZoneFormatTest() {
    UErrorCode status = U_ZERO_ERROR;
    whole.reset(icu::TimeZoneFormat::createInstance(icu::Locale::getEnglish(), status));
    format = std::make_unique<RememberedZoneFormat>(icu::Locale::getEnglish(), status);
    if (U_FAILURE(status)) throw std::runtime_error("ICU has no format of zones");
  }

  /// The zone, how far its text reaches, and the kind of time: "GMT to 3, 0", or "none".
  static std::string read(const icu::TimeZoneFormat& format, const char* text, int from,
                          UTimeZoneFormatStyle style = UTZFMT_STYLE_ISO_EXTENDED_FIXED) {
    icu::ParsePosition at(from);
    UTimeZoneFormatTimeType type = UTZFMT_TIME_TYPE_DAYLIGHT;
    const std::unique_ptr<icu::TimeZone> zone(format.parse(style, icu::UnicodeString::fromUTF8(text), at, &type));
    if (!zone) return "none";
    icu::UnicodeString id;
    return utf8(zone->getID(id)) + " to " + std::to_string(at.getIndex()) + ", " + std::to_string(type);
  }

  std::unique_ptr<icu::TimeZoneFormat> whole;
  std::unique_ptr<RememberedZoneFormat> format;
};

TEST_F(RememberedZoneFormatTest, ReadsAgainWhatItRead) {
  EXPECT_EQ(read(*format, "250Z", 3), "Etc/GMT to 4, 0");
  EXPECT_EQ(read(*format, "Z", 0), "Etc/GMT to 1, 0");
  EXPECT_EQ(read(*format, "250Z", 3), "Etc/GMT to 4, 0");
}

TEST_F(RememberedZoneFormatTest, ReadsAsTheWholeFormatWhateverItRemembers) {
  for (int round = 0; round < 2; ++round)
    for (const char* text :
         {"Z", "+02:00", "+02:00", "-05:30", "Z", "Zulu", "", "z", "+02", "+02:00:00", "?", "+02:00 and so on and on"})
      EXPECT_EQ(read(*format, text, 0), read(*whole, text, 0)) << text;
}

TEST_F(RememberedZoneFormatTest, TakesAnotherStyleForAnotherText) {
  for (const UTimeZoneFormatStyle style : {UTZFMT_STYLE_ISO_EXTENDED_FIXED, UTZFMT_STYLE_SPECIFIC_SHORT,
                                           UTZFMT_STYLE_ZONE_ID, UTZFMT_STYLE_ISO_EXTENDED_FIXED})
    for (const char* text : {"PDT", "UTC", "Z"})
      EXPECT_EQ(read(*format, text, 0, style), read(*whole, text, 0, style)) << text << " in style " << style;
}

TEST_F(RememberedZoneFormatTest, TakesOtherOptionsForAnotherText) {
  const icu::UnicodeString text("JST");  // a name that only the database of zones has
  for (const std::int32_t options :
       {std::int32_t{UTZFMT_PARSE_OPTION_TZ_DATABASE_ABBREVIATIONS}, std::int32_t{UTZFMT_PARSE_OPTION_NONE}}) {
    icu::ParsePosition at(0), expectedAt(0);
    const std::unique_ptr<icu::TimeZone> zone(format->parse(UTZFMT_STYLE_SPECIFIC_SHORT, text, at, options, nullptr));
    const std::unique_ptr<icu::TimeZone> expected(
        whole->parse(UTZFMT_STYLE_SPECIFIC_SHORT, text, expectedAt, options, nullptr));
    EXPECT_EQ(zone != nullptr, expected != nullptr) << options;
    EXPECT_EQ(at.getIndex(), expectedAt.getIndex()) << options;
  }
}

TEST_F(RememberedZoneFormatTest, RemembersThroughWhatIsNoZone) {
  EXPECT_EQ(read(*format, "+02:00", 0), "GMT+02:00 to 6, 0");
  EXPECT_EQ(read(*format, "?", 0), "none");
  EXPECT_EQ(read(*format, "+02:00", 0), "GMT+02:00 to 6, 0");
}

TEST_F(RememberedZoneFormatTest, ReadsTheZoneBeforeALongRestToo) {
  for (const std::size_t rest : {10, 11, 100}) {
    const std::string text = "+02:00" + std::string(rest, ' ');
    for (int round = 0; round < 2; ++round) EXPECT_EQ(read(*format, text.c_str(), 0), "GMT+02:00 to 6, 0") << rest;
  }
}

TEST_F(RememberedZoneFormatTest, NeedsNoPlaceForTheKindOfTime) {
  for (int round = 0; round < 2; ++round) {
    icu::ParsePosition at(0);
    const std::unique_ptr<icu::TimeZone> zone(format->parse(UTZFMT_STYLE_ISO_EXTENDED_FIXED, "+01:00", at));
    ASSERT_TRUE(zone);
    EXPECT_EQ(zone->getRawOffset(), 3'600'000);
  }
}

TEST_F(RememberedZoneFormatTest, ClonesReadAlike) {
  EXPECT_EQ(read(*format, "+02:00", 0), "GMT+02:00 to 6, 0");
  const std::unique_ptr<icu::TimeZoneFormat> clone(format->clone());
  EXPECT_EQ(read(*clone, "+02:00", 0), "GMT+02:00 to 6, 0");
  EXPECT_EQ(read(*clone, "-03:00", 0), "GMT-03:00 to 6, 0");
  EXPECT_EQ(read(*format, "+02:00", 0), "GMT+02:00 to 6, 0");
}

}  // namespace
}  // namespace tests
