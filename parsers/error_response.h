// What a failed exchange says, in words.
#pragma once

#include <cstdint>
#include <string>

#include "codec/DataConstants.h"
#include "connectivity/Message.h"

namespace com::tallowmere::connectivity::plugins {

/// The media type of the platform's error bodies.
extern const data_t errorMediaType;

/// The facts of a failed exchange. Throws std::runtime_error when the response's "http.statusCode", or the request's
/// "http.method" or "http.path", is missing or of another type.
struct FailedExchange {
  FailedExchange(const Message& response, const Message& request, const DataConstants& constants);

  std::int64_t statusCode;
  std::string method;
  std::string path;
  std::string params;  ///< the query string rendered, or nothing
};

/// The response's "http.statusReason", or nothing. Throws std::runtime_error when it is no string. [response thread]
std::string statusReasonOf(const Message& response, const DataConstants& constants);

/// The "message" of a body of the error media type, or nothing. Throws std::runtime_error when such a body is no map or
/// its message no string. [response thread]
std::string platformErrorText(const Message& response, const DataConstants& constants);

/// "Error STATUS received: BODY  while performing METHOD PATH, params: PARAMS", with the body on one line. Throws as
/// `FailedExchange`. [response thread]
std::string composedErrorText(const Message& response, const Message& request, const DataConstants& constants);

/// The text with every line break followed by a tab and "---> ", so that it stays visibly one log record. [any thread]
std::string indentNewlines(const std::string& text);

}  // namespace com::tallowmere::connectivity::plugins
