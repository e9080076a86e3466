#pragma once

#include "handlers/ResourceHandler.h"

namespace com::tallowmere::connectivity::plugins {

/// Creates a measurement of one value from an event that names fragment and series in fields. Each is a request of its
/// own.
class MeasurementFragmentHandler final : public ResourceHandler<measurementFragmentParser, getIdFromField> {
 public:
  explicit MeasurementFragmentHandler(const HandlerServices& services);

  // Handler

  /// Throws also `DropMessage` "update is not allowed" and "valueFragment or valueSeries is missing".
  void handleRequest(Message& event, BatchSender& batch) override;
  data_t getConcurrencyKey(const Message& request) const override;

  /// Sets the tenant among the "params" of the parsed fragment, which are made if there are none.
  void addTenantId(map_t& parsed) const override;

 private:
  void checkNames(const Message& event) const;
  void buildFragmentBody(map_t& payload) const;

  FieldNames unitFields;
};

}  // namespace com::tallowmere::connectivity::plugins
