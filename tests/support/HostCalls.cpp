#include "tests/support/HostCalls.h"

#include <utility>

namespace tests {

void HostCalls::entered(HostCall call) {
  ++counts[at(call)];
  if (!anyThrower) return;
  std::function<void()> thrower;
  {
    std::lock_guard lock(mutex);
    thrower = throwers[at(call)];
  }
  if (thrower) thrower();
}

void HostCalls::entered(HostCall call, std::uint64_t argument) {
  {
    std::lock_guard lock(mutex);
    argumentsOf[at(call)].push_back(argument);
  }
  entered(call);
}

std::uint64_t HostCalls::count(HostCall call) const {
  return counts[at(call)];
}

std::vector<std::uint64_t> HostCalls::arguments(HostCall call) const {
  std::lock_guard lock(mutex);
  return argumentsOf[at(call)];
}

void HostCalls::throwFrom(HostCall call, std::function<void()> thrower) {
  std::lock_guard lock(mutex);
  throwers[at(call)] = std::move(thrower);
  anyThrower = false;
  for (const auto& each : throwers) anyThrower = anyThrower || each;
}

void HostCalls::forget() {
  std::lock_guard lock(mutex);
  for (auto& count : counts) count = 0;
  for (auto& arguments : argumentsOf) arguments.clear();
}

void HostCalls::reset() {
  forget();
  std::lock_guard lock(mutex);
  for (auto& thrower : throwers) thrower = nullptr;
  anyThrower = false;
}

}  // namespace tests
