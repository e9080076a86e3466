// Bytes as a timestamp and as an instant: they are read and written as a plain date format of ICU's does it.
#include <unicode/fmtable.h>
#include <unicode/smpdtfmt.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "codec/DataConstants.h"
#include "connectivity/Logger.h"
#include "fuzz/require.h"
#include "parsers/Time.h"

using namespace com::tallowmere::connectivity10_15_4;
using namespace com::tallowmere::connectivity;

namespace {

constexpr std::size_t longest = 34;  // of more digits in a row ICU may make a divisor of zero

const icu::SimpleDateFormat& plainFormat() {
  static UErrorCode made = U_ZERO_ERROR;
  static const icu::SimpleDateFormat format(icu::UnicodeString("yyyy-MM-dd'T'HH:mm:ss.SSSXXX"),
                                            icu::Locale::getEnglish(), made);
  return format;
}

double readByIcu(const char* text) {
  UErrorCode status = U_ZERO_ERROR;
  const UDate millis = plainFormat().parse(icu::UnicodeString::fromUTF8(text), status);
  return U_FAILURE(status) ? 0.0 : millis / 1000.0;
}

std::string writtenByIcu(double seconds) {
  UErrorCode status = U_ZERO_ERROR;
  icu::UnicodeString text;
  std::string utf8;
  return static_cast<const icu::Format&>(plainFormat())
      .format(icu::Formattable(seconds * 1000.0), text, status)
      .toUTF8String(utf8);
}

/// What becomes of a value that Time converts.
template <class Value>
data_t converted(const Value& value, void (plugins::Time::*convert)(map_t&, const hashed_key&)) {
  static const plugins::DataConstants constants;
  static const Logger logger("fuzz");
  static plugins::Time time(constants, logger);
  static const hashed_key key("time");
  map_t map;
  map.insert(key, data_t(value));
  (time.*convert)(map, key);
  return map.take(key);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(bytes), std::min(size, longest));
  fuzz::require(converted(text.c_str(), &plugins::Time::parseTimeField).get<double>() == readByIcu(text.c_str()),
                "the timestamp is read as another moment");
  double seconds = 0;
  if (size >= sizeof seconds) std::memcpy(&seconds, bytes, sizeof seconds);
  fuzz::require(converted(seconds, &plugins::Time::convertQueryTime).get<std::string>() == writtenByIcu(seconds),
                "the instant is written as another text");
  return 0;
}
