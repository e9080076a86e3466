// Values of this library as nlohmann::json, in which all contents are compared.
#pragma once

#include <nlohmann/json.hpp>
#include <stdexcept>

#include "connectivity/conversion.h"
#include "connectivity/data_t.h"

namespace benchmarks {

namespace values = com::tallowmere::connectivity10_15_4;

nlohmann::json contentOf(const values::map_t& map);

inline nlohmann::json contentOf(const values::data_t& value) {
  switch (value.type()) {
    case values::Tag::empty:
      return nullptr;
    case values::Tag::boolean:
      return value.get<bool>();
    case values::Tag::number:
      return value.get<double>();
    case values::Tag::integer:
      return value.get<std::int64_t>();
    case values::Tag::string:
    case values::Tag::borrowedString:
      return value.get<std::string>();
    case values::Tag::list: {
      nlohmann::json elements = nlohmann::json::array();
      for (const values::data_t& element : value.get<values::list_t>()) elements.push_back(contentOf(element));
      return elements;
    }
    case values::Tag::map:
      return contentOf(value.get<values::map_t>());
    default:
      throw std::runtime_error(std::string("A ") + value.type_name() + " value takes no part in these workloads");
  }
}

inline nlohmann::json contentOf(const values::map_t& map) {
  nlohmann::json members = nlohmann::json::object();
  for (const auto& [key, value] : map) members[key.get<std::string>()] = contentOf(value);
  return members;
}

}  // namespace benchmarks
