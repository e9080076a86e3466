#include "tests/support/json_text.h"

#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/serialize.hpp>
#include <boost/json/value_stack.hpp>
#include <charconv>
#include <map>
#include <stdexcept>

namespace tests {
namespace {

namespace json = boost::json;

/// Builds a document as the library's own handler does, except for doubles: the library's conversion can be off by the
/// last bit.
struct ExactHandler {
  using error = json::error_code;
  static constexpr std::size_t max_object_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_array_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_key_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_string_size = static_cast<std::size_t>(-1);

  bool on_document_begin(error&) { return true; }
  bool on_document_end(error&) { return true; }
  bool on_object_begin(error&) { return true; }
  bool on_object_end(std::size_t count, error&) { return stack.push_object(count), true; }
  bool on_array_begin(error&) { return true; }
  bool on_array_end(std::size_t count, error&) { return stack.push_array(count), true; }
  bool on_key_part(json::string_view part, std::size_t, error&) { return stack.push_chars(part), true; }
  bool on_key(json::string_view part, std::size_t, error&) { return stack.push_key(part), true; }
  bool on_string_part(json::string_view part, std::size_t, error&) { return stack.push_chars(part), true; }
  bool on_string(json::string_view part, std::size_t, error&) { return stack.push_string(part), true; }
  bool on_number_part(json::string_view part, error&) { return digits.append(part), true; }
  bool on_int64(std::int64_t number, json::string_view, error&) {
    digits.clear();
    return stack.push_int64(number), true;
  }
  bool on_uint64(std::uint64_t number, json::string_view, error&) {
    digits.clear();
    return stack.push_uint64(number), true;
  }
  bool on_double(double, json::string_view part, error&) {
    digits.append(part);
    double number = 0.0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    digits.clear();
    return stack.push_double(number), true;
  }
  bool on_bool(bool boolean, error&) { return stack.push_bool(boolean), true; }
  bool on_null(error&) { return stack.push_null(), true; }
  bool on_comment_part(json::string_view, error&) { return true; }
  bool on_comment(json::string_view, error&) { return true; }

  json::value_stack stack;
  std::string digits;
};

void appendText(std::string& text, const json::value& document);

void appendObject(std::string& text, const json::object& object) {
  std::map<std::string_view, const json::value*> sorted;
  for (const auto& entry : object)
    sorted.emplace(std::string_view(entry.key().data(), entry.key().size()), &entry.value());
  char separator = '{';
  if (sorted.empty()) text += separator;
  for (const auto& [key, value] : sorted) {
    text += separator + quoted(key) + ':';
    appendText(text, *value);
    separator = ',';
  }
  text += '}';
}

void appendArray(std::string& text, const json::array& array) {
  text += '[';
  for (const auto& element : array) {
    if (&element != array.begin()) text += ',';
    appendText(text, element);
  }
  text += ']';
}

void appendText(std::string& text, const json::value& document) {
  if (const auto* object = document.if_object()) {
    appendObject(text, *object);
  } else if (const auto* array = document.if_array()) {
    appendArray(text, *array);
  } else if (const auto* number = document.if_double()) {
    text += textOfDouble(*number);
  } else {
    text += json::serialize(document);
  }
}

}  // namespace

json::value parseJson(std::string_view text) {
  json::parse_options options;
  options.max_depth = 20000;
  json::basic_parser<ExactHandler> parser(options);
  parser.handler().stack.reset();
  json::error_code error;
  const std::size_t consumed = parser.write_some(false, text.data(), text.size(), error);
  if (!error && consumed < text.size()) error = json::error::extra_data;
  if (error) {
    throw std::runtime_error("JSON: " + error.message() + " at byte " + std::to_string(consumed) + " of " +
                             std::string(text));
  }
  return parser.handler().stack.release();
}

std::string textOfDouble(double number) {
  char buffer[32];
  std::string text(buffer, std::to_chars(buffer, buffer + sizeof buffer, number).ptr);
  if (text.find_first_not_of("-0123456789") == std::string::npos) text += ".0";
  return text;
}

std::string textOf(const json::value& document) {
  std::string text;
  appendText(text, document);
  return text;
}

std::string json(std::string_view text) {
  return textOf(parseJson(text));
}

std::string quoted(std::string_view text) {
  return json::serialize(json::string_view(text.data(), text.size()));
}

}  // namespace tests
