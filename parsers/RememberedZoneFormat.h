#pragma once

#include <unicode/tzfmt.h>
#include <unicode/unistr.h>

#include <memory>

namespace com::tallowmere::connectivity::plugins {

/// ICU's format of zones, which remembers the zone that ICU last read at the end of a text. The timestamps of a
/// platform end in one offset, most often "Z", and for each of them ICU would look that zone up among all zones of the
/// world.
///
/// Reading remembers, so it is for one thread.
class RememberedZoneFormat final : public icu::TimeZoneFormat {
 public:
  /// `status` tells of a failure, after which the object is of no use.
  RememberedZoneFormat(const icu::Locale& locale, UErrorCode& status) : icu::TimeZoneFormat(locale, status) {}

  /// The copy remembers nothing yet.
  RememberedZoneFormat(const RememberedZoneFormat& other) : icu::TimeZoneFormat(other) {}
  RememberedZoneFormat& operator=(const RememberedZoneFormat&) = delete;
  RememberedZoneFormat* clone() const override { return new RememberedZoneFormat(*this); }

  using icu::TimeZoneFormat::parse;
  icu::TimeZone* parse(UTimeZoneFormatStyle style, const icu::UnicodeString& text, icu::ParsePosition& at,
                       std::int32_t options, UTimeZoneFormatTimeType* timeType) const override;

 private:
  struct Memo {
    UTimeZoneFormatStyle style;
    std::int32_t options;
    icu::UnicodeString end;  ///< of the text, from where the zone begins
    std::int32_t length;     ///< of the part that is the zone
    UTimeZoneFormatTimeType timeType;
    std::unique_ptr<const icu::TimeZone> zone;  ///< null when nothing is remembered
  };

  mutable Memo memo{};
};

}  // namespace com::tallowmere::connectivity::plugins
