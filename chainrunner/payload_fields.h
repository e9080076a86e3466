// Fields of a payload, named by their path.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "chainrunner/values.h"

namespace chainrunner {

/// Names from the payload down; "*" is every entry of a map or list.
using FieldPath = std::vector<std::string>;

/// Splits "measurements/*/*/value". [any thread]
FieldPath parseField(std::string_view text);

/// The path as `parseField` reads it. [any thread]
std::string fieldText(const FieldPath& path);

/// Calls `visit` with each value that the path leads to. [any thread]
void visitField(data_t& payload, const FieldPath& path, const std::function<void(data_t&)>& visit);

/// Takes the field out of the payload; nothing when it isn't there. [any thread]
std::optional<data_t> takeField(data_t& payload, const FieldPath& path);

}  // namespace chainrunner
