#include "simulator/fields.h"

#include <algorithm>
#include <array>

namespace simulator {

namespace {

constexpr std::array operators{" = ", " IS NOT ", " > ", " >= ", " < ", " <= "};

const char* operatorOf(Comparison comparison) {
  return operators[static_cast<std::size_t>(comparison)];
}

/// The path as SQLite reads it: each name in quotes of its own.
std::string jsonPath(std::string_view path) {
  std::string out = "$.\"";
  for (const char letter : path) {
    if (letter == '.') {
      out += "\".\"";
    } else {
      out += letter;
    }
  }
  return out + '"';
}

/// The column that holds the texts of a field; nothing for one without.
std::string_view columnOf(std::string_view path, std::span<const Column> columns) {
  if (path == "_id") return "id";
  const auto column = std::ranges::find(columns, path, &Column::path);
  return column == columns.end() ? std::string_view() : column->name;
}

}  // namespace

Condition compareField(std::string_view path, std::span<const Column> columns, Comparison comparison, Parameter value) {
  const bool isText = std::holds_alternative<std::string>(value);
  const std::string column(columnOf(path, columns));
  if (isText && !column.empty()) return {column + operatorOf(comparison) + "?", {std::move(value)}};
  const Parameter field = jsonPath(path);
  if (comparison == Comparison::Equal) return {"document ->> ? = ?", {field, std::move(value)}};
  if (comparison == Comparison::NotEqual) return {"document ->> ? IS NOT ?", {field, std::move(value)}};
  const std::string kinds = isText ? "('text')" : "('integer', 'real')";
  return {"(json_type(document, ?) IN " + kinds + " AND document ->> ?" + operatorOf(comparison) + "?)",
          {field, field, std::move(value)}};
}

Condition isOneOf(std::string_view path, std::span<const Column> columns, std::vector<std::string> texts) {
  Condition condition{std::string(columnOf(path, columns)), {}};
  if (condition.sql.empty()) condition = {"document ->> ?", {jsonPath(path)}};
  condition.sql += " IN (?";
  for (std::size_t further = 1; further < texts.size(); ++further) condition.sql += ", ?";
  condition.sql += ')';
  for (std::string& text : texts) condition.parameters.push_back(std::move(text));
  return condition;
}

Condition compareBoolean(std::string_view path, bool isEqual, bool value) {
  return {std::string("json_type(document, ?)") + (isEqual ? " = ?" : " IS NOT ?"),
          {jsonPath(path), std::string(value ? "true" : "false")}};
}

Condition hasField(std::string_view path) {
  return {"json_type(document, ?) IS NOT NULL", {jsonPath(path)}};
}

Condition compareInstant(std::string_view path, Comparison comparison, std::int64_t milliseconds) {
  return {std::string("instant(document ->> ?)") + operatorOf(comparison) + "?", {jsonPath(path), milliseconds}};
}

}  // namespace simulator
