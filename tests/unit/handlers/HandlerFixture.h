#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "codec/handler_table.h"
#include "handlers/Handler.h"
#include "tests/support/Environment.h"
#include "tests/unit/codec/CodecParts.h"
#include "tests/unit/connectivity/cases.h"

namespace tests {

/// A test of one handler, which stands among the real parts of a codec, between recording neighbours. Every log line is
/// captured; the zone is UTC.
///
/// A case reads: `use` a handler, `send` an event and compare what `takeRequest` gives, `respond` to it and compare
/// what `takeHostEvents` gives. What a handler throws leaves `send` and `respond`.
class HandlerFixture : public testing::Test {
 protected:
  /// What every request bears that went out first and was sent alone.
  static constexpr const char* firstStamp =
      R"({"batchNo": 1, "requestNo": 0, "batchStartTime": 1000.0, "individualStartTime": 1000.0})";

  static void SetUpTestSuite();

  HandlerFixture();

  /// A codec with these options beside user name "user" and password "secret". Without a call, it has no others.
  void configure(std::string_view options);

  /// The handler of the event type "com.kelvo.marlovance." and `name`.
  void use(const std::string& name);

  /// An event of the type in use, on its way to `path`.
  MessageBuilder event(std::string_view path) const;

  /// Hands one event, in a batch of its own, to the handler.
  void send(const MessageBuilder& event);

  /// The oldest request that the transport got and that was not yet taken.
  Received takeRequest();

  /// The record of an answer's request, both as the codec hands them to a handler.
  OutstandingRequest match(Message& response);

  /// Hands an answer to the handler that sent its request, with the record of it, as a good or a bad one by the
  /// handler's decision.
  void respond(const MessageBuilder& response);

  /// The events that reached the host since the last call.
  std::vector<Received> takeHostEvents() { return parts->host.takeAll(); }

  /// How many logical requests have come to their end since the test began, told by the average of their latencies: so
  /// the clock must move, and no latency may repeat the average. `moveClock` sees to the first.
  static std::size_t endedRequests();
  static void moveClock() { TestHost::advanceAtEachReading(1.0); }

  /// Further lines are those of what the test does from here.
  static void forgetLogs() { TestHost::drain(); }

  HandlerServices services() {
    return {parts->constants, parts->config, parts->time, parts->metrics, parts->logger, parts->responder};
  }

  Environment environment;
  HandlerTable handlers;
  std::unique_ptr<CodecParts> parts;  // ends its requests in flight with their handlers
  Handler* handler = nullptr;
  std::string eventType;
};

}  // namespace tests
