#include "chainrunner/json_writer.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "chainrunner/utf8.h"

namespace chainrunner {

namespace {

/// Writes one value; `depth` counts the containers that may still open.
class Writer {
 public:
  Writer(std::string& out, std::size_t maxDepth) : out(out), maxDepth(maxDepth) {}

  void write(const data_t& value, std::size_t depth) {
    switch (value.type()) {
      case Tag::empty:
        out += "null";
        return;
      case Tag::boolean:
        out += value.get<bool>() ? "true" : "false";
        return;
      case Tag::number:
        return writeDouble(value.get<double>());
      case Tag::integer:
        return writeInteger(value.get<std::int64_t>());
      case Tag::string:
      case Tag::borrowedString:
        return appendJsonString(out, value.get<const char*>());
      case Tag::list:
        return writeList(value.get<list_t>(), descend(depth));
      case Tag::map:
        return writeMap(value.get<map_t>(), descend(depth));
      default:
        throw std::runtime_error(std::string("A ") + value.type_name() + " value has no JSON form");
    }
  }

 private:
  std::size_t descend(std::size_t depth) const {
    if (depth == 0)
      throw std::runtime_error("Values nested deeper than " + std::to_string(maxDepth) + " have no JSON form");
    return depth - 1;
  }

  void writeInteger(std::int64_t number) {
    char buffer[32];
    out.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, number).ptr);
  }

  void writeDouble(double number) {
    if (!std::isfinite(number)) throw std::runtime_error("A number that is not finite has no JSON form");
    char buffer[64];
    // Times should read as numbers of seconds, not as powers of ten.
    const bool isPlain = number == 0 || (std::fabs(number) >= 1e-5 && std::fabs(number) < 1e17);
    const auto form = isPlain ? std::chars_format::fixed : std::chars_format::scientific;
    const std::string_view text(buffer, std::to_chars(buffer, buffer + sizeof buffer, number, form).ptr);
    out += text;
    if (text.find_first_of(".e") == std::string_view::npos) out += ".0";
  }

  void writeList(const list_t& list, std::size_t depth) {
    out += '[';
    const char* separator = "";
    for (const data_t& element : list) {
      out += std::exchange(separator, ",");
      write(element, depth);
    }
    out += ']';
  }

  void writeMap(const map_t& map, std::size_t depth) {
    std::vector<std::pair<std::string_view, const data_t*>> entries;
    entries.reserve(map.size());
    for (const auto& entry : map) {
      if (!entry.first.isString())
        throw std::runtime_error(std::string("A key that is not a string has no JSON form (it is ") +
                                 entry.first.type_name() + ")");
      entries.emplace_back(entry.first.get<const char*>(), &entry.second);
    }
    std::sort(entries.begin(), entries.end());
    out += '{';
    const char* separator = "";
    for (const auto& [key, value] : entries) {
      out += std::exchange(separator, ",");
      appendJsonString(out, key);
      out += ':';
      write(*value, depth);
    }
    out += '}';
  }

  std::string& out;
  const std::size_t maxDepth;
};

void appendEscaped(std::string& out, char character) {
  static constexpr char digits[] = "0123456789abcdef";
  switch (character) {
    case '"':
    case '\\':
      out += '\\';
      out += character;
      return;
    case '\n':
      out += "\\n";
      return;
    case '\r':
      out += "\\r";
      return;
    case '\t':
      out += "\\t";
      return;
    default:
      out += "\\u00";
      out += digits[(character >> 4) & 0xf];
      out += digits[character & 0xf];
  }
}

bool isPlain(unsigned char byte) {
  return byte >= 0x20 && byte < 0x80 && byte != '"' && byte != '\\';
}

}  // namespace

void appendJsonString(std::string& out, std::string_view text) {
  out += '"';
  while (!text.empty()) {
    std::size_t length = 0;
    while (length < text.size() && isPlain(static_cast<unsigned char>(text[length]))) ++length;
    if (length == 0) {
      length = utf8CharacterLength(text);
      if (length == 0) throw std::runtime_error("A text that is not UTF-8 has no JSON form");
      if (length == 1) {
        appendEscaped(out, text.front());
        text.remove_prefix(1);
        continue;
      }
    }
    out += text.substr(0, length);
    text.remove_prefix(length);
  }
  out += '"';
}

void appendJson(std::string& out, const data_t& value, std::size_t maxDepth) {
  Writer(out, maxDepth).write(value, maxDepth);
}

std::string toJson(const data_t& value, std::size_t maxDepth) {
  std::string out;
  appendJson(out, value, maxDepth);
  return out;
}

}  // namespace chainrunner
