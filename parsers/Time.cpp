#include "parsers/Time.h"

#include <unicode/calendar.h>
#include <unicode/fmtable.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>
#include <unicode/uchar.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>

#include "connectivity/barrier.h"
#include "connectivity/conversion.h"
#include "connectivity/host_platform.h"
#include "connectivity/to_string.h"
#include "parsers/FieldNumberFormat.h"
#include "parsers/RememberedZoneFormat.h"

namespace com::tallowmere::connectivity::plugins {

namespace {

constexpr double millisPerSecond = 1000.0;
constexpr double oneYear = 31536000.0;  // seconds

/// A block that the host allocated for the caller.
struct FreeHostBlock {
  void operator()(char* block) const noexcept { Platform::kv_free(block); }
};

using HostText = std::unique_ptr<char, FreeHostBlock>;

/// The moment as text, or null when ICU can't or there is no memory.
HostText textOf(double millis, const icu::SimpleDateFormat& formatter, UErrorCode& status) {
  status = U_ZERO_ERROR;
  icu::UnicodeString text;
  static_cast<const icu::Format&>(formatter).format(icu::Formattable(millis), text, status);
  const char16_t* const utf16 = U_SUCCESS(status) ? text.getTerminatedBuffer() : nullptr;
  return HostText(utf16 ? kv_getUTF8(reinterpret_cast<const std::uint16_t*>(utf16)) : nullptr);
}

/// `fromUTF8`, quicker for what timestamps are made of.
icu::UnicodeString utf16Of(const char* text) {
  constexpr std::int32_t longest = 32;
  char16_t ascii[longest];
  std::int32_t length = 0;
  const auto isAsciiAt = [text](std::int32_t at) { return static_cast<unsigned char>(text[at]) - 1U < 0x7F; };
  for (; length < longest && isAsciiAt(length); ++length) ascii[length] = static_cast<char16_t>(text[length]);
  const bool isAscii = length < longest && text[length] == '\0';
  return isAscii ? icu::UnicodeString(ascii, length) : icu::UnicodeString::fromUTF8(text);
}

/// Has the date format write and read the numbers of its fields by way of `FieldNumberFormat`.
void takeNumbersOver(icu::SimpleDateFormat& format) {
  const icu::NumberFormat* const numbers = format.getNumberFormat();
  std::unique_ptr<const icu::NumberFormat> whole(numbers ? numbers->clone() : nullptr);
  if (!whole) return;
  std::unique_ptr<icu::NumberFormat> fields(new FieldNumberFormat(std::move(whole)));
  if (fields) format.adoptNumberFormat(fields.release());
}

/// Has the date format, which is of the locale, remember the zone it read last.
void rememberZones(icu::SimpleDateFormat& format, const icu::Locale& locale) {
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::TimeZoneFormat> zones(new RememberedZoneFormat(locale, status));
  if (zones && U_SUCCESS(status)) format.adoptTimeZoneFormat(zones.release());
}

/// Whether ICU would divide by zero: for each digit of a second's fraction beyond the third it multiplies a divisor by
/// ten, and after 32 of them the divisor has lost all its bits.
bool breaksParser(const icu::UnicodeString& text) {
  constexpr int tooMany = 35;
  int digits = 0;
  if (text.length() < tooMany) return false;
  for (std::int32_t at = 0; at < text.length(); at = text.moveIndex32(at, 1)) {
    const UChar32 character = text.char32At(at);
    if (u_isdigit(character)) {
      if (++digits == tooMany) return true;
    } else if (!u_hasBinaryProperty(character, UCHAR_DEFAULT_IGNORABLE_CODE_POINT)) {
      digits = 0;
    }
  }
  return false;
}

std::vector<hashed_key> names(std::initializer_list<const char*> texts) {
  std::vector<hashed_key> result;
  for (const char* text : texts) result.emplace_back(text);
  return result;
}

const char* zoneOfEnvironment() {
  const char* zone = std::getenv("TZ");
  return zone ? zone : std::getenv("KV_INT_TZ");
}

double secondsOf(const data_t& value, const data_t& key) {
  if (value.is(Tag::number)) return value.get<double>();
  const char* const name = key.get<const char*>();
  if (!value.isString())
    throw std::runtime_error(std::string("Failed to parse '") + name + "' query param with type " + value.type_name() +
                             " and value " + to_string(value) +
                             ". Query param should be given in seconds since epoch.");
  const char* const text = value.get<const char*>();
  const char* end = nullptr;
  const double seconds = Platform::char8ToFloat64(text, &end);
  if (*end != '\0')
    throw std::runtime_error(std::string(name) +
                             " query param should be given in seconds since epoch. Instead it got " + text);
  return seconds;
}

}  // namespace

Time::Time(const DataConstants& constants, const Logger& logger)
    : formatPattern(icu::UnicodeString::fromUTF8("yyyy-MM-dd'T'HH:mm:ss.SSSXXX")),
      utcFormatPattern(icu::UnicodeString::fromUTF8("yyyy-MM-dd'T'HH:mm:ss.SSS'Z'")),
      queryTimeFields(names({"time", "dateTo", "dateFrom", "createdFrom", "createdTo"})),
      parsedTimeFields(names({"time", "creationTime", "lastUpdated", "firstOccurrenceTime"})),
      formatter(formatPattern, icu::Locale::getEnglish(), formatterStatus),
      formatterIsWhole(U_SUCCESS(formatterStatus)),
      parser(formatPattern, icu::Locale::getEnglish(), parserStatus),
      parserIsWhole(U_SUCCESS(parserStatus)),
      utcFormatter(utcFormatPattern, icu::Locale::getEnglish(), utcFormatterStatus),
      utcFormatterIsWhole(U_SUCCESS(utcFormatterStatus)),
      logger(logger),
      constants(constants) {
  if (U_FAILURE(formatterStatus))
    logger.error("Time formatter initialization failed with status code %d", static_cast<int>(formatterStatus));
  if (formatterIsWhole) takeNumbersOver(formatter);
  if (parserIsWhole) {
    takeNumbersOver(parser);
    rememberZones(parser, icu::Locale::getEnglish());
  }
  const char* const zone = zoneOfEnvironment();
  if (zone) applyZone(zone);

  MutexLock lock(utcMutex);
  if (U_FAILURE(utcFormatterStatus))
    logger.error("UTC Time formatter initialization failed with status code %d", static_cast<int>(utcFormatterStatus));
  utcFormatterStatus = U_ZERO_ERROR;
  std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(*icu::TimeZone::getGMT(), utcFormatterStatus));
  if (U_FAILURE(utcFormatterStatus)) logger.error("Failed to initialize calendar with GMT timezone: %s", zone);
  if (calendar) utcFormatter.adoptCalendar(calendar.release());
}

void Time::applyZone(const char* zone) {
  formatterStatus = U_ZERO_ERROR;
  std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(
      icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zone)), icu::Locale::getDefault(), formatterStatus));
  if (U_FAILURE(formatterStatus)) logger.error("Failed to parse time zone: %s", zone);
  if (calendar) formatter.adoptCalendar(calendar.release());
}

void Time::convertMessageTimes(Message& request) {
  if (request.getPayload().is(Tag::map)) {
    map_t& payload = request.getPayload().get<map_t>();
    warnOfSmallTime(payload, request);
    for (const hashed_key& field : queryTimeFields) convertQueryTime(payload, field);
  }
  map_t& metadata = request.getMetadataMap();
  const auto http = metadata.find(constants.http);
  if (http == metadata.end()) return;
  map_t& fields = http->second.get<map_t>();
  const auto query = fields.find(constants.queryString);
  if (query == fields.end()) return;
  for (const hashed_key& field : queryTimeFields) convertQueryTime(query->second.get<map_t>(), field);
}

void Time::warnOfSmallTime(const map_t& payload, const Message& request) {
  const auto time = payload.find(queryTimeFields.front());
  const auto source = payload.find(constants.source);
  if (time == payload.end() || source == payload.end()) return;
  const double seconds =
      time->second.isString() ? std::atof(time->second.get<const char*>()) : time->second.get<double>();
  const std::string id = source->second.get<map_t>().at(constants.id).convert_to<std::string>();
  const bool isNews = seconds < oneYear && !id.empty() && warnedSources.insert(id).second;
  if (isNews && logger.isEnabled(Level::warn))
    logger.warn("Invalid or uninitialized timestamp in [%s]", to_string(request).c_str());
}

void Time::convertQueryTime(map_t& map, const hashed_key& key) {
  const auto found = map.find(key);
  if (found == map.end()) return;
  const double seconds = secondsOf(found->second, key);
  if (!formatterIsWhole) return;
  const double millis = seconds * millisPerSecond;
  if (const char* const known = writtenTexts.find(millis)) {
    found->second = known;
  } else if (const auto text = textOf(millis, formatter, formatterStatus)) {
    writtenTexts.keep(millis, text.get());
    found->second = text.get();
  }
}

void Time::parseTimes(map_t& document) {
  for (const hashed_key& field : parsedTimeFields) parseTimeField(document, field);
}

void Time::parseTimeField(map_t& document, const hashed_key& key) {
  const auto found = document.find(key);
  if (found == document.end()) return;
  found->second = parseSeconds(found->second, key.get<const char*>());
}

double Time::parseSeconds(const data_t& value, const char* key) {
  try {
    if (!value.isString()) {
      if (logger.isDebugEnabled())
        logger.debug("Failed to parse field '%s' with type %s and value %s: Can only parse strings", key,
                     value.type_name(), to_string(value).c_str());
      return 0.0;
    }
    return parseText(value.get<const char*>(), key);
  } catch (const std::exception& failure) {
    swallow([&] {
      if (logger.isDebugEnabled())
        logger.debug("Failed to parse field '%s' with type %s and value %s: Caught exception: %s", key,
                     value.type_name(), to_string(value).c_str(), failure.what());
    });
  }
  return 0.0;
}

double Time::parseText(const char* text, const char* key) {
  const TimestampMemo::Key timestamp(text);
  if (const double* const known = readTimestamps.find(timestamp)) return *known;
  if (parserIsWhole) {
    const icu::UnicodeString utf16 = utf16Of(text);
    parserStatus = breaksParser(utf16) ? U_ILLEGAL_ARGUMENT_ERROR : U_ZERO_ERROR;
    const UDate millis = U_SUCCESS(parserStatus) ? parser.parse(utf16, parserStatus) : 0;
    if (U_SUCCESS(parserStatus)) {
      readTimestamps.keep(timestamp, millis / millisPerSecond);
      return millis / millisPerSecond;
    }
  }
  logger.debug("Failed to parse field '%s' with value %s: error code %d", key, text, static_cast<int>(parserStatus));
  return 0.0;
}

std::string Time::formatNow() {
  MutexLock lock(utcMutex);
  if (utcFormatterIsWhole)
    if (const auto text = textOf(icu::Calendar::getNow(), utcFormatter, utcFormatterStatus)) return text.get();
  logger.error("Unable to format time");
  return {};
}

}  // namespace com::tallowmere::connectivity::plugins
