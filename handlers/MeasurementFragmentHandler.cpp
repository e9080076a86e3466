#include "handlers/MeasurementFragmentHandler.h"

#include "codec/BatchSender.h"
#include "codec/RequestMetrics.h"
#include "codec/exceptions.h"
#include "connectivity/conversion.h"
#include "parsers/Time.h"

namespace com::tallowmere::connectivity::plugins {

namespace {

void moveEntry(map_t& from, const hashed_key& key, map_t& to) {
  if (from.contains(key)) to.set(key, from.take(key));
}

}  // namespace

MeasurementFragmentHandler::MeasurementFragmentHandler(const HandlerServices& services)
    : ResourceHandler(services,
                      {fieldNames({"source", ""}), {}, {}, "", services.constants.typeMeasurementFragment.ownedCopy()}),
      unitFields(fieldNames({"unit"})) {}

void MeasurementFragmentHandler::handleRequest(Message& event, BatchSender& batch) {
  checkPayloadIsMap(event);
  checkHttpMetadata(event);
  cleanBody(event);
  metrics.startRequest(event);
  time.convertMessageTimes(event);
  chooseUpdateMethod(event);
  if (!requiresResponse(event)) checkIsCreate(event);
  checkNames(event);
  buildFragmentBody(event.getPayload().get<map_t>());
  addApplicationKey(event);
  addAuthorization(event);
  batch.addMessage(event, *this);
}

void MeasurementFragmentHandler::checkNames(const Message& event) const {
  const map_t& payload = event.getPayload().get<map_t>();
  for (const data_t* name : {&constants.valueFragment, &constants.valueSeries}) {
    const auto found = payload.find(*name);
    if (found == payload.end() || found->second.empty())
      throw DropMessage("valueFragment or valueSeries is missing", event);
  }
}

// Fields of the event win over like-named parameters, and over a fragment of their name.
void MeasurementFragmentHandler::buildFragmentBody(map_t& payload) const {
  removeEmptyFields(payload, unitFields, logger);
  data_t fragmentName = payload.take(constants.valueFragment);
  map_t series;
  moveEntry(payload, constants.unit, series);
  moveEntry(payload, constants.value, series);
  if (const auto params = payload.find(constants.params); params != payload.end()) {
    for (auto& [name, value] : params->second.get<map_t>()) series.insert(name.copy(), std::move(value));
    payload.erase(params);
  }
  data_t seriesName = payload.take(constants.valueSeries);
  map_t fragment;
  fragment.insert(std::move(seriesName), std::move(series));
  payload.insert(std::move(fragmentName), std::move(fragment));
}

data_t MeasurementFragmentHandler::getConcurrencyKey(const Message& request) const {
  return getMeasurementKey(request, constants);
}

void MeasurementFragmentHandler::addTenantId(map_t& parsed) const {
  if (config.tenantId.empty()) return;
  if (!parsed.contains(constants.params)) parsed.set(constants.params, map_t());
  parsed.at(constants.params).get<map_t>().set(constants.tenantId, config.tenantId);
}

}  // namespace com::tallowmere::connectivity::plugins
