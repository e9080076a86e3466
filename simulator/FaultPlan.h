// Faults on purpose: which requests get something else than the platform's own answer, and what.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "simulator/http.h"

namespace simulator {

/// One rule. Which requests it is for:
struct Fault {
  std::string method{};     ///< "POST", say; empty is every method
  std::string path{};       ///< what the request's path starts with; empty is every path
  std::uint64_t skip = 0;   ///< so many matching requests pass first: 2 makes the third the first one hit
  std::uint64_t times = 1;  ///< so many requests are hit; 0 is no limit
  double probability = 1;   ///< of each of those to be hit
  std::uint64_t seed = 1;   ///< of the rule's own random numbers: the same seed hits the same requests again

  // What a request that is hit gets. The parts combine: a delayed 503 in dribbles is one rule.
  int status = 0;                          ///< this answer in place of the platform's; 0 leaves the platform's own
  std::string body{};                      ///< of that answer; empty gives an error document, but 204 and 304 have none
  std::string contentType = "text/plain";  ///< of `body`
  std::chrono::milliseconds delay{0};      ///< before the answer; the request itself takes effect at once
  std::optional<std::chrono::milliseconds> dribble{};  ///< the answer comes byte by byte, with this pause between two
  Ending ending = Ending::Whole;                       ///< what becomes of the answer
  /// Whether the request reaches the store although its answer gets lost. It always does when `status` is 0 and the
  /// ending is `Whole` or `Truncated`.
  bool takesEffect = false;
};

/// A rule with what it has seen so far.
struct FaultState {
  Fault fault;
  std::uint64_t seen = 0;  ///< matching requests
  std::uint64_t hits = 0;
};

/// The rules, in the order they were added.
///
/// Precedence: each request goes through all rules, and each rule that matches counts it. The first rule in order that
/// is due acts, and no other: due is a rule that has let its `skip` requests pass, has hits left, and whose draw says
/// so. So "two times 503, then one reset" is two rules in this order. A rule draws for every matching request behind
/// `skip`, so what it hits does not depend on other rules' luck. Two answers to one request are not among the faults: a
/// client of HTTP/1.1 would read the second as the answer to its next request. [one thread at a time]
class FaultPlan {
 public:
  void add(const Fault& fault);
  void clear() { rules.clear(); }

  /// Counts a request and gives the rule that hits it, if there is one.
  std::optional<Fault> next(const std::string& method, const std::string& path);

  std::vector<FaultState> states() const;

 private:
  struct Rule {
    FaultState state;
    std::mt19937_64 random;

    /// Counts a matching request; whether the rule would act on it.
    bool due();
  };

  std::deque<Rule> rules;
};

/// The word for an ending in JSON: "whole", "truncated", "garbage", "reset", "closed". [any thread]
std::string_view wordFor(Ending ending);

}  // namespace simulator
