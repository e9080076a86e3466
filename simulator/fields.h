#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/Condition.h"

namespace simulator {

/// A field of documents that a table has a column for, which an index may know.
struct Column {
  std::string_view path;  ///< "source.id"
  std::string_view name;  ///< "source"
};

/// What is compared with a field.
enum class Comparison { Equal, NotEqual, Greater, GreaterOrEqual, Less, LessOrEqual };

/// A field beside a text or number. Values of different kinds are not equal, and none of them is greater or less. The
/// path "_id" is the document's id, and a path leads through objects at its dots. [any thread]
Condition compareField(std::string_view path, std::span<const Column> columns, Comparison comparison, Parameter value);

/// A field that is one of `texts`, of which there must be one at least. [any thread]
Condition isOneOf(std::string_view path, std::span<const Column> columns, std::vector<std::string> texts);

/// A field that is true, or false, or anything but it. [any thread]
Condition compareBoolean(std::string_view path, bool isEqual, bool value);

/// A field that is there, whatever it holds. [any thread]
Condition hasField(std::string_view path);

/// A field that holds a timestamp, beside milliseconds since the epoch. [any thread]
Condition compareInstant(std::string_view path, Comparison comparison, std::int64_t milliseconds);

}  // namespace simulator
