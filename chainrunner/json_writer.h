// Values to JSON text.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "chainrunner/values.h"

namespace chainrunner {

/// Appends the value as JSON on one line. The keys of an object are in byte order, so equal values give equal texts.
/// Doubles are the shortest text that reads back as the same number, and stay doubles (100.0); integers stay integers;
/// an empty value is `null`. Throws std::runtime_error "A custom value has no JSON form" (also for buffers, decimals
/// and unknown tags), "A number that is not finite has no JSON form", "A key that is not a string has no JSON form (it
/// is X)", "A text that is not UTF-8 has no JSON form" or "Values nested deeper than N have no JSON form", and then
/// appends nothing. [any thread]
void appendJson(std::string& out, const data_t& value, std::size_t maxDepth = 200);

/// Appends the text as a JSON string, quotes included. Throws as above. [any thread]
void appendJsonString(std::string& out, std::string_view text);

/// The value as JSON. Throws as above. [any thread]
std::string toJson(const data_t& value, std::size_t maxDepth = 200);

}  // namespace chainrunner
