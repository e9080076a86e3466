#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <vector>

namespace tests {

/// Every operation that a host offers, by its own name.
enum class HostCall : std::size_t {
  qel_copy_string,
  qel_copy_data,
  qel_allocate_map,
  qel_reallocate_map,
  qel_free_map,
  qel_allocate_vector,
  qel_reallocate_vector,
  qel_free_vector,
  qel_free_string,
  qel_free_buffer,
  qel_free_custom,
  qel_hash_string,
  qel_get_log_level,
  qel_log_at,
  qel_create_user_status_item,
  qel_set_user_status_item,
  qel_delete_user_status_item,
  qel_set_user_status_map,
  kv_getUTF8,
  kv_malloc,
  kv_free,
  decimalToString,
  float64ToChar8,
  char8ToFloat64,
  relativeHighResTimeFloat,
};
inline constexpr std::size_t hostCallCount = static_cast<std::size_t>(HostCall::relativeHighResTimeFloat) + 1;

/// Counts the calls of each host operation and makes chosen ones throw. The host's own inner calls (the elements of a
/// list that is freed) don't count. [any thread]
class HostCalls {
 public:
  /// Notes one call, and throws if the call is to throw.
  void entered(HostCall call);

  /// Notes one call with its number, the capacity or size asked for.
  void entered(HostCall call, std::uint64_t argument);

  std::uint64_t count(HostCall call) const;
  std::vector<std::uint64_t> arguments(HostCall call) const;

  /// From now on `call` runs `thrower` first; an empty one ends that.
  void throwFrom(HostCall call, std::function<void()> thrower);

  /// Forgets counts and arguments.
  void forget();

  /// Forgets counts, arguments and throwers.
  void reset();

 private:
  static std::size_t at(HostCall call) { return static_cast<std::size_t>(call); }

  std::array<std::atomic<std::uint64_t>, hostCallCount> counts{};
  std::atomic<bool> anyThrower{false};
  mutable std::mutex mutex;
  std::array<std::vector<std::uint64_t>, hostCallCount> argumentsOf;
  std::array<std::function<void()>, hostCallCount> throwers;
};

}  // namespace tests
