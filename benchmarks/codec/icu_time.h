// The conversions of times by the ICU calls that the codec makes, for the translations by hand.
#pragma once

#include <unicode/fmtable.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/unistr.h>

#include <stdexcept>
#include <string>
#include <string_view>

#include "benchmarks/codec/sides.h"

namespace benchmarks {

class IcuTime {
 public:
  /// `isStubbed` leaves out ICU's conversions and keeps what is around them.
  explicit IcuTime(bool isStubbed) : isStubbed(isStubbed) {
    if (U_FAILURE(status)) throw std::runtime_error("ICU has no formatter");
  }

  /// Seconds since the epoch as text.
  std::string format(double seconds) {
    status = U_ZERO_ERROR;
    icu::UnicodeString text;
    if (isStubbed)
      text.append(stubbedTimeText, 24);
    else
      static_cast<const icu::Format&>(formatter).format(icu::Formattable(seconds * 1000.0), text, status);
    if (U_FAILURE(status)) throw std::runtime_error("ICU can't format a time");
    std::string utf8;
    text.toUTF8String(utf8);
    return utf8;
  }

  /// A text as seconds since the epoch.
  double parse(std::string_view text) {
    status = U_ZERO_ERROR;
    const icu::UnicodeString utf16 =
        icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
    const UDate millis = isStubbed ? stubbedTimeMillis : parser.parse(utf16, status);
    if (U_FAILURE(status)) throw std::runtime_error("ICU can't read a time");
    return millis / 1000.0;
  }

 private:
  const bool isStubbed;
  UErrorCode status = U_ZERO_ERROR;
  const icu::UnicodeString pattern = icu::UnicodeString::fromUTF8("yyyy-MM-dd'T'HH:mm:ss.SSSXXX");
  icu::SimpleDateFormat formatter{pattern, icu::Locale::getEnglish(), status};
  icu::SimpleDateFormat parser{pattern, icu::Locale::getEnglish(), status};
};

}  // namespace benchmarks
