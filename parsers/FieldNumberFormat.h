#pragma once

#include <unicode/numfmt.h>

#include <memory>

namespace com::tallowmere::connectivity::plugins {

/// The numbers of a date's fields, as ICU's date formats have them written and read: short runs of the digits 0 to 9
/// are taken here, which is most of what a timestamp consists of, and everything else is left to the format that the
/// date format had by itself. The results are that format's, at a fraction of its cost. ICU keeps what is a date's: the
/// pattern, the calendar and the zone.
///
/// A clone refers to the format of its original, which must outlive it. [one thread]
class FieldNumberFormat final : public icu::NumberFormat {
 public:
  /// Takes the number format of a date format, whose digits must be 0 to 9; not null.
  explicit FieldNumberFormat(std::unique_ptr<const icu::NumberFormat> whole);

  /// Null when there is no memory, as ICU has it.
  FieldNumberFormat* clone() const override;

  using icu::NumberFormat::format;
  icu::UnicodeString& format(std::int32_t number, icu::UnicodeString& text, icu::FieldPosition& where) const override;
  icu::UnicodeString& format(std::int64_t number, icu::UnicodeString& text, icu::FieldPosition& where) const override;
  icu::UnicodeString& format(double number, icu::UnicodeString& text, icu::FieldPosition& where) const override;

  using icu::NumberFormat::parse;
  void parse(const icu::UnicodeString& text, icu::Formattable& result, icu::ParsePosition& at) const override;

  UClassID getDynamicClassID() const override;

 private:
  FieldNumberFormat(const FieldNumberFormat& other);

  template <typename Number>
  icu::UnicodeString& formatByWhole(Number number, icu::UnicodeString& text, icu::FieldPosition& where) const;

  std::unique_ptr<const icu::NumberFormat> owned;  ///< null in a clone
  const icu::NumberFormat& whole;
};

}  // namespace com::tallowmere::connectivity::plugins
