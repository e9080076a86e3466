// Text as the places of an HTTP request can hold it.
#pragma once

#include <string>
#include <string_view>

namespace chainrunner {

/// Whether the text holds a control character, which ends a line or a field. [any thread]
bool hasControlCharacter(std::string_view text);

/// Whether the text is a name as headers and cookies have it. [any thread]
bool isToken(std::string_view text);

/// Whether the texts are the same but for the case of letters of ASCII. [any thread]
bool isSameName(std::string_view a, std::string_view b);

/// Whether a part of the path, less the parameters behind a semicolon, is "." or "..", also for a server that decodes
/// dots and separators first or takes a backslash for a slash. [any thread]
bool hasDotSegment(std::string_view path);

/// Appends the path with what a path may not hold encoded. An escape that is there already stays. [any thread]
void appendEncodedPath(std::string& out, std::string_view path);

/// Appends the text as a name or value of a query. [any thread]
void appendEncodedQueryText(std::string& out, std::string_view text);

}  // namespace chainrunner
