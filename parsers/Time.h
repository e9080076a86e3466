#pragma once

#include <unicode/smpdtfmt.h>
#include <unicode/unistr.h>
#include <unicode/utypes.h>

#include <string>
#include <unordered_set>
#include <vector>

#include "codec/DataConstants.h"
#include "connectivity/Logger.h"
#include "connectivity/Message.h"
#include "connectivity/thread_annotations.h"
#include "parsers/InstantMemo.h"
#include "parsers/TimestampMemo.h"

namespace com::tallowmere::connectivity::plugins {

/// Converts between float seconds since the epoch, as host events carry them, and the platform's ISO 8601 text with
/// milliseconds and an offset. The zone of written text is that of the environment variable TZ, else of KV_INT_TZ, else
/// ICU's default; read text brings its own offset. ICU's formatters are not for two threads, so each direction has one
/// of its own, and the one for reports stands under a lock.
class Time {
 public:
  /// Failures of ICU are error lines; the object is made all the same. Both referred objects must outlive it.
  Time(const DataConstants& constants, const Logger& logger);

  /// Towards the platform: converts "time", "dateTo", "dateFrom", "createdFrom" and "createdTo" in a request's payload,
  /// if that is a map, and in its "http.queryString". Warns once per source of a time in the first year of the epoch.
  /// Throws std::runtime_error as `convertQueryTime`, and for a "source" that is no map or has no "id". [request
  /// thread]
  void convertMessageTimes(Message& request);

  /// Replaces the number of seconds under `key`, a double or a string that is one, by its text. Throws
  /// std::runtime_error "KEY query param should be given in seconds since epoch. Instead it got TEXT", or "Failed to
  /// parse 'KEY' query param with type TYPE and value VALUE. Query param should be given in seconds since epoch."
  /// [request thread]
  void convertQueryTime(map_t& map, const hashed_key& key);

  /// Towards the host: `parseTimeField` for "time", "creationTime", "lastUpdated" and "firstOccurrenceTime".
  /// [response thread]
  void parseTimes(map_t& document);

  /// Replaces the text under `key` by its seconds, or by 0.0, after a debug line, when it can't be read. [response
  /// thread]
  void parseTimeField(map_t& document, const hashed_key& key);

  /// The present moment in UTC, or nothing after the error line "Unable to format time". [any thread]
  std::string formatNow() EXCLUDES(utcMutex);

 private:
  void applyZone(const char* zone);
  void warnOfSmallTime(const map_t& payload, const Message& request);
  double parseSeconds(const data_t& value, const char* key);
  double parseText(const char* text, const char* key);

  icu::UnicodeString formatPattern;
  icu::UnicodeString utcFormatPattern;
  std::vector<hashed_key> queryTimeFields;
  std::vector<hashed_key> parsedTimeFields;
  UErrorCode formatterStatus = U_ZERO_ERROR;  ///< of the request thread
  icu::SimpleDateFormat formatter;
  const bool
      formatterIsWhole;  ///< whether it was made without failure: ICU does not survive the use of one that wasn't
  UErrorCode parserStatus = U_ZERO_ERROR;  ///< of the response thread
  icu::SimpleDateFormat parser;
  const bool parserIsWhole;
  InstantMemo writtenTexts;      ///< of the request thread; valid for good, since the zone never changes
  TimestampMemo readTimestamps;  ///< of the response thread
  Mutex utcMutex;
  UErrorCode utcFormatterStatus GUARDED_BY(utcMutex) = U_ZERO_ERROR;
  icu::SimpleDateFormat utcFormatter GUARDED_BY(utcMutex);
  const bool utcFormatterIsWhole;
  const Logger& logger;
  std::unordered_set<std::string> warnedSources;  ///< of the request thread; never trimmed
  const DataConstants& constants;
};

}  // namespace com::tallowmere::connectivity::plugins
