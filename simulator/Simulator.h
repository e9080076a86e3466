// The platform simulator: a stateful stand-in for the Marlovance platform on a loopback port, embedded in tools and
// tests or run alone.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace simulator {

struct Options {
  std::string address = "127.0.0.1";    ///< where to listen
  std::uint16_t port = 0;               ///< 0 takes a free one
  std::string database = ":memory:";    ///< an SQLite file, or ":memory:"
  std::string username = "fleet";       ///< basic authorisation
  std::string password = "fleet-secret";
};

/// Serves from construction to destruction, on threads of its own. [any thread]
class Simulator {
 public:
  /// Starts listening. Throws std::runtime_error that names the address or the database when it can't.
  explicit Simulator(const Options& options);
  ~Simulator();
  Simulator(const Simulator&) = delete;
  Simulator& operator=(const Simulator&) = delete;

  /// The address as "http://127.0.0.1:PORT", without a slash at the end.
  std::string url() const;

  /// Resources in the store by kind: "managed objects", "alarms", "events", "operations".
  std::map<std::string, std::int64_t> counts() const;

  /// Requests that were answered so far.
  std::uint64_t requestsServed() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl;
};

}  // namespace simulator
