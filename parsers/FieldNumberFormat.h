#pragma once

#include <unicode/numfmt.h>

#include <memory>
#include <new>

namespace com::tallowmere::connectivity::plugins {

/// The numbers of a date's fields, as ICU's date formats have them written and read: short runs of the digits 0 to 9
/// are taken here, which is most of what a timestamp consists of, and everything else is left to the format that the
/// date format had by itself. The results are that format's, at a fraction of its cost. ICU keeps what is a date's: the
/// pattern, the calendar and the zone.
///
/// A date format makes a clone for each number that it writes, and doesn't ask whether there was memory for it. So one
/// clone at a time lies in a place that its original keeps for it. A clone refers to its original, which must outlive
/// it. [one thread]
class FieldNumberFormat final : public icu::NumberFormat {
 public:
  /// Takes the number format of a date format, whose digits must be 0 to 9; not null.
  explicit FieldNumberFormat(std::unique_ptr<const icu::NumberFormat> whole) noexcept;
  ~FieldNumberFormat() override;

  /// With the same settings as far as they matter here. Null when there is no memory for a second one at a time.
  FieldNumberFormat* clone() const override;

  /// Ends a clone, which may lie in its original's place for it, or any other format.
  static void operator delete(FieldNumberFormat* format, std::destroying_delete_t);
  using icu::UMemory::operator delete;  // where there is no format yet

  using icu::NumberFormat::format;
  icu::UnicodeString& format(std::int32_t number, icu::UnicodeString& text, icu::FieldPosition& where) const override;
  icu::UnicodeString& format(std::int64_t number, icu::UnicodeString& text, icu::FieldPosition& where) const override;
  icu::UnicodeString& format(double number, icu::UnicodeString& text, icu::FieldPosition& where) const override;

  using icu::NumberFormat::parse;
  void parse(const icu::UnicodeString& text, icu::Formattable& result, icu::ParsePosition& at) const override;

  UClassID getDynamicClassID() const override;

 private:
  /// Memory for one clone.
  struct Place;

  FieldNumberFormat(const FieldNumberFormat& original, bool* isPlaceTaken) noexcept;

  template <typename Number>
  icu::UnicodeString& formatByWhole(Number number, icu::UnicodeString& text, icu::FieldPosition& where) const;

  std::unique_ptr<const icu::NumberFormat> owned;  ///< null in a clone
  std::unique_ptr<Place> place;                    ///< null in a clone, and without memory
  const icu::NumberFormat& whole;
  bool* const isPlaceTaken;  ///< of the original's place, in which this clone lies; null elsewhere
};

}  // namespace com::tallowmere::connectivity::plugins
