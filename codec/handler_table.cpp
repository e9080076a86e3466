// Which handler serves which event type, one row each.
#include "codec/handler_table.h"

#include "handlers/ResourceHandler.h"

namespace com::tallowmere::connectivity::plugins {

namespace {

using ManagedObjectHandler = ResourceHandler<managedObjectParser, getManagedObjectId>;
using FieldResourceHandler = ResourceHandler<genericParser, getIdFromField>;

ResourceTraits managedObjectTraits(const DataConstants& constants) {
  return {fieldNames({"name", "type", "q4v_Position", "q4v_SupportedMeasurements", "q4v_SupportedOperations"}),
          {},
          {},
          "",
          constants.typeManagedObject.copy()};
}

ResourceTraits alarmTraits(const DataConstants& constants) {
  return {fieldNames({"source", "type", "time", "text", "status", "severity"}),
          {},
          fieldNames({"type", "time"}),
          constants.source.copy(),
          constants.typeAlarm.copy()};
}

ResourceTraits eventTraits(const DataConstants& constants) {
  return {fieldNames({"source", "type", "time", "text"}),
          {},
          fieldNames({"source", "type", "time"}),
          constants.source.copy(),
          constants.typeEvent.copy()};
}

ResourceTraits operationTraits(const DataConstants& constants) {
  return {fieldNames({"deviceId", "status"}), fieldNames({"status"}), fieldNames({"deviceId", "delivery"}), "deviceId",
          constants.typeOperation.copy()};
}

}  // namespace

void fillHandlerTable(HandlerTable& handlers, const HandlerServices& services) {
  const DataConstants& constants = services.constants;
  const auto add = [&]<class HandlerClass>(const char* type, std::unique_ptr<HandlerClass> handler) {
    handlers.emplace(type, std::move(handler));
  };
  add("com.kelvo.marlovance.ManagedObject",
      std::make_unique<ManagedObjectHandler>(services, managedObjectTraits(constants)));
  add("com.kelvo.marlovance.Alarm", std::make_unique<FieldResourceHandler>(services, alarmTraits(constants)));
  add("com.kelvo.marlovance.Event", std::make_unique<FieldResourceHandler>(services, eventTraits(constants)));
  add("com.kelvo.marlovance.Operation", std::make_unique<FieldResourceHandler>(services, operationTraits(constants)));
}

}  // namespace com::tallowmere::connectivity::plugins
