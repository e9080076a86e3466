#pragma once

#include "simulator/resources/DocumentResource.h"

namespace simulator {

/// "/event/events".
class Events final : public DocumentResource {
 public:
  explicit Events(Workplace& workplace);

 protected:
  // DocumentResource
  void examine(FieldCheck& check, boost::json::object& document, const boost::json::object* before) override;
};

}  // namespace simulator
