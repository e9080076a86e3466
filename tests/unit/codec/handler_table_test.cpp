#include "codec/handler_table.h"

#include <gtest/gtest.h>

#include "tests/unit/codec/CodecParts.h"

namespace tests {
namespace {

TEST(HandlerTableTest, ServesItsEventTypesAndNoOther) {
  CodecParts codec;
  HandlerTable handlers;
  fillHandlerTable(handlers, {codec.constants, codec.config, codec.time, codec.metrics, codec.logger, codec.responder});
  Texts types;
  for (const auto& [type, handler] : handlers) {
    types.push_back(type);
    EXPECT_NE(handler, nullptr) << type;
  }
  EXPECT_EQ(types, (Texts{"com.kelvo.marlovance.Alarm", "com.kelvo.marlovance.Event",
                          "com.kelvo.marlovance.ManagedObject", "com.kelvo.marlovance.Operation"}));
}

}  // namespace
}  // namespace tests
