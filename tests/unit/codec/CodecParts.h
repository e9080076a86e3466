#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "codec/BatchSender.h"
#include "codec/OutstandingRequests.h"
#include "codec/RequestMetrics.h"
#include "codec/RequestSender.h"
#include "codec/ResponseSender.h"
#include "connectivity/StatusReporter.h"
#include "parsers/Time.h"
#include "tests/blackbox/Neighbour.h"
#include "tests/blackbox/Session.h"
#include "tests/support/TestHost.h"
#include "tests/support/product_values.h"
#include "tests/unit/codec/FakeHandler.h"

namespace tests {

using Texts = std::vector<std::string>;

/// A configuration with user name and password, and the entries of the JSON object `options` beside them.
map_t configuration(std::string_view options = "{}");

/// The parts of a codec between recording neighbours, wired as the codec does, with two handlers of the tests' own. The
/// log level is that of the moment of construction.
class CodecParts {
  char reporterMark = 0;

 public:
  static constexpr const char* statusPrefix = "c1.MarlovanceCodec";

  /// `options` as for `configuration`.
  explicit CodecParts(std::string_view options = "{}");

  /// Ends the requests in flight as the codec does.
  ~CodecParts();
  CodecParts(const CodecParts&) = delete;
  CodecParts& operator=(const CodecParts&) = delete;

  BatchSender openBatch() { return {sender, config.maxBatchSize, metrics, logger, constants}; }

  /// Starts and sends a request, and gives it as the transport got it.
  Received send(Message&& message);
  Received send(Message&& message, FakeHandler& by);

  /// The record of a request in flight.
  OutstandingRequest take(std::int64_t requestId);

  Neighbour transport;
  Neighbour host;
  Logger logger{"connectivity.MarlovanceCodec.c1"};
  StatusReporter reporter{&reporterMark};
  std::unique_ptr<HostSide> hostSide;
  std::unique_ptr<TransportSide> transportSide;
  DataConstants constants;
  CodecConfig config;
  Time time;
  RequestMetrics metrics;
  OutstandingRequests outstanding;
  RequestSender sender;
  ResponseSender responder;
  FakeHandler handler;
  FakeHandler otherHandler;
};

/// A message whose http map has the method and a path.
Message requestOf(std::string_view method);

/// A message with the payload that the handlers merge with others.
Message batchable(std::string_view payload);

/// The text of the std::exception that `work` throws; "nothing thrown" when it does not.
template <class Work>
std::string thrownBy(Work&& work) {
  try {
    work();
  } catch (const std::exception& failure) {
    return failure.what();
  }
  return "nothing thrown";
}

}  // namespace tests
