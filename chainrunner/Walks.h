#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "chainrunner/values.h"
#include "connectivity/thread_annotations.h"

namespace chainrunner {

/// What a request has to know of the walk that it is a page of. A request that stands alone is a walk of one page.
struct Walk {
  std::uint64_t number = 0;    ///< the same on all pages; 0 while there is but one
  std::uint64_t page = 1;      ///< of this request
  std::uint64_t elements = 0;  ///< on the pages before it, and on its own when that is answered
  unsigned sameLine = 1;       ///< requests in a row, this one included, that were the same
  bool isWarned = false;       ///< whether that was told
};

/// A walk as a progress line shows it.
struct WalkProgress {
  std::string name;  ///< "FindAlarm 7", the event's type and its reqId
  std::uint64_t page = 0;
  std::uint64_t elements = 0;
};

/// The walks in progress: queries that go from page to page, each next page being asked for while the answer to the one
/// before is delivered. Guards against walks that don't end: the codec has no bound of its own. [any thread]
class Walks {
 public:
  /// A walk may have `pageLimit` pages.
  explicit Walks(std::uint64_t pageLimit) : pageLimit(pageLimit) {}

  /// The walk of a request that goes on from `before`. The lines, "GET /alarm/alarms?...", are those of the requests
  /// before and now; the third equal one in a row is told in the log, once a walk. `metadata` is the request's.
  Walk goOn(const Walk& before, const std::string& lineBefore, const std::string& line, const map_t& metadata)
      EXCLUDES(mutex);

  /// Whether the walk has more pages than it may have.
  bool isTooLong(const Walk& walk) const { return walk.page > pageLimit; }

  /// Ends the walk if `walk` is its last page. A page ends when its answer has been delivered.
  void endPage(const Walk& walk) EXCLUDES(mutex);

  /// The walks of more than one page, oldest first.
  std::vector<WalkProgress> inProgress() const EXCLUDES(mutex);

 private:
  const std::uint64_t pageLimit;
  mutable com::tallowmere::connectivity10_15_4::Mutex mutex;
  std::uint64_t lastNumber GUARDED_BY(mutex) = 0;
  std::map<std::uint64_t, WalkProgress> walks GUARDED_BY(mutex);
};

/// How many elements a page holds: those of its lists, right below the payload. [any thread]
std::uint64_t elementsOf(const data_t& payload);

}  // namespace chainrunner
