// Why a message goes no further. Each text stands in a log line or an Error event.
#pragma once

#include <exception>
#include <string>
#include <utility>

#include "connectivity/Message.h"
#include "connectivity/to_string.h"

namespace com::tallowmere::connectivity::plugins {

using namespace com::tallowmere::connectivity10_15_4;

/// A failure with a text of its own.
class CodecException : public std::exception {
 public:
  const char* what() const noexcept override { return text.c_str(); }

 protected:
  explicit CodecException(std::string text) : text(std::move(text)) {}

 private:
  std::string text;
};

/// An event without a known type: "Dropping [MESSAGE] with no qel.type". Takes the message over.
class NoTypeFound : public CodecException {
 public:
  explicit NoTypeFound(Message&& message)
      : CodecException("Dropping [" + to_string(message) + "] with no qel.type"), message(std::move(message)) {}

 private:
  Message message;
};

/// A response that nobody waits for: "Could not find a request matching response MESSAGE". Takes the response over.
class NoRequestFound : public CodecException {
 public:
  explicit NoRequestFound(Message&& response)
      : CodecException("Could not find a request matching response " + to_string(response)),
        response(std::move(response)) {}

 private:
  Message response;
};

/// A message that is refused: "Dropping [MESSAGE] as REASON".
class DropMessage : public CodecException {
 public:
  DropMessage(const std::string& reason, const Message& message)
      : CodecException("Dropping [" + to_string(message) + "] as " + reason) {}
};

/// A handler that cannot merge messages was asked to: "Batching not supported for these messages: ".
class BatchingNotSupported : public CodecException {
 public:
  BatchingNotSupported() : CodecException("Batching not supported for these messages: ") {}
};

}  // namespace com::tallowmere::connectivity::plugins
