#include "chainrunner/http_text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace chainrunner {

namespace {

/// What a character may be part of.
enum : unsigned char { inToken = 1, inPath = 2, inQueryText = 4, isHexadecimal = 8, isControl = 16, inDotSegment = 32 };

using Classes = std::array<unsigned char, 256>;

constexpr void add(Classes& classes, std::string_view characters, unsigned char kind) {
  for (const char character : characters) classes[static_cast<unsigned char>(character)] |= kind;
}

constexpr Classes makeClasses() {
  Classes classes{};
  for (const char* all : {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz", "0123456789"})
    add(classes, all, inToken | inPath | inQueryText);
  add(classes, "!#$%&'*+-.^_`|~", inToken);
  add(classes, "-._~!$&'()*+,;=:@/", inPath);
  add(classes, "-._~", inQueryText);
  add(classes, "0123456789abcdefABCDEF", isHexadecimal);
  // Without one of these no segment is a dot segment, however it is read.
  add(classes, ".%\\", inDotSegment);
  for (std::size_t i = 0; i < 0x20; ++i) classes[i] |= isControl;
  classes[0x7f] |= isControl;
  return classes;
}

constexpr Classes classes = makeClasses();

bool is(char character, unsigned char kind) {
  return (classes[static_cast<unsigned char>(character)] & kind) != 0;
}

bool holds(std::string_view text, unsigned char kind) {
  return std::any_of(text.begin(), text.end(), [kind](char character) { return is(character, kind); });
}

bool consistsOf(std::string_view text, unsigned char kind) {
  return std::all_of(text.begin(), text.end(), [kind](char character) { return is(character, kind); });
}

char lower(char character) {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

void appendEncoded(std::string& out, char character) {
  static constexpr char digits[] = "0123456789ABCDEF";
  const auto byte = static_cast<unsigned char>(character);
  out += '%';
  out += digits[byte >> 4];
  out += digits[byte & 0xf];
}

bool startsWithEscape(std::string_view text) {
  return text.size() >= 3 && text[0] == '%' && is(text[1], isHexadecimal) && is(text[2], isHexadecimal);
}

/// The path as a lenient server might read it.
std::string asLenientlyRead(std::string_view path) {
  static constexpr std::pair<std::string_view, char> readings[] = {
      {"%2e", '.'}, {"%2f", '/'}, {"%5c", '/'}, {"\\", '/'}};
  std::string text(path);
  std::transform(text.begin(), text.end(), text.begin(), lower);
  for (const auto& [escape, character] : readings)
    for (std::size_t at = 0; (at = text.find(escape, at)) != std::string::npos; ++at)
      text.replace(at, escape.size(), 1, character);
  return text;
}

}  // namespace

bool hasControlCharacter(std::string_view text) {
  return holds(text, isControl);
}

bool isToken(std::string_view text) {
  return !text.empty() && consistsOf(text, inToken);
}

bool isSameName(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return lower(x) == lower(y); });
}

bool hasDotSegment(std::string_view path) {
  if (!holds(path, inDotSegment)) return false;
  const std::string text = asLenientlyRead(path);
  for (std::size_t start = 0; start <= text.size();) {
    const std::size_t end = std::min(text.find('/', start), text.size());
    const std::string_view segment = std::string_view(text).substr(start, end - start);
    const std::string_view name = segment.substr(0, segment.find(';'));
    if (name == "." || name == "..") return true;
    start = end + 1;
  }
  return false;
}

void appendEncodedPath(std::string& out, std::string_view path) {
  if (consistsOf(path, inPath)) {
    out += path;
    return;
  }
  for (std::size_t i = 0; i < path.size(); ++i) {
    if (is(path[i], inPath) || startsWithEscape(path.substr(i)))
      out += path[i];
    else
      appendEncoded(out, path[i]);
  }
}

void appendEncodedQueryText(std::string& out, std::string_view text) {
  for (const char character : text) {
    if (is(character, inQueryText))
      out += character;
    else
      appendEncoded(out, character);
  }
}

}  // namespace chainrunner
