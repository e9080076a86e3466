#include "codec/handler_table.h"

#include <gtest/gtest.h>

#include "tests/unit/codec/CodecParts.h"

namespace tests {
namespace {

TEST(HandlerTableTest, ServesItsEventTypesAndNoOther) {
  CodecParts codec;
  HandlerTable handlers;
  fillHandlerTable(handlers, {codec.constants, codec.config, codec.time, codec.metrics, codec.logger, codec.responder},
                   codec.sender);
  Texts types;
  for (const auto& [type, handler] : handlers) {
    types.push_back(type);
    EXPECT_NE(handler, nullptr) << type;
  }
  EXPECT_EQ(types, (Texts{"com.kelvo.marlovance.Alarm", "com.kelvo.marlovance.Event", "com.kelvo.marlovance.FindAlarm",
                          "com.kelvo.marlovance.FindEvent", "com.kelvo.marlovance.FindManagedObject",
                          "com.kelvo.marlovance.FindMeasurement", "com.kelvo.marlovance.FindOperation",
                          "com.kelvo.marlovance.FindTenantOptions", "com.kelvo.marlovance.GenericRequest",
                          "com.kelvo.marlovance.GetCurrentUser", "com.kelvo.marlovance.ManagedObject",
                          "com.kelvo.marlovance.Measurement", "com.kelvo.marlovance.MeasurementFragment",
                          "com.kelvo.marlovance.Operation", "com.kelvo.marlovance.RequestAllDevices",
                          "com.kelvo.marlovance.SendEmail", "com.kelvo.marlovance.SendSMS"}));
}

}  // namespace
}  // namespace tests
