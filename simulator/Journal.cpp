#include "simulator/Journal.h"

#include <algorithm>
#include <boost/beast/core/string.hpp>

namespace simulator {

namespace {

bool isSecret(const std::string& header) {
  for (const char* name : {"authorization", "proxy-authorization", "cookie"}) {
    if (boost::beast::iequals(header, name)) return true;
  }
  return false;
}

}  // namespace

void Journal::add(Moment time, Request&& request, int status, bool fault) {
  for (Header& header : request.headers) {
    if (isSecret(header.name)) header.value = "(hidden)";
  }
  bytes += request.body.size();
  kept.push_back({++lastNumber, time, std::move(request.method), std::move(request.target), std::move(request.headers),
                  std::move(request.body), status, fault});
  while (!kept.empty() && (kept.size() > entryLimit || bytes > byteLimit)) {
    bytes -= kept.front().body.size();
    kept.pop_front();
  }
}

void Journal::clear() {
  kept.clear();
  bytes = 0;
}

std::vector<JournalEntry> Journal::entries(std::uint64_t after, std::size_t limit) const {
  const auto isOlder = [](const JournalEntry& entry, std::uint64_t number) { return entry.number <= number; };
  const auto first = std::lower_bound(kept.begin(), kept.end(), after, isOlder);
  const auto count = std::min(limit, static_cast<std::size_t>(kept.end() - first));
  return std::vector<JournalEntry>(first, first + static_cast<std::ptrdiff_t>(count));
}

}  // namespace simulator
