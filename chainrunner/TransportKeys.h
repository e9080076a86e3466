#pragma once

#include "chainrunner/values.h"
#include "connectivity/hashed_key.h"

namespace chainrunner {

/// The keys of request and answer messages, ready-made. They are host values, so they live and die with a transport.
/// [any thread]
struct TransportKeys {
  using Key = com::tallowmere::connectivity10_15_4::hashed_key;

  // Of the metadata.
  const Key requestId{"requestId"}, requestSentTime{"requestSentTime"}, contentType{"contentType"}, http{"http"};
  const Key concurrencyControlKey{"concurrencyControlKey"}, concurrencyControlFlush{"concurrencyControlFlush"};

  // Of a request's http map.
  const Key method{"method"}, path{"path"}, queryString{"queryString"}, headers{"headers"}, cookies{"cookies"};

  // Of an answer's http map.
  const Key statusCode{"statusCode"}, statusReason{"statusReason"};

  // Of an error answer's body.
  const Key error{"error"}, message{"message"};
};

}  // namespace chainrunner
