// One way to run a case: timed by Google Benchmark, or bare for a number of rounds, under callgrind or with the
// allocation counter preloaded.
//
//   NAME_benchmark [flags of Google Benchmark]     compares the peers' contents, then times all cases
//   NAME_benchmark --cases                         lists the cases, one a line
//   NAME_benchmark --case=W1/data_t --rounds=20    runs one case and prints what was counted
#pragma once

#include <valgrind/callgrind.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

/// Blocks asked of malloc so far, when allocation_counter is preloaded; else there is no such function.
extern "C" [[gnu::weak]] std::uint64_t benchmark_allocations();

namespace benchmarks {

/// Seconds that this thread has run. [any thread]
double threadSeconds();

/// Brackets what a round measures. What a round does outside of `timed` is free. The time is the clock's or the
/// thread's own, whichever is less: other processes count in the one, reading the other takes a system call.
class Stopwatch {
 public:
  template <class Body>
  void timed(Body&& body) {
    const std::uint64_t allocated = benchmark_allocations ? benchmark_allocations() : 0;
    const double begin = threadSeconds();
    const auto clockBegin = std::chrono::steady_clock::now();
    if (isCollecting) CALLGRIND_TOGGLE_COLLECT;
    body();
    if (isCollecting) CALLGRIND_TOGGLE_COLLECT;
    const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - clockBegin).count();
    seconds += std::min(elapsed, threadSeconds() - begin);
    if (benchmark_allocations) allocations += benchmark_allocations() - allocated;
  }

  bool isCollecting = false;
  double seconds = 0;
  std::uint64_t allocations = 0;
};

/// One repetition of a case's work.
using Round = std::function<void(Stopwatch&)>;

/// What one library does in one workload. `prepare` makes whatever all rounds share; a round makes and destroys its own
/// things outside of the timed part.
struct Case {
  std::string workload;
  std::string peer;
  double operations;  ///< in one round; times and counts are divided by it
  std::function<Round()> prepare;
};

/// Adds a case to this process.
void add(Case entry);

/// Adds a check that runs once, before anything is timed.
void addCheck(std::function<void()> check);

/// Fails the run unless two peers came to the same: throws std::runtime_error "W6 boost_json: differs from the expected
/// content" with both texts, cut at the first difference.
void expectSame(const std::string& what, const std::string& actual, const std::string& expected);

/// Keeps a result from being optimised away.
void keep(std::uint64_t result);

/// Runs what the arguments ask for; gives the exit code of the process.
int run(int argumentCount, char** arguments);

}  // namespace benchmarks
