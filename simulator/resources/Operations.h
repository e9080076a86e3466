#pragma once

#include "simulator/resources/DocumentResource.h"

namespace simulator {

/// "/operation/operations". A new operation is PENDING; its device moves it on by updates.
class Operations final : public DocumentResource {
 public:
  explicit Operations(Workplace& workplace);

 protected:
  // DocumentResource
  void examine(FieldCheck& check, boost::json::object& document, const boost::json::object* before) override;
};

}  // namespace simulator
