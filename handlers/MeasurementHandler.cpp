#include "handlers/MeasurementHandler.h"

#include "codec/BatchSender.h"
#include "codec/RequestMetrics.h"
#include "codec/exceptions.h"
#include "codec/frame_keys.h"
#include "connectivity/conversion.h"
#include "parsers/Time.h"

namespace com::tallowmere::connectivity::plugins {

MeasurementHandler::MeasurementHandler(const HandlerServices& services)
    : ResourceHandler(services,
                      {fieldNames({"source", ""}), {}, {}, "", services.constants.typeMeasurement.ownedCopy()}),
      unitFields(fieldNames({"unit"})) {}

// A message that joins a batch is no request yet: it is neither counted nor given headers.
void MeasurementHandler::handleRequest(Message& event, BatchSender& batch) {
  checkPayloadIsMap(event);
  checkHttpMetadata(event);
  cleanBody(event);
  time.convertMessageTimes(event);
  chooseUpdateMethod(event);
  if (requiresResponse(event)) {
    metrics.startRequest(event);
    addApplicationKey(event);
    addAuthorization(event);
  } else {
    checkIsCreate(event);
  }
  flattenMeasurements(event.getPayload().get<map_t>());
  batch.addMessage(event, *this);
}

// The platform wants each fragment at the top level, where a field of the event wins.
void MeasurementHandler::flattenMeasurements(map_t& payload) const {
  const auto found = payload.find(constants.measurements);
  if (found == payload.end()) return;
  map_t fragments = std::move(found->second.get<map_t>());
  payload.erase(found);
  for (auto& [name, fragment] : fragments) {
    if (fragment.is(Tag::map))
      for (auto& [seriesName, series] : fragment.get<map_t>())
        if (series.is(Tag::map)) removeEmptyFields(series.get<map_t>(), unitFields, logger);
    payload.insert(name.copy(), std::move(fragment));
  }
}

Message MeasurementHandler::sendBatch(BatchSender& batch) {
  list_t measurements;
  for (Message& pending : batch.getPending()) measurements.push_back(std::move(pending.getPayload().get<map_t>()));
  map_t body;
  body.insert(constants.measurements, std::move(measurements));
  map_t http;
  http.insert(constants.path, constants.pathMeasurements.ownedCopy());
  http.insert(constants.method, constants.methodPost.ownedCopy());

  Message out(std::move(body));
  out.putMetadataValue(constants.http, std::move(http));
  out.putMetadataValue(constants.contentType, constants.mediaTypeMeasurementCollection.ownedCopy());
  out.putMetadataValue(frameKeys.type, constants.typeMeasurement.ownedCopy());
  metrics.startRequest(out);
  addApplicationKey(out);
  addAuthorization(out);
  return out;
}

data_t MeasurementHandler::getConcurrencyKey(const Message& request) const {
  return getMeasurementKey(request, constants);
}

}  // namespace com::tallowmere::connectivity::plugins
