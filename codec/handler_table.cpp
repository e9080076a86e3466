// Which handler serves which event type, one row each.
#include "codec/handler_table.h"

#include <type_traits>

#include "handlers/CurrentUserHandler.h"
#include "handlers/FindResourceHandler.h"
#include "handlers/FindTenantOptionsHandler.h"
#include "handlers/GenericRequestHandler.h"
#include "handlers/MeasurementFragmentHandler.h"
#include "handlers/MeasurementHandler.h"
#include "handlers/RequestAllDevicesHandler.h"
#include "handlers/ResourceHandler.h"
#include "handlers/SendEmailHandler.h"
#include "handlers/SendSMSHandler.h"

namespace com::tallowmere::connectivity::plugins {

namespace {

using ManagedObjectHandler = ResourceHandler<managedObjectParser, getManagedObjectId>;
using FieldResourceHandler = ResourceHandler<genericParser, getIdFromField>;

ResourceTraits managedObjectTraits(const DataConstants& constants) {
  return {fieldNames({"name", "type", "q4v_Position", "q4v_SupportedMeasurements", "q4v_SupportedOperations"}),
          {},
          {},
          "",
          constants.typeManagedObject.ownedCopy()};
}

ResourceTraits alarmTraits(const DataConstants& constants) {
  return {fieldNames({"source", "type", "time", "text", "status", "severity"}),
          {},
          fieldNames({"type", "time"}),
          constants.source.ownedCopy(),
          constants.typeAlarm.ownedCopy()};
}

ResourceTraits eventTraits(const DataConstants& constants) {
  return {fieldNames({"source", "type", "time", "text"}),
          {},
          fieldNames({"source", "type", "time"}),
          constants.source.ownedCopy(),
          constants.typeEvent.ownedCopy()};
}

ResourceTraits operationTraits(const DataConstants& constants) {
  return {fieldNames({"deviceId", "status"}), fieldNames({"status"}), fieldNames({"deviceId", "delivery"}), "deviceId",
          constants.typeOperation.ownedCopy()};
}

}  // namespace

void fillHandlerTable(HandlerTable& handlers, const HandlerServices& services, RequestSender& sender) {
  const DataConstants& names = services.constants;
  const auto add = [&]<class HandlerClass>(const char* type, std::unique_ptr<HandlerClass> handler) {
    handlers.emplace(type, std::move(handler));
  };
  const auto addFind = [&]<class HandlerClass>(std::type_identity<HandlerClass>, const char* type,
                                               const FindTraits& traits) {
    add(type, std::make_unique<HandlerClass>(services, sender, traits));
  };
  constexpr std::type_identity<FindResourceHandler<managedObjectParser>> managedObjects;
  constexpr std::type_identity<FindResourceHandler<measurementParser>> measurements;
  constexpr std::type_identity<FindResourceHandler<genericParser>> anything;

  add("com.kelvo.marlovance.ManagedObject",
      std::make_unique<ManagedObjectHandler>(services, managedObjectTraits(names)));
  add("com.kelvo.marlovance.Measurement", std::make_unique<MeasurementHandler>(services));
  add("com.kelvo.marlovance.MeasurementFragment", std::make_unique<MeasurementFragmentHandler>(services));
  add("com.kelvo.marlovance.Alarm", std::make_unique<FieldResourceHandler>(services, alarmTraits(names)));
  add("com.kelvo.marlovance.Event", std::make_unique<FieldResourceHandler>(services, eventTraits(names)));
  add("com.kelvo.marlovance.Operation", std::make_unique<FieldResourceHandler>(services, operationTraits(names)));
  add("com.kelvo.marlovance.SendSMS", std::make_unique<SendSMSHandler>(services));
  add("com.kelvo.marlovance.SendEmail", std::make_unique<SendEmailHandler>(services));
  addFind(managedObjects, "com.kelvo.marlovance.FindManagedObject",
          {names.typeFindManagedObjectResponse, names.typeFindManagedObjectResponseAck, names.channelFindManagedObject,
           names.managedObject});
  addFind(measurements, "com.kelvo.marlovance.FindMeasurement",
          {names.typeFindMeasurementResponse, names.typeFindMeasurementResponseAck, names.channelFindMeasurement,
           names.measurement});
  addFind(anything, "com.kelvo.marlovance.FindAlarm",
          {names.typeFindAlarmResponse, names.typeFindAlarmResponseAck, names.channelFindAlarm, names.alarm});
  addFind(anything, "com.kelvo.marlovance.FindEvent",
          {names.typeFindEventResponse, names.typeFindEventResponseAck, names.channelFindEvent, names.evt});
  addFind(anything, "com.kelvo.marlovance.FindOperation",
          {names.typeFindOperationResponse, names.typeFindOperationResponseAck, names.channelFindOperation,
           names.operation});
  add("com.kelvo.marlovance.GetCurrentUser", std::make_unique<CurrentUserHandler>(services));
  add("com.kelvo.marlovance.FindTenantOptions", std::make_unique<FindTenantOptionsHandler>(services, sender));
  add("com.kelvo.marlovance.RequestAllDevices", std::make_unique<RequestAllDevicesHandler>(services, sender));
  addFind(std::type_identity<GenericRequestHandler>(), "com.kelvo.marlovance.GenericRequest",
          {names.typeGenericResponse, names.typeGenericResponseComplete, names.channelGeneric,
           services.config.genericResponseBodyMap});
}

}  // namespace com::tallowmere::connectivity::plugins
