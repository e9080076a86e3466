#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <variant>

#include "chainrunner/http_answer.h"
#include "chainrunner/http_request.h"
#include "chainrunner/options.h"

namespace chainrunner {

/// What came of one attempt to send a request.
struct Attempt {
  std::variant<HttpAnswer, TransportFailure> outcome;
  bool nothingSent = false;  ///< there was no connection at all
  bool mayRepeat =
      false;  ///< it failed, and another attempt does no harm: nothing was sent, or the method is idempotent
};

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

  /// Begins an exchange. `request` stays until it is done. `description` is for messages. [wire thread]
  void start(Id id, const HttpRequest& request, const std::string& description);

  /// Exchanges that have begun and are not done. [wire thread]
  std::size_t running() const;

  /// Moves the exchanges on and calls `done` for each that ended; waits up to `patience` when there is nothing to do.
  /// [wire thread]
  void poll(std::chrono::milliseconds patience, const Done& done);

  /// Ends all exchanges without an outcome. [wire thread]
  void abandonAll();

  /// Ends the wait of `poll`. [any thread]
  void wake();

 private:
  class Exchange;
  struct FreeMulti {
    void operator()(void* multi) const;
  };

  const TransportOptions& options;
  std::unique_ptr<void, FreeMulti> multi;
  std::map<Id, std::unique_ptr<Exchange>> exchanges;
};

}  // namespace chainrunner
