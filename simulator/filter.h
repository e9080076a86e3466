// Filters, the platform's language for questions:
//
//   filter     = [ "$filter=" ] either [ "$orderby=_id asc" ]
//   either     = both { "or" both }
//   both       = one { "and" one }
//   one        = "not" one | "(" either ")" | "has" "(" field ")" | field operator value
//   operator   = "eq" | "ne" | "gt" | "ge" | "lt" | "le"
//   value      = text in single quotes, where '' is a quote | number | "true" | "false"
//   field      = letters, digits, "_", "-", and dots that lead into objects; "_id" is the document's id
#pragma once

#include <span>
#include <string>

#include "simulator/Condition.h"
#include "simulator/fields.h"

namespace simulator {

/// The condition that a filter sets. `parameter` is the name of the query parameter that it came in. A field among
/// `columns` is compared through its column. Throws `RequestError` 422 `the filter in "PARAMETER" can't be read at
/// column N: WHAT`, also for one with more than 500 comparisons, or more than 24 levels, where each "not" and each
/// parenthesis is one. [any thread]
Condition readFilter(const std::string& parameter, const std::string& text, std::span<const Column> columns);

}  // namespace simulator
