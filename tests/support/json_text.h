#pragma once

#include <boost/json/value.hpp>
#include <string>
#include <string_view>

namespace tests {

/// Parses a whole JSON text, with every number exactly the nearest double. Throws std::runtime_error with the reason
/// and the position otherwise.
boost::json::value parseJson(std::string_view text);

/// The shortest text that gives the same double, with a ".0" where it would read as an integer.
std::string textOfDouble(double number);

/// One line without blanks, the keys of every object in byte order: the same text for the same content.
std::string textOf(const boost::json::value& document);

/// `textOf` of what `text` holds, so that a test may write JSON with blanks, lines and any order of keys.
std::string json(std::string_view text);

/// The text as a JSON string, with its quotes.
std::string quoted(std::string_view text);

}  // namespace tests
