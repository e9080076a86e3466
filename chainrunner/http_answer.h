// Answer messages: what comes back from the wire, or stands in for it, as the plug-in takes it.
#pragma once

#include <string>

#include "chainrunner/TransportKeys.h"
#include "chainrunner/json_reader.h"
#include "chainrunner/values.h"

namespace chainrunner {

/// What the platform answered.
struct HttpAnswer {
  std::int64_t status = 0;
  std::string reason;       ///< of the status line, perhaps empty
  std::string contentType;  ///< as sent, with its parameters; empty when there was none
  std::string location;     ///< where a redirect leads; empty for any other answer
  std::string body;
};

/// Why there is no answer of the platform's to hand on.
struct TransportFailure {
  std::int64_t status;  ///< 400, 502, 503 or 504
  std::string error;    ///< "transport/timeout" and the like
  std::string message;  ///< for people
};

/// What connects an answer with its request.
struct AnswerHead {
  data_t requestId;
  double requestSentTime = 0;  ///< on the clock of Platform::relativeHighResTimeFloat
};

/// The answer as a message. A body is a value when the content type is JSON, else a string (bytes that are no UTF-8 are
/// replaced). "contentType" is there when the platform sent one, without parameters. What can't be handed on (a
/// redirect, JSON that isn't, a NUL in a text) becomes a failure "transport/redirect" or "transport/badBody";
/// `description` names the request in it. [any thread]
Message makeAnswer(AnswerHead head, HttpAnswer answer, const std::string& description, const JsonLimits& limits,
                   const TransportKeys& keys);

/// The error answer that stands for a failure: the platform's error media type with `error` and `message`. [any thread]
Message makeFailureAnswer(AnswerHead head, const TransportFailure& failure, const TransportKeys& keys);

/// How an answer of the two above is counted: "201", or "504 transport/timeout" for a failure. [any thread]
std::string answerStatus(const Message& answer, const TransportKeys& keys);

}  // namespace chainrunner
