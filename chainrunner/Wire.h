#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "chainrunner/Attempt.h"
#include "chainrunner/http_request.h"
#include "chainrunner/options.h"

namespace chainrunner {

class Exchange;

/// HTTP exchanges on one thread, many at once, by libcurl. Connections are kept and used again; certificates are
/// checked; redirects are not followed; nothing but http and https is spoken. A POST goes out at most once per attempt,
/// also when a kept connection turns out to be dead.
class Wire {
 public:
  using Id = std::uint64_t;
  using Done = std::function<void(Id, Attempt)>;

  explicit Wire(const TransportOptions& options);
  ~Wire();
  Wire(const Wire&) = delete;
  Wire& operator=(const Wire&) = delete;

  /// Begins an exchange. `request` and `description`, which is for messages, stay until it is done. Throws
  /// std::bad_alloc or std::runtime_error with libcurl's reason. [wire thread]
  void start(Id id, const HttpRequest& request, const std::string& description);

  /// Moves the exchanges on and calls `done` for each that ended; waits up to `patience` when there is nothing to do.
  /// [wire thread]
  void poll(std::chrono::milliseconds patience, const Done& done);

  /// Ends all exchanges without an outcome. [wire thread]
  void abandonAll();

  /// Ends the wait of `poll`. [any thread]
  void wake();

 private:
  struct FreeMulti {
    void operator()(void* multi) const;
  };

  std::unique_ptr<Exchange> takeIdle();
  std::unique_ptr<Exchange> takeRunning(const Exchange& exchange);

  const TransportOptions& options;
  const bool readsProxies;
  std::unique_ptr<void, FreeMulti> multi;
  std::vector<std::unique_ptr<Exchange>> running;  ///< few: never more than connections
  std::vector<std::unique_ptr<Exchange>> idle;     ///< kept for the next requests
};

}  // namespace chainrunner
