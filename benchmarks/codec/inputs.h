// What the codec workloads send down and up, as JSON texts that each side reads into its own messages beforehand.
#pragma once

#include <cstdint>
#include <string>

namespace benchmarks {

struct MessageText {
  std::string metadata;
  std::string payload;
};

inline constexpr int alarmsPerRound = 64;
inline constexpr int measurementsPerBatch = 1000;
inline constexpr int pagesPerWalk = 10;
inline constexpr int measurementsPerPage = 1000;

/// An alarm that wants to be acknowledged; `number` makes its time.
MessageText alarmEvent(int number);

/// The platform's answer to it: a document of 496 bytes with two times.
MessageText alarmResponse(std::int64_t requestId, int number);
inline constexpr std::size_t alarmDocumentSize = 496;

/// A measurement of one fragment with one series that wants no acknowledgement.
MessageText measurementEvent(int number);

/// The platform's answer to a collection of them.
MessageText collectionResponse(std::int64_t requestId);

/// A walk of all measurements.
struct Walk {
  int pageSize = measurementsPerPage;
  int pages = pagesPerWalk;
  bool isSteady = false;  ///< all documents of a page have one time
};

/// The query that begins a walk, and a page of the answer.
MessageText findEvent(int reqId, const Walk& walk);
MessageText findResponse(std::int64_t requestId, int page, const Walk& walk);

}  // namespace benchmarks
