#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace chainrunner {

/// Decides which request may go on the wire next. Requests of one key go one at a time, in the order they came. A
/// barrier starts when everything before it is answered, and nothing after it starts before it is answered itself. All
/// else is free. A request stays here from its arrival until its last attempt is over, so retries keep their place. Not
/// synchronised.
class RequestOrder {
 public:
  using Id = std::uint64_t;

  /// Appends a request, whose id is greater than those before. `key` is absent when the request has none; the empty key
  /// is a key.
  void add(Id id, std::optional<std::string> key, bool isBarrier);

  /// Takes the first request that may start now and counts it as started; nothing when all have to wait.
  std::optional<Id> next();

  /// Ends a started request. An id that wasn't started does nothing.
  void finish(Id id);

  /// Forgets all requests.
  void clear();

 private:
  struct Entry {
    Id id;
    std::optional<std::string> key;
    bool isBarrier;
  };
  /// The requests behind the first of a key, in their order.
  using Lanes = std::unordered_map<std::string, std::vector<Id>>;

  using Lane = Lanes::value_type;
  /// A request that may start, with its key's lane if it has a key.
  struct Ready {
    Id id;
    Lane* lane;
  };

  bool mayPass(const Entry& entry) const;
  void admit(Entry entry);
  void leave(Lane& lane);
  void makeReady(Ready request);

  std::unordered_map<Id, Lane*> started;
  std::deque<Ready> ready;  ///< in the order of arrival
  Lanes lanes;
  std::size_t admitted = 0;  ///< that are not ended, whether started, ready or in a lane
  bool isBarrierAdmitted = false;
  std::deque<Entry> held;  ///< by a barrier, which may be the first of them
};

}  // namespace chainrunner
