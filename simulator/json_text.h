// JSON in and out with nothing lost: integers stay integers, and a double that came in goes out as the same double.
#pragma once

#include <boost/json/value.hpp>
#include <stdexcept>
#include <string>
#include <string_view>

namespace simulator {

/// A text that is no JSON. Its message names line, column (in bytes, both from 1) and reason, such as
/// "line 2, column 9: syntax error".
class JsonError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Reads one JSON text, up to 128 levels deep. Integers beyond 64 bits are read as doubles; of fields with the same
/// name the last one stays. Throws `JsonError`, also for a number that no double can hold. [any thread]
boost::json::value parseJson(std::string_view text);

/// Appends `value` on one line. Doubles are written in the shortest form that reads back as the same double, and never
/// look like integers: 1.0 is "1.0". Bytes that are no UTF-8 become U+FFFD. [any thread]
void appendJson(std::string& out, const boost::json::value& value);

/// Appends the fields of `object` with commas between them, without braces. [any thread]
void appendFields(std::string& out, const boost::json::object& object);

/// Appends `text` as a JSON string, quotes included. Bytes that are no UTF-8 become U+FFFD. [any thread]
void appendJsonString(std::string& out, std::string_view text);

/// `appendJson` to a string of its own. [any thread]
std::string toJson(const boost::json::value& value);

}  // namespace simulator
