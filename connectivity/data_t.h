#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>

#include "connectivity/buffer_t.h"
#include "connectivity/custom_t.h"
#include "connectivity/host_abi.h"
#include "connectivity/list_t.h"
#include "connectivity/map_t.h"
#include "connectivity/swallow.h"

namespace com::tallowmere::connectivity10_15_4 {

/// What a value holds. The numbers are those of `qel_tag`.
enum class Tag : std::uint32_t {
  empty = QEL_EMPTY,
  boolean = QEL_BOOLEAN,
  number = QEL_DOUBLE,
  integer = QEL_INTEGER,
  decimal = QEL_DECIMAL,
  string = QEL_STRING,
  list = QEL_LIST,
  map = QEL_MAP,
  buffer = QEL_BUFFER,
  custom = QEL_CUSTOM,
  borrowedString = QEL_BORROWED_STRING
};

/// A tagged value of 16 bytes. Owns what it holds (a borrowed string excepted); is moved, never implicitly copied. A
/// moved-from value is empty. Used by one thread at a time, or by many that only read.
class data_t {
 public:
  data_t() noexcept = default;
  data_t(bool value) noexcept : payload(value), tag(QEL_BOOLEAN) {}
  data_t(double value) noexcept : tag(QEL_DOUBLE) { std::memcpy(&payload, &value, sizeof payload); }
  data_t(std::int64_t value) noexcept : payload(static_cast<std::uint64_t>(value)), tag(QEL_INTEGER) {}

  /// A string value with a copy of the text. Throws std::runtime_error "Cannot use a null char* as a data_t value
  /// (consider using an empty data_t() instead)" for null.
  data_t(const char* text) : payload(reinterpret_cast<std::uint64_t>(copyOf(text))), tag(QEL_STRING) {}
  data_t(const std::string& text) : data_t(text.c_str()) {}

  /// Any other pointer would turn into a boolean.
  template <class T>
  requires(!std::is_same_v<std::remove_cv_t<T>, char>) data_t(T*)
  = delete;

  /// Takes the container over.
  data_t(list_t&& list) noexcept;
  data_t(map_t&& map) noexcept;

  data_t(data_t&& other) noexcept
      : payload(std::exchange(other.payload, 0)), tag(std::exchange(other.tag, QEL_EMPTY)) {}
  data_t(const data_t&) = delete;
  data_t& operator=(const data_t&) = delete;

  /// Assignments build the new value first and free the old one last, so a part of the old value can be assigned to the
  /// whole, and a failure changes nothing.
  data_t& operator=(data_t&& other) noexcept {
    data_t built(std::move(other));
    swap(built);
    return *this;
  }
  data_t& operator=(bool value) noexcept { return *this = data_t(value); }
  data_t& operator=(double value) noexcept { return *this = data_t(value); }
  data_t& operator=(std::int64_t value) noexcept { return *this = data_t(value); }
  data_t& operator=(const char* text) { return *this = data_t(text); }
  data_t& operator=(const std::string& text) { return *this = data_t(text); }
  data_t& operator=(list_t&& list) noexcept { return *this = data_t(std::move(list)); }
  data_t& operator=(map_t&& map) noexcept { return *this = data_t(std::move(map)); }

  [[gnu::always_inline]] ~data_t() {
    if (tag >= QEL_STRING && tag <= QEL_CUSTOM) release();
  }

  void swap(data_t& other) noexcept {
    std::swap(payload, other.payload);
    std::swap(tag, other.tag);
  }

  /// A deep copy, made by the host.
  data_t copy() const { return adopt(qel_copy_data(view())); }

  /// The tag, which may be one that this library does not know.
  Tag type() const noexcept { return static_cast<Tag>(tag); }
  bool is(Tag wanted) const noexcept { return type() == wanted; }
  bool empty() const noexcept { return tag == QEL_EMPTY; }
  bool isString() const noexcept { return tag == QEL_STRING || tag == QEL_BORROWED_STRING; }

  /// The word for the tag: "empty", "boolean", "double", "integer", "decimal", "string", "list", "map", "buffer",
  /// "custom", or "Unknown".
  const char* type_name() const noexcept;

  /// Reads the value as exactly `T`, without a copy: bool, std::int64_t, double, const char*, list_t, map_t or buffer_t
  /// by reference into the value (bool by value), std::string as a new string, std::string_view as a view of it. Throws
  /// std::runtime_error "Get from empty", or "Incorrect type in get (you asked for X but it's actually Y)" after a line
  /// on standard error (no line for std::string and std::string_view).
  template <class T>
  decltype(auto) get() const;
  template <class T>
  decltype(auto) get();

  /// Reads the value as bool, std::int64_t, double or std::string, or parses a string as that. Throws
  /// std::runtime_error "Trying to parse from empty", "Trying to parse from incorrect type (actually X)" or "Invalid
  /// boolean: x". Text that is no number gives 0, and parsing stops at the first byte that doesn't fit.
  template <class T>
  T convert_to() const;

  /// The 16 bytes as the host's operations take them. Ownership stays here.
  qel_value view() const noexcept { return {payload, tag, 0}; }

  /// A value that takes over what the 16 bytes own.
  static data_t adopt(qel_value value) noexcept { return data_t(value); }

  /// Gives the 16 bytes away, with what they own, and is empty afterwards.
  qel_value disown() noexcept { return {std::exchange(payload, 0), std::exchange(tag, QEL_EMPTY), 0}; }

  /// The payload word, whatever it holds.
  std::uint64_t bits() const noexcept { return payload; }

 private:
  explicit data_t(qel_value value) noexcept : payload(value.payload), tag(value.tag) {}
  static char* copyOf(const char* text) {
    if (!text) [[unlikely]]
      refuseNull();
    return qel_copy_string(text);
  }
  [[noreturn]] static void refuseNull();
  void release() noexcept;

  std::uint64_t payload = 0;
  std::uint32_t tag = QEL_EMPTY;
  std::uint32_t reserved = 0;
};
static_assert(sizeof(data_t) == sizeof(qel_value));

/// Equality. Different tags are unequal, so an owned and a borrowed string of the same text are; a NaN and a custom
/// value equal nothing, themselves included; maps are equal whatever their slot order, if their names agree. Values
/// nested 10,000 deep are within an 8 MiB stack.
bool operator==(const data_t& a, const data_t& b);
bool operator==(const list_t& a, const list_t& b);
bool operator==(const map_t& a, const map_t& b);

/// The equality of two keys, inlined for the kind that nearly all are: owned texts.
inline bool isSameKey(const data_t& a, const data_t& b) {
  if (a.is(Tag::string) && b.is(Tag::string)) [[likely]]
    return std::strcmp(reinterpret_cast<const char*>(a.bits()), reinterpret_cast<const char*>(b.bits())) == 0;
  return a == b;
}

struct map_t::entry {
  const data_t first;
  data_t second;
};
static_assert(sizeof(map_t::entry) == sizeof(map_slot) - offsetof(map_slot, key));

inline data_t::data_t(list_t&& list) noexcept : tag(QEL_LIST) {
  list_t& place = *reinterpret_cast<list_t*>(&payload);
  place.swap(list);
}

inline data_t::data_t(map_t&& map) noexcept : tag(QEL_MAP) {
  map_t& place = *reinterpret_cast<map_t*>(&payload);
  place.swap(map);
}

inline list_t::~list_t() {
  if (block) swallow([&] { qel_free_vector(block); });
}

inline list_t& list_t::operator=(list_t&& other) noexcept {
  list_t built(std::move(other));
  swap(built);
  return *this;
}

inline void list_t::swap(list_t& other) noexcept {
  std::swap(block, other.block);
}
inline data_t& list_t::operator[](std::uint64_t index) {
  return element(index);
}
inline const data_t& list_t::operator[](std::uint64_t index) const {
  return element(index);
}
inline data_t& list_t::front() {
  return element(0);
}
inline const data_t& list_t::front() const {
  return element(0);
}

inline list_t::iterator list_t::begin() noexcept {
  return {this, block ? elements() : nullptr, size()};
}
inline list_t::iterator list_t::end() noexcept {
  return {this, block ? elements() + size() : nullptr, size()};
}
inline list_t::const_iterator list_t::begin() const noexcept {
  return {this, block ? elements() : nullptr, size()};
}
inline list_t::const_iterator list_t::end() const noexcept {
  return {this, block ? elements() + size() : nullptr, size()};
}

inline map_t::~map_t() {
  if (block) swallow([&] { qel_free_map(block); });
}

inline map_t& map_t::operator=(map_t&& other) noexcept {
  map_t built(std::move(other));
  swap(built);
  return *this;
}

inline void map_t::swap(map_t& other) noexcept {
  std::swap(block, other.block);
}

inline map_t::iterator map_t::iteratorAt(std::uint64_t index) noexcept {
  return {this, block ? slots() : nullptr, capacity(), size(), index};
}
inline map_t::const_iterator map_t::iteratorAt(std::uint64_t index) const noexcept {
  return {this, block ? slots() : nullptr, capacity(), size(), index};
}
/// The end for no slot.
inline map_t::iterator map_t::iteratorTo(const map_slot* slot) noexcept {
  return iteratorAt(slot ? static_cast<std::uint64_t>(slot - slots()) : capacity());
}
inline map_t::const_iterator map_t::iteratorTo(const map_slot* slot) const noexcept {
  return iteratorAt(slot ? static_cast<std::uint64_t>(slot - slots()) : capacity());
}
inline std::uint64_t map_t::firstOccupied() const noexcept {
  std::uint64_t index = 0;
  const std::uint64_t end = capacity();
  while (index < end && !isOccupied(slots()[index])) ++index;
  return index;
}
inline map_t::iterator map_t::begin() noexcept {
  return iteratorAt(firstOccupied());
}
inline map_t::iterator map_t::end() noexcept {
  return iteratorAt(capacity());
}
inline map_t::const_iterator map_t::begin() const noexcept {
  return iteratorAt(firstOccupied());
}
inline map_t::const_iterator map_t::end() const noexcept {
  return iteratorAt(capacity());
}

}  // namespace com::tallowmere::connectivity10_15_4

#include "connectivity/conversion.h"
