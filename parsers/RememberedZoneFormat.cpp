#include "parsers/RememberedZoneFormat.h"

#include <unicode/parsepos.h>
#include <unicode/timezone.h>

namespace com::tallowmere::connectivity::plugins {

namespace {

constexpr std::int32_t longestEnd = 16;  // what is longer is no offset

}  // namespace

icu::TimeZone* RememberedZoneFormat::parse(UTimeZoneFormatStyle style, const icu::UnicodeString& text,
                                           icu::ParsePosition& at, std::int32_t options,
                                           UTimeZoneFormatTimeType* timeType) const {
  const std::int32_t begin = at.getIndex();
  const std::int32_t rest = text.length() - begin;
  if (begin < 0 || rest <= 0 || rest > longestEnd)
    return icu::TimeZoneFormat::parse(style, text, at, options, timeType);

  if (memo.zone && style == memo.style && options == memo.options && text.compare(begin, rest, memo.end) == 0) {
    if (timeType) *timeType = memo.timeType;
    at.setIndex(begin + memo.length);
    return memo.zone->clone();
  }
  UTimeZoneFormatTimeType type = UTZFMT_TIME_TYPE_UNKNOWN;
  icu::TimeZone* const zone = icu::TimeZoneFormat::parse(style, text, at, options, &type);
  if (timeType) *timeType = type;
  if (zone) {
    memo = {style,
            options,
            icu::UnicodeString(text, begin, rest),
            at.getIndex() - begin,
            type,
            std::unique_ptr<const icu::TimeZone>(zone->clone())};
  }
  return zone;
}

}  // namespace com::tallowmere::connectivity::plugins
