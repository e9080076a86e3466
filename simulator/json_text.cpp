#include "simulator/json_text.h"

#include <algorithm>
#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/value_stack.hpp>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace simulator {
namespace json = boost::json;

namespace {

constexpr std::size_t deepest = 128;

/// Builds the value that the parser walks through. Doubles are read from their text, because the parser's own
/// conversion can be off by a unit in the last place.
class ValueBuilder {
 public:
  static constexpr std::size_t max_object_size = json::object::max_size();
  static constexpr std::size_t max_array_size = json::array::max_size();
  static constexpr std::size_t max_key_size = json::string::max_size();
  static constexpr std::size_t max_string_size = json::string::max_size();

  ValueBuilder() { stack.reset(); }
  json::value take() { return stack.release(); }
  bool numberOutOfRange = false;

  bool on_document_begin(json::error_code&) { return true; }
  bool on_document_end(json::error_code&) { return true; }
  bool on_object_begin(json::error_code&) { return true; }
  bool on_object_end(std::size_t size, json::error_code&) { return stack.push_object(size), true; }
  bool on_array_begin(json::error_code&) { return true; }
  bool on_array_end(std::size_t size, json::error_code&) { return stack.push_array(size), true; }
  bool on_key_part(std::string_view part, std::size_t, json::error_code&) { return stack.push_chars(part), true; }
  bool on_key(std::string_view part, std::size_t, json::error_code&) { return stack.push_key(part), true; }
  bool on_string_part(std::string_view part, std::size_t, json::error_code&) { return stack.push_chars(part), true; }
  bool on_string(std::string_view part, std::size_t, json::error_code&) { return stack.push_string(part), true; }
  bool on_bool(bool value, json::error_code&) { return stack.push_bool(value), true; }
  bool on_null(json::error_code&) { return stack.push_null(), true; }
  bool on_comment_part(std::string_view, json::error_code&) { return true; }
  bool on_comment(std::string_view, json::error_code&) { return true; }

  bool on_number_part(std::string_view part, json::error_code&) {
    number.append(part);
    return true;
  }
  bool on_int64(std::int64_t value, std::string_view rest, json::error_code&) {
    // A double is the only number that can keep the sign of "-0".
    if (value == 0 && wholeNumber(rest).front() == '-') return stack.push_double(-0.0), true;
    return stack.push_int64(value), true;
  }
  bool on_uint64(std::uint64_t value, std::string_view, json::error_code&) {
    number.clear();
    return stack.push_uint64(value), true;
  }
  bool on_double(double estimate, std::string_view rest, json::error_code& error) {
    const std::string text = wholeNumber(rest);
    double value = 0;
    const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (code == std::errc::result_out_of_range) {
      if (std::abs(estimate) < 1) return stack.push_double(std::copysign(0.0, estimate)), true;
      numberOutOfRange = true;
      error = json::error::exponent_overflow;
      return false;
    }
    return stack.push_double(value), true;
  }

 private:
  std::string wholeNumber(std::string_view rest) {
    std::string text = std::move(number);
    number.clear();
    return text.append(rest);
  }

  json::value_stack stack;
  std::string number;
};

std::string position(std::string_view text, std::size_t offset) {
  const std::string_view before = text.substr(0, offset);
  const auto line = 1 + std::count(before.begin(), before.end(), '\n');
  const std::size_t lineStart = before.rfind('\n') + 1;  // npos + 1 is 0
  return "line " + std::to_string(line) + ", column " + std::to_string(offset - lineStart + 1);
}

/// Length of the UTF-8 sequence at the head of `text`, 0 when there is no valid one.
std::size_t sequenceLength(std::string_view text) {
  const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
  const unsigned first = byte(0);
  if (first < 0x80) return 1;
  const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
  for (std::size_t at = 1; at < length; ++at) {
    if ((byte(at) & 0xC0) != 0x80) return 0;
  }
  const unsigned second = byte(1);
  if (first == 0xE0 && second < 0xA0) return 0;  // longer than needed
  if (first == 0xED && second > 0x9F) return 0;  // surrogates
  if (first == 0xF0 && second < 0x90) return 0;  // longer than needed
  if (first == 0xF4 && second > 0x8F) return 0;  // beyond the last code point
  return length;
}

void appendControl(std::string& out, char character) {
  switch (character) {
    case '\n':
      out += "\\n";
      return;
    case '\r':
      out += "\\r";
      return;
    case '\t':
      out += "\\t";
      return;
    default: {
      constexpr char digits[] = "0123456789abcdef";
      const auto code = static_cast<unsigned char>(character);
      out.append("\\u00").append(1, digits[code >> 4]).append(1, digits[code & 15]);
    }
  }
}

bool isPlain(char character) {
  const auto code = static_cast<unsigned char>(character);
  return code >= 0x20 && code < 0x80 && character != '"' && character != '\\';
}

/// Appends the head of `text`, which is no plain character, and gives the number of bytes it took.
std::size_t appendSpecial(std::string& out, std::string_view text) {
  const char character = text.front();
  if (character == '"' || character == '\\') {
    out.append(1, '\\').append(1, character);
    return 1;
  }
  if (static_cast<unsigned char>(character) < 0x20) {
    appendControl(out, character);
    return 1;
  }
  const std::size_t length = sequenceLength(text);
  if (length == 0) {
    out += "\xEF\xBF\xBD";
    return 1;
  }
  out.append(text.substr(0, length));
  return length;
}

template <class Number>
void appendNumber(std::string& out, Number number) {
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
  out.append(digits, end);
}

void appendDouble(std::string& out, double number) {
  if (!std::isfinite(number)) {
    out += "null";
    return;
  }
  const std::size_t start = out.size();
  appendNumber(out, number);
  if (out.find_first_of(".e", start) == std::string::npos) out += ".0";
}

}  // namespace

json::value parseJson(std::string_view text) {
  json::parse_options limits;
  limits.max_depth = deepest;
  json::basic_parser<ValueBuilder> parser(limits);
  json::error_code error;
  const std::size_t used = parser.write_some(false, text.data(), text.size(), error);
  if (!error && used < text.size()) error = json::error::extra_data;
  if (!error) return parser.handler().take();
  const std::string reason =
      parser.handler().numberOutOfRange ? "the number is too large for a double" : error.message();
  throw JsonError(position(text, used) + ": " + reason);
}

void appendJsonString(std::string& out, std::string_view text) {
  out += '"';
  while (!text.empty()) {
    const auto plainEnd = std::find_if_not(text.begin(), text.end(), isPlain);
    const auto plain = static_cast<std::size_t>(plainEnd - text.begin());
    out.append(text.substr(0, plain));
    text.remove_prefix(plain);
    if (!text.empty()) text.remove_prefix(appendSpecial(out, text));
  }
  out += '"';
}

void appendJson(std::string& out, const json::value& value) {
  switch (value.kind()) {
    case json::kind::null:
      out += "null";
      return;
    case json::kind::bool_:
      out += value.get_bool() ? "true" : "false";
      return;
    case json::kind::int64:
      appendNumber(out, value.get_int64());
      return;
    case json::kind::uint64:
      appendNumber(out, value.get_uint64());
      return;
    case json::kind::double_:
      appendDouble(out, value.get_double());
      return;
    case json::kind::string:
      appendJsonString(out, value.get_string());
      return;
    case json::kind::array: {
      char separator = '[';
      for (const json::value& element : value.get_array()) {
        out += separator;
        appendJson(out, element);
        separator = ',';
      }
      out += value.get_array().empty() ? "[]" : "]";
      return;
    }
    case json::kind::object:
      out += '{';
      appendFields(out, value.get_object());
      out += '}';
      return;
  }
}

void appendFields(std::string& out, const json::object& object) {
  const char* separator = "";
  for (const auto& [name, element] : object) {
    out += separator;
    appendJsonString(out, name);
    out += ':';
    appendJson(out, element);
    separator = ",";
  }
}

std::string toJson(const json::value& value) {
  std::string out;
  appendJson(out, value);
  return out;
}

}  // namespace simulator
