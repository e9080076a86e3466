#include "handlers/concurrency_keys.h"

#include "connectivity/conversion.h"

namespace com::tallowmere::connectivity::plugins {

namespace {

constexpr std::size_t managedObjectPrefixLength = 26;

}  // namespace

data_t getIdFromField(const Message& request, const data_t& keyField, const DataConstants& constants) {
  const map_t& payload = request.getPayload().get<map_t>();
  const auto field = payload.find(keyField);
  if (field == payload.end()) return {};
  if (field->second.is(Tag::map)) return field->second.get<map_t>().at(constants.id).copy();
  return field->second.copy();
}

data_t getManagedObjectId(const Message& request, const data_t&, const DataConstants& constants) {
  const map_t& payload = request.getPayload().get<map_t>();
  if (const auto id = payload.find(constants.id); id != payload.end()) return id->second.copy();
  const map_t& http = request.getMetadataMap().at(constants.http).get<map_t>();
  const std::string_view path = http.at(constants.path).get<std::string_view>();
  if (path.size() < managedObjectPrefixLength) return {};
  return path.data() + managedObjectPrefixLength;
}

data_t getMeasurementKey(const Message& request, const DataConstants& constants) {
  const data_t& contentType = request.getMetadataMap().at(constants.contentType);
  if (contentType == constants.mediaTypeMeasurementCollection) return "";
  const map_t& payload = request.getPayload().get<map_t>();
  const auto source = payload.find(constants.source);
  if (source == payload.end()) return {};
  return source->second.get<map_t>().at(constants.id).copy();
}

}  // namespace com::tallowmere::connectivity::plugins
