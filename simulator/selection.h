// Which documents of a collection a request asks for, by its query parameters.
#pragma once

#include <span>
#include <string_view>

#include "simulator/Condition.h"
#include "simulator/fields.h"
#include "simulator/http.h"

namespace simulator {

/// A query parameter that selects documents, and how.
struct Selector {
  enum class Test {
    Text,        ///< the field is the parameter's text
    AnyText,     ///< the field is one of the parameter's texts, with commas between them
    Has,         ///< the parameter names a field that the document has
    HasWithin,   ///< the parameter names a field of an object in the document: the one that the parameter `path` names,
                 ///< or any
    From,        ///< the field's timestamp is the parameter's or later
    To,          ///< the field's timestamp is before the parameter's
    IsResolved,  ///< true: the field is "CLEARED"; false: it isn't
    Filter       ///< the parameter is a filter
  };

  std::string_view name;
  Test test;
  std::string_view path;  ///< of the field; nothing for `Has` and `Filter`
};

/// The condition that all of the request's selecting parameters set together; other parameters are passed over. Throws
/// `RequestError` 422 for a value that makes no sense: `the query parameter "NAME" must be ...`, or as `readFilter`;
/// and for more than 200 conditions, `the query parameters set more than 200 conditions, of which each value between
/// commas is one`. [any thread]
Condition readSelection(const Request& request, std::span<const Selector> selectors, std::span<const Column> columns);

}  // namespace simulator
