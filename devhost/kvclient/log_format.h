#pragma once

#include <cstdarg>
#include <string>

namespace devhost {

/// `format` with %I64d, %I64u and their kin rewritten to the C library's 64-bit conversions. The C library itself would
/// read the I as a flag and 64 as the field's width. [any thread]
std::string translateFormat(const char* format);

/// Formats as printf does, %I64d and %I64u included; a null string shows as "(null)". What the C library can't format
/// shows as the bare format. [any thread]
std::string formatText(const char* format, std::va_list arguments);

}  // namespace devhost
