#include "parsers/FieldNumberFormat.h"

#include <unicode/fieldpos.h>
#include <unicode/fmtable.h>
#include <unicode/parsepos.h>

#include <cstddef>
#include <limits>
#include <utility>

namespace com::tallowmere::connectivity::plugins {

namespace {

constexpr int shortRun = std::numeric_limits<std::int32_t>::digits10;  // digits that always make an integer

bool isDigit(char16_t character) {
  return character >= u'0' && character <= u'9';
}

/// Whether no number format goes on reading behind digits that this follows. There are more such characters, but these
/// are the ones that stand in timestamps.
bool endsNumber(char16_t character) {
  switch (character) {
    case u'-':
    case u'T':
    case u':':
    case u'.':
    case u'Z':
    case u'+':
      return true;
    default:
      return false;
  }
}

}  // namespace

struct FieldNumberFormat::Place {
  alignas(FieldNumberFormat) std::byte bytes[sizeof(FieldNumberFormat)];
  bool isTaken = false;
};

FieldNumberFormat::FieldNumberFormat(std::unique_ptr<const icu::NumberFormat> format) noexcept
    : owned(std::move(format)), place(new (std::nothrow) Place), whole(*owned), isPlaceTaken(nullptr) {}

FieldNumberFormat::FieldNumberFormat(const FieldNumberFormat& original, bool* isPlaceTaken) noexcept
    : whole(original.whole), isPlaceTaken(isPlaceTaken) {
  icu::NumberFormat::setMaximumIntegerDigits(original.getMaximumIntegerDigits());
  icu::NumberFormat::setMinimumIntegerDigits(original.getMinimumIntegerDigits());
}

FieldNumberFormat::~FieldNumberFormat() = default;

FieldNumberFormat* FieldNumberFormat::clone() const {
  if (!place || place->isTaken) return new FieldNumberFormat(*this, nullptr);
  place->isTaken = true;
  return ::new (place->bytes) FieldNumberFormat(*this, &place->isTaken);
}

void FieldNumberFormat::operator delete(FieldNumberFormat* format, std::destroying_delete_t) {
  bool* const isPlaceTaken = format->isPlaceTaken;
  format->~FieldNumberFormat();
  if (isPlaceTaken)
    *isPlaceTaken = false;
  else
    icu::UMemory::operator delete(format);
}

icu::UnicodeString& FieldNumberFormat::format(std::int32_t number, icu::UnicodeString& text,
                                              icu::FieldPosition& where) const {
  if (number < 0 || where.getField() != icu::FieldPosition::DONT_CARE) return formatByWhole(number, text, where);
  char16_t digits[shortRun];
  const int least = getMinimumIntegerDigits();
  int first = shortRun;
  std::int32_t rest = number;
  while (first > 0 && (rest != 0 || shortRun - first < least)) {
    digits[--first] = static_cast<char16_t>(u'0' + rest % 10);
    rest /= 10;
  }
  const int count = shortRun - first;
  const bool isWhole = rest == 0 && count > 0 && count >= least && count <= getMaximumIntegerDigits();
  if (!isWhole) return formatByWhole(number, text, where);
  return text.append(digits + first, count);
}

icu::UnicodeString& FieldNumberFormat::format(std::int64_t number, icu::UnicodeString& text,
                                              icu::FieldPosition& where) const {
  return formatByWhole(number, text, where);
}

icu::UnicodeString& FieldNumberFormat::format(double number, icu::UnicodeString& text,
                                              icu::FieldPosition& where) const {
  return formatByWhole(number, text, where);
}

template <typename Number>
icu::UnicodeString& FieldNumberFormat::formatByWhole(Number number, icu::UnicodeString& text,
                                                     icu::FieldPosition& where) const {
  const std::unique_ptr<icu::NumberFormat> format(whole.clone());
  if (!format) return text;
  format->setMinimumIntegerDigits(getMinimumIntegerDigits());
  format->setMaximumIntegerDigits(getMaximumIntegerDigits());
  return format->format(number, text, where);
}

void FieldNumberFormat::parse(const icu::UnicodeString& text, icu::Formattable& result, icu::ParsePosition& at) const {
  const char16_t* const characters = text.getBuffer();
  const std::int32_t length = characters ? text.length() : 0;
  const std::int32_t begin = at.getIndex();
  if (begin >= 0 && begin < length) {
    std::int32_t end = begin;
    std::int32_t number = 0;
    for (; end < length && end - begin < shortRun && isDigit(characters[end]); ++end)
      number = number * 10 + (characters[end] - u'0');
    if (end > begin && (end == length || endsNumber(characters[end]))) {
      result.setLong(number);
      at.setIndex(end);
      return;
    }
  }
  whole.parse(text, result, at);
}

UClassID FieldNumberFormat::getDynamicClassID() const {
  static char id;
  return &id;
}

}  // namespace com::tallowmere::connectivity::plugins
