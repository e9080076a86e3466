// Linked into a second plug-in, in place of ICU's two conversions: what is left is all that the codec does itself.
#include <unicode/fmtable.h>
#include <unicode/unistr.h>
#include <unicode/utypes.h>

#include "benchmarks/codec/sides.h"

extern "C" {

icu::UnicodeString& WRAPPED_FORMAT(const void*, const icu::Formattable&, icu::UnicodeString& text, UErrorCode&) {
  return text.append(benchmarks::stubbedTimeText, 24);
}

UDate WRAPPED_PARSE(const void*, const icu::UnicodeString&, UErrorCode&) {
  return benchmarks::stubbedTimeMillis;
}

}  // extern "C"
