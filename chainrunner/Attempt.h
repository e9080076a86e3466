#pragma once

#include <variant>

#include "chainrunner/http_answer.h"

namespace chainrunner {

/// What came of one attempt to send a request.
struct Attempt {
  std::variant<HttpAnswer, TransportFailure> outcome;
  bool nothingSent = false;  ///< there was no connection at all
  bool mayRepeat =
      false;  ///< it failed, and another attempt does no harm: nothing was sent, or the method is idempotent
};

}  // namespace chainrunner
