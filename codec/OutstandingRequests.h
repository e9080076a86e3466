#pragma once

#include <cstdint>
#include <map>

#include "codec/DataConstants.h"
#include "codec/OutstandingRequest.h"
#include "connectivity/thread_annotations.h"

namespace com::tallowmere::connectivity::plugins {

/// The requests in flight, by requestId. A request without a response stays until the codec goes. [any thread]
class OutstandingRequests {
 public:
  /// `constants` must outlive this object.
  explicit OutstandingRequests(const DataConstants& constants) noexcept : constants(constants) {}

  /// Records a request under the "requestId" of its metadata, unless that id is recorded already.
  void add(Message&& clone, Handler& handler) EXCLUDES(mutex);

  /// Takes the record of the response's "requestId" out of the table. Throws NoRequestFound, with the response in it,
  /// when there is none, and std::runtime_error when the id is no integer.
  OutstandingRequest take(Message& response) EXCLUDES(mutex);

  /// Ends the requests that are left, in ascending requestId, each with its finishing step on this thread.
  void finishAll() EXCLUDES(mutex);

  std::size_t size() const EXCLUDES(mutex);

 private:
  const DataConstants& constants;
  mutable Mutex mutex;
  std::map<std::int64_t, OutstandingRequest> requests GUARDED_BY(mutex);
};

}  // namespace com::tallowmere::connectivity::plugins
