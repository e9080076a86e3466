// Messages as the neighbours of a codec make them: events on their way to the transport, responses on their way back.
#pragma once

#include <boost/json/object.hpp>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/values.h"

namespace tests {

/// Describes a message; `build` makes one, as often as wanted.
class MessageBuilder {
 public:
  // Metadata. Arguments named `json` are JSON text, all others plain text.
  MessageBuilder& metadata(std::string_view key, std::string_view json);
  MessageBuilder& type(std::string_view type);
  MessageBuilder& channel(std::string_view channel);
  MessageBuilder& contentType(std::string_view mediaType);
  MessageBuilder& reqId(std::int64_t id);
  MessageBuilder& requiresResponse();
  MessageBuilder& responseChannel(std::string_view channel);

  // The http map of the metadata.
  MessageBuilder& http(std::string_view key, std::string_view json);
  MessageBuilder& path(std::string_view path);
  MessageBuilder& method(std::string_view method);
  MessageBuilder& query(std::string_view key, std::string_view value);
  MessageBuilder& header(std::string_view name, std::string_view value);
  MessageBuilder& cookie(std::string_view name, std::string_view value);
  MessageBuilder& status(std::int64_t code);
  MessageBuilder& reason(std::string_view reason);

  MessageBuilder& payload(std::string_view json);

  /// Takes a key out of the metadata again.
  MessageBuilder& without(std::string_view key);

  /// The message. The caller owns payload and metadata.
  RawMessage build() const;

 private:
  boost::json::object& httpMap();
  MessageBuilder& putIntoHttp(std::string_view map, std::string_view key, std::string_view value);

  boost::json::object metadataMap;
  boost::json::value payloadValue;
};

/// An event of the type, with an empty payload until one is given.
MessageBuilder event(std::string_view type);

/// A control object: no payload, and the key that marks it.
MessageBuilder controlObject();

/// An answer to the request of that id, sent at the present reading of the clock: status 200 with the reason "OK".
MessageBuilder response(std::int64_t requestId);

/// A batch that owns what nobody takes out of it.
class Batch {
 public:
  explicit Batch(const std::vector<MessageBuilder>& builders);

  /// Takes over the messages.
  explicit Batch(std::vector<RawMessage> messages) : messages(std::move(messages)) {}
  ~Batch();
  Batch(const Batch&) = delete;
  Batch& operator=(const Batch&) = delete;

  std::vector<RawMessage> messages;
};

}  // namespace tests
