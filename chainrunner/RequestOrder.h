#pragma once

#include <cstdint>
#include <list>
#include <optional>
#include <string>

namespace chainrunner {

/// Decides which request may go on the wire next. Requests of one key go one at a time, in the order they came. A
/// barrier starts when everything before it is answered, and nothing after it starts before it is answered itself. All
/// else is free. A request stays here from its arrival until its last attempt is over, so retries keep their place. Not
/// synchronised.
class RequestOrder {
 public:
  using Id = std::uint64_t;

  /// Appends a request. `key` is absent when the request has none; the empty key is a key.
  void add(Id id, std::optional<std::string> key, bool isBarrier);

  /// Takes the first request that may start now and counts it as started; nothing when all have to wait.
  std::optional<Id> next();

  /// Ends a started request. An id that isn't here does nothing.
  void finish(Id id);

 private:
  struct Entry {
    Id id;
    std::optional<std::string> key;
    bool isBarrier;
    bool isStarted = false;
  };

  std::list<Entry> entries;  ///< in the order of arrival; few, since the number of requests in flight is bounded
};

}  // namespace chainrunner
