#include "codec/OutstandingRequests.h"

#include <optional>

#include "codec/exceptions.h"
#include "connectivity/conversion.h"

namespace com::tallowmere::connectivity::plugins {

void OutstandingRequests::add(Message&& clone, Handler& handler) {
  const std::int64_t id = clone.getMetadataMap().at(constants.requestId).get<std::int64_t>();
  MutexLock lock(mutex);
  requests.try_emplace(id, std::move(clone), handler);
}

OutstandingRequest OutstandingRequests::take(Message& response) {
  const map_t& metadata = response.getMetadataMap();
  const auto id = metadata.find(constants.requestId);
  if (id == metadata.end()) throw NoRequestFound(std::move(response));
  {
    MutexLock lock(mutex);
    const auto found = requests.find(id->second.get<std::int64_t>());
    if (found != requests.end()) {
      OutstandingRequest taken = std::move(found->second);
      requests.erase(found);
      return taken;
    }
  }
  throw NoRequestFound(std::move(response));
}

void OutstandingRequests::finishAll() {
  for (;;) {
    std::optional<OutstandingRequest> next;  // ends after the lock is released
    MutexLock lock(mutex);
    if (requests.empty()) return;
    next.emplace(std::move(requests.begin()->second));
    requests.erase(requests.begin());
  }
}

std::size_t OutstandingRequests::size() const {
  MutexLock lock(mutex);
  return requests.size();
}

}  // namespace com::tallowmere::connectivity::plugins
