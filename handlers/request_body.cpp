#include "handlers/request_body.h"

#include "connectivity/conversion.h"

namespace com::tallowmere::connectivity::plugins {

namespace {

bool isEmptyField(const data_t& value) {
  switch (value.type()) {
    case Tag::empty:
      return true;
    case Tag::string:
    case Tag::borrowedString:
      return value.get<std::string_view>().empty();
    case Tag::list:
      return value.get<list_t>().empty();
    case Tag::map:
      return value.get<map_t>().empty();
    case Tag::buffer:
      return value.get<buffer_t>().empty();
    default:
      return false;
  }
}

}  // namespace

const FieldNames hostOnlyFields =
    fieldNames({".kelvo_notificationType", "source.name", "source.value", "source.id", "source.self", "source.type"});

FieldNames fieldNames(std::initializer_list<const char*> names) {
  FieldNames fields;
  fields.reserve(names.size());
  for (const char* name : names) fields.emplace_back(name);
  return fields;
}

void removeEmptyFields(map_t& body, const FieldNames& fields, const Logger& logger) {
  for (const hashed_key& name : fields) {
    const auto field = body.find(name);
    if (field == body.end() || !isEmptyField(field->second)) continue;
    logger.debug("Removing \"%s\" field", name.get<const char*>());
    body.erase(field);
  }
}

void removeFields(map_t& body, const FieldNames& fields) {
  for (const hashed_key& name : fields) body.erase(name);
}

}  // namespace com::tallowmere::connectivity::plugins
