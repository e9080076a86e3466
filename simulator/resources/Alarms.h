#pragma once

#include "simulator/resources/DocumentResource.h"

namespace simulator {

/// "/alarm/alarms". An active alarm of the same source and type as an active one makes no second document: it is merged
/// into the first, whose `count` rises and whose `firstOccurrenceTime` stays.
class Alarms final : public DocumentResource {
 public:
  explicit Alarms(Workplace& workplace);

 protected:
  // DocumentResource
  void examine(FieldCheck& check, boost::json::object& document, const boost::json::object* before) override;
  std::string keep(boost::json::object document) override;
};

}  // namespace simulator
