// JSON text to values.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "chainrunner/values.h"

namespace chainrunner {

/// What a JSON text may hold at most.
struct JsonLimits {
  std::size_t depth = 200;           ///< arrays and objects within each other
  std::size_t keyBytes = 64 * 1024;  ///< one key
};

/// A text that is no JSON, or holds what a value can't. `what()` is the reason alone.
class JsonError : public std::runtime_error {
 public:
  JsonError(const std::string& reason, std::size_t offset) : std::runtime_error(reason), offset(offset) {}

  const std::size_t offset;  ///< bytes in front of the place
};

/// Reads one JSON document straight into value blocks. A number with a fraction or an exponent becomes a double, and so
/// does an integer beyond 64 bits; doubles are the nearest to their text. `null` becomes an empty value. Of duplicate
/// keys the last wins. Throws JsonError with one of the reasons "the text ends too early", "syntax error: X is
/// expected" (also "a control character within a text", "an unknown escape" or "half of a surrogate pair"), "more text
/// behind the document", "nested deeper than N", "a key is longer than N bytes", "a text is not UTF-8", "a text holds
/// the character NUL" and "a number is beyond the range of a double". A depth of 10,000 is within an 8 MiB stack. [any
/// thread]
data_t readJson(std::string_view text, const JsonLimits& limits = {});

/// Tells where the value of a key goes. The place stays where it is until the document is read.
using JsonPlaces = std::function<data_t&(std::string_view key)>;

/// Reads a document that is an object without making a map of it: each value goes, in the text's order, to its place,
/// over what is there. Gives the document if it is anything else. Throws as `readJson` does; some places are filled
/// then. [any thread]
std::optional<data_t> readJsonMembers(std::string_view text, const JsonPlaces& placeOf, const JsonLimits& limits = {});

}  // namespace chainrunner
