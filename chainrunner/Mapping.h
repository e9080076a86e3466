#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "chainrunner/EventRules.h"
#include "chainrunner/TypeMapping.h"
#include "chainrunner/values.h"

namespace chainrunner {

/// The stage in front of the plug-in: turns an event as an application writes it into a message that the plug-in takes.
/// All it knows of the event types comes from the chain file. Holds blocks of the host. Read-only once it is filled.
/// [any thread]
class Mapping {
 public:
  /// Sets the rules of a type, known by its full name and by what follows the last dot; replaces earlier ones.
  void set(const std::string& fullName, EventRules rules);

  /// The full name of a type given by either name, or null.
  const std::string* find(std::string_view name) const;

  /// The rules of a type given by either name, or null.
  const EventRules* rulesOf(std::string_view name) const;

  /// The full names of all types, in byte order.
  std::vector<std::string> types() const;

  /// The mapping of a type given by either name. Throws MappingError for an unknown one.
  const TypeMapping& of(std::string_view name) const;

  /// The message of an event: "qel.type" and "http", the contents of `metadata` on top of what the payload's fields
  /// give, and the payload. Throws MappingError for an unknown type and when `metadata` or a field doesn't fit.
  Message toMessage(std::string_view type, data_t payload, map_t metadata) const;

 private:
  struct Hash : std::hash<std::string_view> {
    using is_transparent = void;
  };

  const TypeMapping* lookUp(std::string_view name) const;

  std::map<std::string, std::unique_ptr<const TypeMapping>> typesByFullName;
  std::unordered_map<std::string, const TypeMapping*, Hash, std::equal_to<>> typesByName;
};

}  // namespace chainrunner
