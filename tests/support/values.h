// Values made and read on the host's side of the border, as plain structs and JSON text.
//
// JSON and values: null is empty; integers have tag 3, numbers with a point or an exponent tag 2, strings tag 5; arrays
// are lists and objects are maps, filled by the insertion rule. What JSON lacks is an object with one or two keys that
// begin with "$":
//   {"$borrowed": "text"}               a borrowed string, tag 10
//   {"$double": "nan"}                  a number that JSON can't write: "nan", "inf", "-inf"
//   {"$decimal": 12}                    a decimal, by its bits
//   {"$buffer": "0aff"}                 a buffer, by its bytes in hexadecimal
//   {"$custom": 7}                      a custom object of the test host, by its id
//   {"$name": "text", "$map": {...}}    a map that bears a name
//   {"$entries": [[key, value], ...]}   a map with a key that isn't an owned string; may stand for {...} in "$map"
//   {"$tag": 42}                        a value with an unknown tag (written, never read)
// A map or list without a block reads as one without entries.
#pragma once

#include <boost/json/value.hpp>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "connectivity/host_abi.h"
#include "tests/support/json_text.h"

namespace tests {

/// A message as it lies in memory.
struct RawMessage {
  qel_value payload;
  map_header* metadata;
};
static_assert(sizeof(RawMessage) == 24);

qel_value emptyValue();
qel_value booleanValue(bool boolean);
qel_value doubleValue(double number);
qel_value integerValue(std::int64_t number);
qel_value decimalValue(std::uint64_t bits);
qel_value stringValue(std::string_view text);

/// A tag-10 string. Its text lives as long as the process.
qel_value borrowedString(std::string_view text);
qel_value bufferValue(std::string_view bytes);
qel_value customValue(std::uint64_t id);

/// Takes over the elements.
qel_value listValue(std::initializer_list<qel_value> elements);

/// A value of the tag whose pointer is null: a list, map or buffer with no block.
qel_value withoutBlock(qel_tag tag);

/// Takes over the block, which may be null.
qel_value mapValue(map_header* block);

/// The block of a map value, without a change of owner.
map_header* mapIn(const qel_value& map);

/// A value as the JSON text tells. The caller owns it. Throws std::runtime_error when the text can't be read so.
qel_value fromJson(std::string_view text);
qel_value fromDocument(const boost::json::value& document);

/// The value as JSON, keys in byte order, in one line. Entries of equal keys keep slot order.
std::string toJson(const qel_value& value);
boost::json::value toDocument(const qel_value& value);

/// {"metadata": {...}, "payload": ...}
std::string toJson(const RawMessage& message);
boost::json::value toDocument(const RawMessage& message);

/// Frees a value by its tag.
void freeValue(const qel_value& value);

/// Owns a value until the end of a scope.
class OwnedValue {
 public:
  explicit OwnedValue(const qel_value& value) : value(value) {}
  explicit OwnedValue(std::string_view text) : value(fromJson(text)) {}
  ~OwnedValue() { freeValue(value); }
  OwnedValue(const OwnedValue&) = delete;
  OwnedValue& operator=(const OwnedValue&) = delete;

  const qel_value& get() const { return value; }

  /// Gives up the ownership.
  qel_value release();

 private:
  qel_value value;
};

}  // namespace tests
