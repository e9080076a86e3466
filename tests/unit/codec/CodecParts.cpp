#include "tests/unit/codec/CodecParts.h"

#include <stdexcept>

#include "connectivity/remote_sides.h"

namespace tests {

map_t configuration(std::string_view options) {
  boost::json::object whole{{"username", "user"}, {"password", "secret"}};
  const boost::json::value more = parseJson(options);
  for (const auto& entry : more.as_object()) whole[entry.key()] = entry.value();
  return mapFromJson(textOf(whole));
}

CodecParts::CodecParts(std::string_view options)
    : hostSide(std::make_unique<product::RemoteHostSide>(&host, Neighbour::receive)),
      transportSide(std::make_unique<product::RemoteTransportSide>(&transport, Neighbour::receive)),
      config(configuration(options), logger),
      time(constants, logger),
      metrics(constants, config, reporter, statusPrefix, logger, time),
      outstanding(constants),
      sender(outstanding, transportSide, logger, constants, config),
      responder(hostSide, logger),
      handler({constants, config, time, metrics, logger, responder}),
      otherHandler({constants, config, time, metrics, logger, responder}) {}

CodecParts::~CodecParts() {
  metrics.abandonAllBatches();
  outstanding.finishAll();
}

Received CodecParts::send(Message&& message) {
  return send(std::move(message), handler);
}

Received CodecParts::send(Message&& message, FakeHandler& by) {
  metrics.startRequest(message);
  sender.sendRequest(message, by);
  if (auto request = transport.take()) return *request;
  throw std::runtime_error("no request reached the transport");
}

OutstandingRequest CodecParts::take(std::int64_t requestId) {
  Message answer = messageFrom(response(requestId));
  return outstanding.take(answer);
}

Message requestOf(std::string_view method) {
  return messageFrom(MessageBuilder().method(method).path("/some/path").payload(R"({"a": 1})"));
}

Message batchable(std::string_view payload) {
  return messageFrom(MessageBuilder().metadata("batchable", "true").payload(payload));
}

}  // namespace tests
