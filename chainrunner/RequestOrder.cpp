#include "chainrunner/RequestOrder.h"

#include <algorithm>
#include <utility>

namespace chainrunner {

void RequestOrder::add(Id id, std::optional<std::string> key, bool isBarrier) {
  Entry entry{id, std::move(key), isBarrier};
  if (held.empty() && mayPass(entry))
    admit(std::move(entry));
  else
    held.push_back(std::move(entry));
}

std::optional<RequestOrder::Id> RequestOrder::next() {
  if (ready.empty()) return std::nullopt;
  const Ready first = ready.front();
  ready.pop_front();
  started.emplace(first.id, first.lane);
  return first.id;
}

void RequestOrder::finish(Id id) {
  const auto found = started.find(id);
  if (found == started.end()) return;
  if (found->second) leave(*found->second);
  started.erase(found);
  if (--admitted == 0) isBarrierAdmitted = false;
  while (!held.empty() && mayPass(held.front())) {
    admit(std::move(held.front()));
    held.pop_front();
  }
}

void RequestOrder::clear() {
  *this = {};
}

/// Whether no barrier holds the request, which is the first that is not admitted.
bool RequestOrder::mayPass(const Entry& entry) const {
  return entry.isBarrier ? admitted == 0 : !isBarrierAdmitted;
}

void RequestOrder::admit(Entry entry) {
  ++admitted;
  isBarrierAdmitted = entry.isBarrier;
  if (!entry.key) return makeReady({entry.id, nullptr});
  const auto [lane, isFirst] = lanes.try_emplace(std::move(*entry.key));
  if (isFirst)
    makeReady({entry.id, &*lane});
  else
    lane->second.push_back(entry.id);
}

/// The next request of the key may start; without one the lane ends.
void RequestOrder::leave(Lane& lane) {
  std::vector<Id>& waiting = lane.second;
  if (waiting.empty()) {
    lanes.erase(lanes.find(lane.first));
    return;
  }
  makeReady({waiting.front(), &lane});
  waiting.erase(waiting.begin());
}

void RequestOrder::makeReady(Ready request) {
  const auto isBefore = [](const Ready& a, const Ready& b) { return a.id < b.id; };
  ready.insert(std::upper_bound(ready.begin(), ready.end(), request, isBefore), request);
}

}  // namespace chainrunner
