#pragma once

#include "handlers/ResourceHandler.h"

namespace com::tallowmere::connectivity::plugins {

/// Creates measurements. Consecutive ones that need no answer are merged into one collection request, all or nothing;
/// one that requires a response goes out alone, and it alone may be an update.
class MeasurementHandler final : public ResourceHandler<measurementParser, getIdFromField> {
 public:
  explicit MeasurementHandler(const HandlerServices& services);

  // Handler

  /// Throws also `DropMessage` "update is not allowed".
  void handleRequest(Message& event, BatchSender& batch) override;
  bool isBatchable(const Message& request) const override { return !requiresResponse(request); }
  data_t getConcurrencyKey(const Message& request) const override;
  Message sendBatch(BatchSender& batch) override;

 private:
  void flattenMeasurements(map_t& payload) const;

  FieldNames unitFields;
};

}  // namespace com::tallowmere::connectivity::plugins
