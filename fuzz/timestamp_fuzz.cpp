// Bytes as a timestamp: it is read as a plain date format of ICU's reads it.
#include <unicode/smpdtfmt.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "codec/DataConstants.h"
#include "connectivity/Logger.h"
#include "fuzz/require.h"
#include "parsers/Time.h"

using namespace com::tallowmere::connectivity10_15_4;
using namespace com::tallowmere::connectivity;

namespace {

constexpr std::size_t longest = 34;  // of more digits in a row ICU may make a divisor of zero

double readByIcu(const char* text) {
  static UErrorCode made = U_ZERO_ERROR;
  static const icu::SimpleDateFormat format(icu::UnicodeString("yyyy-MM-dd'T'HH:mm:ss.SSSXXX"),
                                            icu::Locale::getEnglish(), made);
  UErrorCode status = U_ZERO_ERROR;
  const UDate millis = format.parse(icu::UnicodeString::fromUTF8(text), status);
  return U_FAILURE(status) ? 0.0 : millis / 1000.0;
}

double readByTime(const char* text) {
  static const plugins::DataConstants constants;
  static const Logger logger("fuzz");
  static plugins::Time time(constants, logger);
  static const hashed_key key("time");
  map_t document;
  document.insert(data_t("time"), data_t(text));
  time.parseTimeField(document, key);
  return document.at(key).get<double>();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(bytes), std::min(size, longest));
  fuzz::require(readByTime(text.c_str()) == readByIcu(text.c_str()), "the timestamp is read as another moment");
  return 0;
}
