#include "tests/unit/handlers/HandlerFixture.h"

#include <stdexcept>

#include "parsers/managed_object_parser.h"

namespace tests {

// A parser builds its tables once in the process, which is not a leak of the first test.
void HandlerFixture::SetUpTestSuite() {
  const DataConstants constants;
  const Logger logger("c");
  Time time(constants, logger);
  managedObjectParser(mapFromJson("{}"), time, constants);
}

HandlerFixture::HandlerFixture() {
  environment.set("TZ", "UTC");
  for (const char* name : {"KV_INT_TZ", "Q4V_BASEURL", "Q4V_MICROSERVICE_ISOLATION"}) environment.unset(name);
  TestHost::setLogLevel(debugLevel);
  configure("{}");
}

void HandlerFixture::configure(std::string_view options) {
  parts.reset();
  handlers.clear();
  parts = std::make_unique<CodecParts>(options);
  fillHandlerTable(handlers, services(), parts->sender);
  if (handler) use(eventType.substr(std::string_view("com.kelvo.marlovance.").size()));
  forgetLogs();
}

void HandlerFixture::use(const std::string& name) {
  eventType = "com.kelvo.marlovance." + name;
  handler = handlers.at(eventType).get();
}

MessageBuilder HandlerFixture::event(std::string_view path) const {
  return tests::event(eventType).path(path).payload("{}");
}

void HandlerFixture::send(const MessageBuilder& builder) {
  Message message = messageFrom(builder);
  BatchSender batch = parts->openBatch();
  handler->handleRequest(message, batch);
  batch.finish();
}

Received HandlerFixture::takeRequest() {
  if (auto request = parts->transport.take()) return *request;
  throw std::runtime_error("no request reached the transport");
}

OutstandingRequest HandlerFixture::match(Message& response) {
  const DataConstants& constants = parts->constants;
  OutstandingRequest request = parts->outstanding.take(response);
  request.putMetadataValue(constants.requestSentTime.copy(), TestHost::clock());
  response.getMetadataMap().erase(constants.requestSentTime);
  parts->metrics.requestResponded(request);
  return request;
}

void HandlerFixture::respond(const MessageBuilder& builder) {
  Message response = messageFrom(builder);
  OutstandingRequest request = match(response);
  Handler& sender = request.getHandler();
  if (sender.isErrorResponse(response))
    sender.handleError(response, request);
  else
    sender.handleResponse(response, request);
}

std::size_t HandlerFixture::endedRequests() {
  std::size_t count = 0;
  for (const auto& [key, text] : TestHost::statusHistory())
    if (key == std::string(CodecParts::statusPrefix) + ".requestLatencyEWMAShortMillis") ++count;
  return count;
}

}  // namespace tests
