#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace simulator {

/// A text, a whole number or another number, to be bound to a statement.
using Parameter = std::variant<std::string, std::int64_t, double>;

/// A condition on documents: SQL with a question mark for each parameter, in their order. Without text, every document
/// meets it.
struct Condition {
  std::string sql;
  std::vector<Parameter> parameters;

  /// Adds a further condition, which must be met too.
  void require(Condition&& further) {
    if (further.sql.empty()) return;
    sql += sql.empty() ? further.sql : " AND " + further.sql;
    for (Parameter& parameter : further.parameters) parameters.push_back(std::move(parameter));
  }
};

}  // namespace simulator
