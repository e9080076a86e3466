#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "chainrunner/payload_fields.h"

namespace chainrunner {

/// Where a value goes in a message: a named place, or a whole part of the request.
struct Target {
  enum class Part {
    metadata,  ///< metadata[name]
    method,    ///< http.method
    path,      ///< http.path
    query,     ///< http.queryString[name], or all of it when the name is empty: then the value is a map
    header,    ///< http.headers, likewise
    cookie,    ///< http.cookies, likewise
    payload    ///< the payload itself
  };
  Part part;
  std::string name;

  /// Reads "metadata.reqId", "query.pageSize", "header.X-Name", "cookie.name", "query", "headers", "cookies", "method",
  /// "path" or "payload"; nothing for any other text.
  static std::optional<Target> parse(std::string_view text);

  bool operator==(const Target&) const = default;
};

/// What a payload field has to be, where it is there.
enum class FieldKind { boolean, integer, string, object, list };

/// Reads "boolean", "integer", "string", "object" or "list"; nothing for any other text. [any thread]
std::optional<FieldKind> parseFieldKind(std::string_view text);

/// How the events of one type become messages.
struct EventRules {
  using Constant = std::variant<bool, std::int64_t, double, std::string>;
  struct Check {
    FieldPath field;
    FieldKind kind;
  };
  struct Move {
    FieldPath field;
    Target target;
  };
  struct Setting {
    Target target;
    Constant value;
  };
  struct Requirement {
    Target target;
    std::string name;  ///< for the message
  };

  std::string method, path;
  std::string contentType;            ///< none when empty
  std::vector<FieldPath> floats;      ///< integers there become doubles
  std::vector<FieldPath> texts;       ///< then, integers and booleans there become their texts
  std::vector<Check> kinds;           ///< then, fields there have to be of a kind
  std::vector<Move> moves;            ///< payload fields that belong elsewhere; an absent field is skipped
  bool isClosed = false;              ///< whether an event is refused for a payload field that is not moved
  std::vector<Setting> settings;      ///< for what the event itself did not bring
  std::vector<Requirement> required;  ///< places of metadata, or "path", without which an event is refused
};

}  // namespace chainrunner
