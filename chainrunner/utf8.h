// Checks of UTF-8 text.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace chainrunner {

/// The bytes of the character at the start of `text`, which is not empty; 0 when there is no well-formed one (overlong
/// forms, surrogates and what lies beyond U+10FFFF are none). [any thread]
std::size_t utf8CharacterLength(std::string_view text);

/// The text with U+FFFD in place of each byte that belongs to no well-formed character. [any thread]
std::string repairedUtf8(std::string_view text);

}  // namespace chainrunner
