// Pages of a collection: what a request asks for, and the statistics that tell what it got.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "simulator/http.h"
#include "simulator/selection.h"

namespace simulator {

struct PageRequest {
  std::int64_t size = 5;     ///< documents at most
  std::int64_t current = 1;  ///< number of the page, from 1
  bool withTotal = false;    ///< whether the number of pages is asked for

  std::int64_t offset() const { return (current - 1) * size; }
};

/// Reads the query parameters `pageSize` (0 to 100000), `currentPage` (1 to 1000000000) and `withTotalPages`. Throws
/// `RequestError` 422 for values out of range and for parameters it doesn't know: a filter that is ignored would pass
/// for an answer. [any thread]
///
/// Parameters among `selectors` are known too, and left to them.
PageRequest readPageRequest(const Request& request, std::span<const Selector> selectors = {});

/// The `statistics` of a page as JSON text: `currentPage`, `pageSize`, and `totalPages` when asked for, in which case
/// `count` tells the documents in all. [any thread]
std::string statistics(const PageRequest& page, const std::function<std::int64_t()>& count);

}  // namespace simulator
