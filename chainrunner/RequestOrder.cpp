#include "chainrunner/RequestOrder.h"

#include <set>
#include <string_view>
#include <utility>

namespace chainrunner {

void RequestOrder::add(Id id, std::optional<std::string> key, bool isBarrier) {
  entries.push_back({id, std::move(key), isBarrier});
}

std::optional<RequestOrder::Id> RequestOrder::next() {
  std::set<std::string_view> busyKeys;
  for (Entry& entry : entries) {
    const bool isFirst = &entry == &entries.front();
    if (entry.isBarrier && !isFirst) return std::nullopt;
    const bool isFree = !entry.key || busyKeys.insert(*entry.key).second;
    if (!entry.isStarted && isFree) {
      entry.isStarted = true;
      return entry.id;
    }
    if (entry.isBarrier) return std::nullopt;
  }
  return std::nullopt;
}

void RequestOrder::finish(Id id) {
  entries.remove_if([id](const Entry& entry) { return entry.id == id; });
}

}  // namespace chainrunner
