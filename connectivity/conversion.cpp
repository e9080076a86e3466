#include "connectivity/conversion.h"

#include <unicode/ucnv.h>

#include <cctype>
#include <cstdio>
#include <stdexcept>

namespace com::tallowmere::connectivity10_15_4 {

namespace {

constexpr const char* sourceCharset = "UTF-8";
constexpr const char* targetCharset = "iso8859-1";

bool holdsValue(const data_t& value) {
  return !value.empty() && value.type() <= Tag::borrowedString;
}

[[noreturn]] void refuse(const data_t& value) {
  if (!holdsValue(value)) throw std::runtime_error("Trying to parse from empty");
  throw std::runtime_error(std::string("Trying to parse from incorrect type (actually ") + value.type_name() + ")");
}

bool parseBoolean(const char* text) {
  const std::string word = toLowerCase(text);
  if (word == "true") return true;
  if (word == "false") return false;
  throw std::runtime_error("Invalid boolean: " + word);
}

}  // namespace

namespace access {

void fail(const data_t& value, const char* wanted, const char* typeName) {
  if (!holdsValue(value)) throw std::runtime_error("Get from empty");
  // The requested type stands twice; the line does not name the actual one.
  if (typeName) std::fprintf(stderr, "GetVisitor<%s>.operator()(%s)\n", typeName, typeName);
  throw std::runtime_error(std::string("Incorrect type in get (you asked for ") + wanted + " but it's actually " +
                           value.type_name() + ")");
}

}  // namespace access

template <>
bool data_t::convert_to<bool>() const {
  if (is(Tag::boolean)) return get<bool>();
  if (isString()) return parseBoolean(get<const char*>());
  refuse(*this);
}

template <>
std::int64_t data_t::convert_to<std::int64_t>() const {
  if (is(Tag::integer)) return get<std::int64_t>();
  if (isString()) return std::atoll(get<const char*>());
  refuse(*this);
}

template <>
double data_t::convert_to<double>() const {
  if (is(Tag::number)) return get<double>();
  if (isString()) return std::atof(get<const char*>());
  refuse(*this);
}

template <>
std::string data_t::convert_to<std::string>() const {
  if (isString()) return get<std::string>();
  if (is(Tag::boolean)) return get<bool>() ? "true" : "false";
  if (is(Tag::integer)) return std::to_string(get<std::int64_t>());
  if (is(Tag::number)) {
    char text[50];
    std::snprintf(text, sizeof text, "%g", get<double>());
    return text;
  }
  refuse(*this);
}

std::string toLowerCase(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

std::unique_ptr<char, FreeBlock> toLatin1(const std::string& text) {
  const std::size_t room = text.size() + 2;
  std::unique_ptr<char, FreeBlock> block(static_cast<char*>(kv_malloc(room)));
  if (!block) throw std::runtime_error("Failed to allocate memory");
  UErrorCode status = U_ZERO_ERROR;
  ucnv_convert(targetCharset, sourceCharset, block.get(), static_cast<int32_t>(room), text.c_str(), -1, &status);
  if (U_FAILURE(status))
    throw std::runtime_error(std::string("Could not convert argument from ") + sourceCharset + " to " + targetCharset);
  return block;
}

}  // namespace com::tallowmere::connectivity10_15_4
