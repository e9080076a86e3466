#include "simulator/selection.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "simulator/errors.h"
#include "simulator/filter.h"
#include "simulator/timestamp.h"

namespace simulator {

namespace {

/// Together with a filter's comparisons this stays below SQLite's thousand nested expressions.
constexpr std::ptrdiff_t mostConditions = 200;

[[noreturn]] void refuseValue(const Selector& selector, const std::string& wanted, const std::string& value) {
  throw RequestError(422,
                     "the query parameter " + quoted(selector.name) + " must be " + wanted + ", not " + quoted(value));
}

std::vector<std::string> split(std::string_view texts) {
  std::vector<std::string> parts;
  for (std::size_t begin = 0; begin <= texts.size();) {
    const std::size_t end = std::min(texts.find(',', begin), texts.size());
    parts.emplace_back(texts.substr(begin, end - begin));
    begin = end + 1;
  }
  return parts;
}

void checkName(const Selector& selector, const std::string& value) {
  if (value.empty() || value.find('"') != std::string::npos) refuseValue(selector, "the name of a field", value);
}

/// A name is one name, dots and all.
Condition hasNamed(const std::string& name) {
  return {"json_type(document, ?) IS NOT NULL", {"$.\"" + name + '"'}};
}

const std::string* valueOf(const Request& request, std::string_view parameter) {
  for (const auto& [name, value] : request.queries) {
    if (name == parameter) return &value;
  }
  return nullptr;
}

Condition hasWithin(const std::string* object, const std::string& name) {
  if (object != nullptr) return {"json_type(document, ?) IS NOT NULL", {"$.\"" + *object + "\".\"" + name + '"'}};
  return {"EXISTS (SELECT 1 FROM json_each(document) WHERE type = 'object' AND json_type(value, ?) IS NOT NULL)",
          {"$.\"" + name + '"'}};
}

Condition isInstant(const Selector& selector, Comparison comparison, const std::string& value) {
  const std::optional<Moment> moment = parseTimestamp(value);
  if (!moment) refuseValue(selector, "a timestamp such as 2024-05-01T12:00:00Z", value);
  return compareInstant(selector.path, comparison, moment->time_since_epoch().count());
}

Condition isResolved(const Selector& selector, std::span<const Column> columns, const std::string& value) {
  if (value != "true" && value != "false") refuseValue(selector, "true or false", value);
  return compareField(selector.path, columns, value == "true" ? Comparison::Equal : Comparison::NotEqual,
                      std::string("CLEARED"));
}

Condition conditionOf(const Request& request, const Selector& selector, std::span<const Column> columns,
                      const std::string& value) {
  switch (selector.test) {
    case Selector::Test::Text:
      return compareField(selector.path, columns, Comparison::Equal, value);
    case Selector::Test::AnyText:
      return isOneOf(selector.path, columns, split(value));
    case Selector::Test::Has:
      checkName(selector, value);
      return hasNamed(value);
    case Selector::Test::HasWithin:
      checkName(selector, value);
      return hasWithin(valueOf(request, selector.path), value);
    case Selector::Test::From:
      return isInstant(selector, Comparison::GreaterOrEqual, value);
    case Selector::Test::To:
      return isInstant(selector, Comparison::Less, value);
    case Selector::Test::IsResolved:
      return isResolved(selector, columns, value);
    case Selector::Test::Filter:
      break;
  }
  return readFilter(std::string(selector.name), value, columns);
}

}  // namespace

Condition readSelection(const Request& request, std::span<const Selector> selectors, std::span<const Column> columns) {
  Condition condition;
  std::ptrdiff_t conditions = 0;
  for (const auto& [name, value] : request.queries) {
    const auto selector = std::ranges::find(selectors, name, &Selector::name);
    if (selector == selectors.end()) continue;
    conditions += selector->test == Selector::Test::AnyText ? 1 + std::ranges::count(value, ',') : 1;
    if (conditions > mostConditions) {
      throw RequestError(422, "the query parameters set more than " + std::to_string(mostConditions) +
                                  " conditions, of which each value between commas is one");
    }
    condition.require(conditionOf(request, *selector, columns, value));
  }
  return condition;
}

}  // namespace simulator
