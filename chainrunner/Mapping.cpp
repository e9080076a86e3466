#include "chainrunner/Mapping.h"

#include <utility>

namespace chainrunner {

void Mapping::set(const std::string& fullName, EventRules rules) {
  auto& type = typesByFullName[fullName];
  type = std::make_unique<const TypeMapping>(fullName, std::move(rules));
  typesByName[fullName] = typesByName[fullName.substr(fullName.rfind('.') + 1)] = type.get();
}

const TypeMapping* Mapping::lookUp(std::string_view name) const {
  const auto found = typesByName.find(name);
  return found == typesByName.end() ? nullptr : found->second;
}

const std::string* Mapping::find(std::string_view name) const {
  const TypeMapping* const type = lookUp(name);
  return type ? &type->fullName() : nullptr;
}

const EventRules* Mapping::rulesOf(std::string_view name) const {
  const TypeMapping* const type = lookUp(name);
  return type ? &type->rules() : nullptr;
}

std::vector<std::string> Mapping::types() const {
  std::vector<std::string> names;
  for (const auto& [name, type] : typesByFullName) names.push_back(name);
  return names;
}

const TypeMapping& Mapping::of(std::string_view name) const {
  const TypeMapping* const type = lookUp(name);
  if (!type) throw MappingError("unknown event type \"" + std::string(name) + "\"");
  return *type;
}

Message Mapping::toMessage(std::string_view type, data_t payload, map_t metadata) const {
  return of(type).toMessage(std::move(payload), std::move(metadata));
}

}  // namespace chainrunner
