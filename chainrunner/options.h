// What a run can be told, from the chain file and the command line.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

#include "chainrunner/json_reader.h"

namespace chainrunner {

/// How requests travel.
struct TransportOptions {
  std::string platform;                       ///< "http://host:port" or "https://...", perhaps with a path prefix
  std::chrono::milliseconds timeout{30'000};  ///< for one attempt
  std::size_t inFlight = 64;                  ///< requests without an answer, before the sender waits
  std::size_t connections = 8;                ///< requests on the wire at once
  unsigned retries = 2;                       ///< further attempts where a repetition does no harm
  std::chrono::milliseconds retryDelay{100};  ///< before the first of them; doubled each time
  std::uint64_t pagesPerWalk = 100'000;       ///< more of them end a walk with an error
  std::size_t maxAnswerBytes = 64 * 1024 * 1024;
  bool proxies = true;  ///< whether the environment's proxy settings hold
  JsonLimits json;      ///< for the platform's documents
};

/// How events are read.
struct SourceOptions {
  std::size_t batch = 100;  ///< events in one call of the plug-in
  std::size_t maxLineBytes = 16 * 1024 * 1024;
  JsonLimits json;
};

}  // namespace chainrunner
