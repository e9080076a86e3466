#include "simulator/FaultPlan.h"

namespace simulator {

namespace {

bool matches(const Fault& fault, const std::string& method, const std::string& path) {
  return (fault.method.empty() || fault.method == method) && path.starts_with(fault.path);
}

/// From 0 to just below 1, the same on every platform.
double draw(std::mt19937_64& random) {
  return static_cast<double>(random() >> 11) * 0x1p-53;
}

}  // namespace

void FaultPlan::add(const Fault& fault) {
  rules.push_back({FaultState{fault}, std::mt19937_64(fault.seed)});
}

bool FaultPlan::Rule::due() {
  const Fault& fault = state.fault;
  if (++state.seen <= fault.skip) return false;
  const bool drawn = draw(random) < fault.probability;
  return drawn && (fault.times == 0 || state.hits < fault.times);
}

std::optional<Fault> FaultPlan::next(const std::string& method, const std::string& path) {
  Rule* acting = nullptr;
  for (Rule& rule : rules) {
    if (!matches(rule.state.fault, method, path)) continue;
    if (rule.due() && acting == nullptr) acting = &rule;
  }
  if (acting == nullptr) return std::nullopt;
  ++acting->state.hits;
  return acting->state.fault;
}

std::vector<FaultState> FaultPlan::states() const {
  std::vector<FaultState> states;
  for (const Rule& rule : rules) states.push_back(rule.state);
  return states;
}

std::string_view wordFor(Ending ending) {
  switch (ending) {
    case Ending::Whole:
      return "whole";
    case Ending::Truncated:
      return "truncated";
    case Ending::Garbage:
      return "garbage";
    case Ending::Reset:
      return "reset";
    case Ending::Closed:
      return "closed";
  }
  return "";
}

}  // namespace simulator
