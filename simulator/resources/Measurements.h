#pragma once

#include "simulator/resources/DocumentResource.h"

namespace simulator {

/// "/measurement/measurements". A POST brings one measurement, or a collection of them that is stored whole or not at
/// all; its answer holds the ids alone, in the order of the elements.
class Measurements final : public DocumentResource {
 public:
  explicit Measurements(Workplace& workplace);

  // Resource
  Answer answer(const Request& request, std::span<const std::string> below) override;

 protected:
  // DocumentResource
  void examine(FieldCheck& check, boost::json::object& document, const boost::json::object* before) override;

 private:
  Answer createMany(const boost::json::value& elements);
  std::string createElement(const boost::json::value& element, std::size_t index);
};

}  // namespace simulator
