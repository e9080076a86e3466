// Typed access to values: strict `get`, lenient `convert_to`, and conversion of text for outside systems.
#pragma once

#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <typeinfo>

#include "connectivity/data_t.h"

namespace com::tallowmere::connectivity10_15_4 {

namespace access {

/// Throws the failure of a `get`; a mismatch first writes a line with `typeName` to standard error unless it is null.
[[noreturn]] void fail(const data_t& value, const char* wanted, const char* typeName);

/// Which tag a type reads, and how messages call it.
template <class T>
struct Reading;
template <>
struct Reading<bool> {
  static constexpr Tag tag = Tag::boolean;
  static constexpr const char* name = "boolean";
};
template <>
struct Reading<std::int64_t> {
  static constexpr Tag tag = Tag::integer;
  static constexpr const char* name = "integer";
};
template <>
struct Reading<double> {
  static constexpr Tag tag = Tag::number;
  static constexpr const char* name = "double";
};
template <>
struct Reading<list_t> {
  static constexpr Tag tag = Tag::list;
  static constexpr const char* name = "list";
};
template <>
struct Reading<map_t> {
  static constexpr Tag tag = Tag::map;
  static constexpr const char* name = "map";
};
template <>
struct Reading<buffer_t> {
  static constexpr Tag tag = Tag::buffer;
  static constexpr const char* name = "buffer";
};

}  // namespace access

template <class T>
decltype(auto) data_t::get() const {
  if constexpr (std::is_same_v<T, std::string>) {
    if (!isString()) [[unlikely]]
      access::fail(*this, "string", nullptr);
    return std::string(reinterpret_cast<const char*>(payload));
  } else if constexpr (std::is_same_v<T, std::string_view>) {
    if (!isString()) [[unlikely]]
      access::fail(*this, "string", nullptr);
    return std::string_view(reinterpret_cast<const char*>(payload));
  } else if constexpr (std::is_same_v<T, const char*>) {
    if (!isString()) [[unlikely]]
      access::fail(*this, "string", typeid(T).name());
    return reinterpret_cast<const char* const&>(payload);
  } else {
    if (!is(access::Reading<T>::tag)) [[unlikely]]
      access::fail(*this, access::Reading<T>::name, typeid(T).name());
    // A boolean's byte may hold more than 0 and 1, which a bool may not.
    if constexpr (std::is_same_v<T, bool>)
      return (payload & 0xff) != 0;
    else
      return reinterpret_cast<const T&>(payload);
  }
}

template <class T>
decltype(auto) data_t::get() {
  using Result = decltype(std::as_const(*this).template get<T>());
  if constexpr (std::is_same_v<Result, const T&> && !std::is_same_v<T, const char*>)
    return const_cast<T&>(std::as_const(*this).template get<T>());
  else
    return std::as_const(*this).template get<T>();
}

template <>
bool data_t::convert_to<bool>() const;
template <>
std::int64_t data_t::convert_to<std::int64_t>() const;
template <>
double data_t::convert_to<double>() const;
template <>
std::string data_t::convert_to<std::string>() const;

/// The text with each byte through the C library's `tolower`. [any thread]
std::string toLowerCase(std::string text);

/// Frees what the C library or the host allocated for the caller.
struct FreeBlock {
  void operator()(char* block) const noexcept { std::free(block); }
};

/// The UTF-8 text in ISO-8859-1, NUL-terminated, in a block from kv_malloc. Throws std::runtime_error "Failed to
/// allocate memory" or "Could not convert argument from UTF-8 to iso8859-1". [any thread]
std::unique_ptr<char, FreeBlock> toLatin1(const std::string& text);

}  // namespace com::tallowmere::connectivity10_15_4
