#include "simulator/timestamp.h"

#include <cstdio>

namespace simulator {

namespace {

/// Takes one piece after the other from the head of a text; after the first that doesn't fit, all fail.
class Reader {
 public:
  explicit Reader(std::string_view text) : rest(text) {}

  int digits(std::size_t count, int highest) {
    int value = 0;
    for (std::size_t taken = 0; taken < count; ++taken) {
      if (!nextIsDigit()) return fail();
      value = value * 10 + takeDigit();
    }
    return value <= highest ? value : fail();
  }
  void literal(char wanted) {
    if (!next(wanted)) fail();
  }
  bool next(char wanted) {
    if (rest.empty() || rest.front() != wanted) return false;
    rest.remove_prefix(1);
    return true;
  }
  int decimalsAsMilliseconds() {
    if (!nextIsDigit()) return fail();
    int value = 0;
    for (int weight = 100; nextIsDigit(); weight /= 10) value += weight * takeDigit();
    return value;
  }
  bool atEnd() const { return rest.empty(); }
  bool sound() const { return good; }
  int fail() {
    good = false;
    return 0;
  }

 private:
  bool nextIsDigit() const { return !rest.empty() && rest.front() >= '0' && rest.front() <= '9'; }
  int takeDigit() {
    const int digit = rest.front() - '0';
    rest.remove_prefix(1);
    return digit;
  }

  std::string_view rest;
  bool good = true;
};

std::chrono::minutes readOffset(Reader& reader) {
  if (reader.next('Z')) return std::chrono::minutes(0);
  const bool negative = reader.next('-');
  if (!negative) reader.literal('+');
  std::chrono::minutes offset = std::chrono::hours(reader.digits(2, 23));
  if (!reader.atEnd()) {
    reader.next(':');
    offset += std::chrono::minutes(reader.digits(2, 59));
  }
  return negative ? -offset : offset;
}

}  // namespace

std::optional<Moment> parseTimestamp(std::string_view text) {
  Reader reader(text);
  const std::chrono::year year(reader.digits(4, 9999));
  reader.literal('-');
  const std::chrono::month month(static_cast<unsigned>(reader.digits(2, 12)));
  reader.literal('-');
  const std::chrono::day day(static_cast<unsigned>(reader.digits(2, 31)));
  reader.literal('T');
  const std::chrono::hours hours(reader.digits(2, 23));
  reader.literal(':');
  const std::chrono::minutes minutes(reader.digits(2, 59));
  reader.literal(':');
  const std::chrono::seconds seconds(reader.digits(2, 59));
  const std::chrono::milliseconds milliseconds(reader.next('.') ? reader.decimalsAsMilliseconds() : 0);
  const std::chrono::minutes offset = readOffset(reader);
  const std::chrono::year_month_day date(year, month, day);
  if (!reader.sound() || !reader.atEnd() || !date.ok()) return std::nullopt;
  return std::chrono::sys_days(date) + hours + minutes + seconds + milliseconds - offset;
}

std::string formatTimestamp(Moment moment) {
  const auto midnight = std::chrono::floor<std::chrono::days>(moment);
  const std::chrono::year_month_day date(midnight);
  const std::chrono::hh_mm_ss time(moment - midnight);
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                static_cast<int>(time.seconds().count()), static_cast<int>(time.subseconds().count()));
  return text;
}

}  // namespace simulator
