#include "chainrunner/json_reader.h"

#include <boost/json/basic_parser_impl.hpp>
#include <charconv>
#include <cmath>
#include <system_error>
#include <utility>
#include <vector>

namespace chainrunner {

namespace {

namespace json = boost::json;
using Text = json::string_view;
using Code = json::error_code;

/// Builds values from the parser's events. The innermost open container is the last frame; a finished value goes into
/// it.
class ValueBuilder {
 public:
  // Limits are checked here, where a message can name them.
  static constexpr std::size_t max_array_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_object_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_string_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_key_size = static_cast<std::size_t>(-1);

  explicit ValueBuilder(const JsonLimits& limits) : limits(limits) {}

  std::string failure;  ///< why a call answered false
  data_t root;

  bool on_document_begin(Code&) { return true; }
  bool on_document_end(Code&) { return true; }

  bool on_object_begin(Code&) { return open(data_t(map_t())); }
  bool on_array_begin(Code&) { return open(data_t(list_t())); }
  bool on_object_end(std::size_t, Code&) { return close(); }
  bool on_array_end(std::size_t, Code&) { return close(); }

  bool on_key_part(Text part, std::size_t size, Code& code) {
    if (size > limits.keyBytes) return fail("a key is longer than " + std::to_string(limits.keyBytes) + " bytes", code);
    return append(part, code);
  }
  bool on_key(Text part, std::size_t size, Code& code) {
    if (!on_key_part(part, size, code)) return false;
    frames.back().key = std::exchange(pending, {});
    return true;
  }
  bool on_string_part(Text part, std::size_t, Code& code) { return append(part, code); }
  bool on_string(Text part, std::size_t, Code& code) {
    if (!append(part, code)) return false;
    add(data_t(pending));
    pending.clear();
    return true;
  }

  bool on_number_part(Text part, Code&) {
    pending += part;
    return true;
  }
  bool on_int64(std::int64_t number, Text, Code&) {
    pending.clear();
    add(data_t(number));
    return true;
  }
  bool on_uint64(std::uint64_t number, Text part, Code& code) {
    return on_double(static_cast<double>(number), part, code);
  }
  bool on_double(double approximate, Text part, Code& code) {
    pending += part;
    const std::string text = std::exchange(pending, {});
    double number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec == std::errc::result_out_of_range) {
      if (std::fabs(approximate) > 1) return fail("a number is beyond the range of a double", code);
      number = std::copysign(0.0, text.front() == '-' ? -1.0 : 1.0);
    }
    add(data_t(number));
    return true;
  }
  bool on_bool(bool value, Code&) {
    add(data_t(value));
    return true;
  }
  bool on_null(Code&) {
    add(data_t());
    return true;
  }
  bool on_comment_part(Text, Code&) { return true; }
  bool on_comment(Text, Code&) { return true; }

 private:
  struct Frame {
    data_t container;
    std::string key;  ///< of the value that comes next, in a map
  };

  bool fail(std::string reason, Code& code) {
    failure = std::move(reason);
    code = json::make_error_code(json::error::exception);
    return false;
  }

  bool append(Text part, Code& code) {
    if (part.find('\0') != Text::npos) return fail("a text holds the character NUL", code);
    pending += part;
    return true;
  }

  bool open(data_t container) {
    frames.push_back({std::move(container), {}});
    return true;
  }

  bool close() {
    data_t finished = std::move(frames.back().container);
    frames.pop_back();
    add(std::move(finished));
    return true;
  }

  void add(data_t value) {
    if (frames.empty()) {
      root = std::move(value);
      return;
    }
    Frame& frame = frames.back();
    if (frame.container.is(Tag::map))
      frame.container.get<map_t>()[data_t(frame.key)] = std::move(value);
    else
      frame.container.get<list_t>().push_back(std::move(value));
  }

  const JsonLimits& limits;
  std::vector<Frame> frames;
  std::string pending;  ///< parts of the key, string or number at hand
};

std::string reasonOf(const Code& code, const std::string& failure, const JsonLimits& limits) {
  if (!failure.empty()) return failure;
  if (code == json::error::too_deep) return "nested deeper than " + std::to_string(limits.depth);
  if (code == json::error::incomplete) return "the text ends too early";
  return code.message();
}

}  // namespace

data_t readJson(std::string_view text, const JsonLimits& limits) {
  json::parse_options options;
  options.max_depth = limits.depth;
  json::basic_parser<ValueBuilder> parser(options, limits);
  Code code;
  const std::size_t consumed = parser.write_some(false, text.data(), text.size(), code);
  if (code) throw JsonError(reasonOf(code, parser.handler().failure, limits), consumed);
  if (consumed < text.size()) throw JsonError("more text behind the document", consumed);
  return std::move(parser.handler().root);
}

}  // namespace chainrunner
