// Refusals of requests, and the error documents that tell them.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/http.h"

namespace simulator {

/// A request that is refused with a status; its message says why, and names what was wrong.
class RequestError : public std::runtime_error {
 public:
  RequestError(int status, const std::string& message, std::vector<Header> headers = {})
      : std::runtime_error(message), status(status), headers(std::move(headers)) {}

  const int status;
  const std::vector<Header> headers;  ///< that the answer bears besides, such as Allow
};

/// The answer of media type "application/vnd.com.rdx.marlovance.error+json" with the fields `error` (a word for the
/// status, such as "notFound") and `message`. [any thread]
Answer errorAnswer(int status, std::string_view message);

/// `errorAnswer` of a refusal, with its headers. [any thread]
Answer errorAnswer(const RequestError& refusal);

/// `text` in double quotes for a message, cut after 80 bytes. [any thread]
std::string quoted(std::string_view text);

}  // namespace simulator
