// What came in: the latest requests, for tests and people to look at.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "simulator/http.h"
#include "simulator/timestamp.h"

namespace simulator {

struct JournalEntry {
  std::uint64_t number = 0;  ///< from 1, in the order of arrival
  Moment time;
  std::string method;
  std::string target;
  std::vector<Header> headers;  ///< the values of authorization and cookies replaced by "(hidden)"
  std::string body;
  int status = 0;      ///< of the answer; 0 when none was sent
  bool fault = false;  ///< whether a rule of the fault plan acted
};

/// Keeps the latest requests, bounded in number and in bytes of bodies; the oldest make room. [one thread at a time]
class Journal {
 public:
  Journal(std::size_t entryLimit, std::size_t byteLimit) : entryLimit(entryLimit), byteLimit(byteLimit) {}

  /// Takes over the contents of `request`.
  void add(Moment time, Request&& request, int status, bool fault);
  /// Forgets what was kept; numbers go on.
  void clear();

  /// At most `limit` entries with numbers above `after`, oldest first.
  std::vector<JournalEntry> entries(std::uint64_t after, std::size_t limit) const;

 private:
  std::size_t entryLimit;
  std::size_t byteLimit;
  std::uint64_t lastNumber = 0;
  std::size_t bytes = 0;
  std::deque<JournalEntry> kept;
};

}  // namespace simulator
