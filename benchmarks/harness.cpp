#include "benchmarks/harness.h"

#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

namespace benchmarks {

namespace {

constexpr int mostWarmUpRounds = 2;

std::vector<Case>& cases() {
  static std::vector<Case> all;
  return all;
}

std::vector<std::function<void()>>& checks() {
  static std::vector<std::function<void()>> all;
  return all;
}

std::string nameOf(const Case& entry) {
  return entry.workload + "/" + entry.peer;
}

/// The median of the rounds is what counts: a round that was interrupted does not shift it.
double medianOf(std::vector<double>& values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

void timeCase(benchmark::State& state, const Case& entry) {
  const Round round = entry.prepare();
  std::vector<double> seconds;
  for ([[maybe_unused]] const auto step : state) {
    Stopwatch stopwatch;
    round(stopwatch);
    state.SetIterationTime(stopwatch.seconds);
    seconds.push_back(stopwatch.seconds);
  }
  state.counters["ns_per_operation"] = medianOf(seconds) / entry.operations * 1e9;
}

int timeAll(int argumentCount, char** arguments) {
  for (const auto& check : checks()) check();
  for (const Case& entry : cases()) {
    benchmark::RegisterBenchmark(nameOf(entry).c_str(), [&entry](benchmark::State& state) {
      timeCase(state, entry);
    })->UseManualTime();
  }
  benchmark::Initialize(&argumentCount, arguments);
  if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}

int runOne(const std::string& name, int rounds) {
  const auto entry = std::find_if(cases().begin(), cases().end(), [&](const Case& it) { return nameOf(it) == name; });
  if (entry == cases().end()) throw std::runtime_error("No case " + name);
  const Round round = entry->prepare();
  Stopwatch stopwatch;
  for (int i = 0; i < std::min(rounds, mostWarmUpRounds); ++i) round(stopwatch);
  stopwatch = {};
  stopwatch.isCollecting = true;
  for (int i = 0; i < rounds; ++i) round(stopwatch);
  const double operations = entry->operations * rounds;
  std::printf("operations %.0f\n", operations);
  if (benchmark_allocations) std::printf("allocations %.4f\n", static_cast<double>(stopwatch.allocations) / operations);
  return 0;
}

std::optional<std::string> valueOf(std::string_view argument, std::string_view flag) {
  if (!argument.starts_with(flag)) return std::nullopt;
  return std::string(argument.substr(flag.size()));
}

int dispatch(int argumentCount, char** arguments) {
  std::string name;
  int rounds = 10;
  for (int i = 1; i < argumentCount; ++i) {
    const std::string_view argument = arguments[i];
    if (argument == "--cases") {
      for (const Case& entry : cases()) std::printf("%s\n", nameOf(entry).c_str());
      return 0;
    }
    if (const auto value = valueOf(argument, "--case=")) name = *value;
    if (const auto value = valueOf(argument, "--rounds=")) rounds = std::max(1, std::atoi(value->c_str()));
  }
  return name.empty() ? timeAll(argumentCount, arguments) : runOne(name, rounds);
}

}  // namespace

double threadSeconds() {
  timespec moment{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &moment);
  return static_cast<double>(moment.tv_sec) + static_cast<double>(moment.tv_nsec) * 1e-9;
}

void add(Case entry) {
  cases().push_back(std::move(entry));
}

void addCheck(std::function<void()> check) {
  checks().push_back(std::move(check));
}

void expectSame(const std::string& what, const std::string& actual, const std::string& expected) {
  if (actual == expected) return;
  const auto [first, second] = std::mismatch(actual.begin(), actual.end(), expected.begin(), expected.end());
  const auto from = static_cast<std::size_t>(std::max<std::ptrdiff_t>(0, first - actual.begin() - 40));
  throw std::runtime_error(what + ": differs from the expected content\n  got      ..." +
                           (from < actual.size() ? actual.substr(from, 120) : "") + "\n  expected ..." +
                           (from < expected.size() ? expected.substr(from, 120) : ""));
}

void keep(std::uint64_t result) {
  benchmark::DoNotOptimize(result);
}

int run(int argumentCount, char** arguments) {
  try {
    return dispatch(argumentCount, arguments);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
}

}  // namespace benchmarks
