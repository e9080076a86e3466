// The platform simulator: a stateful stand-in for the Marlovance platform on a loopback port, embedded in tools and
// tests or run alone.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "simulator/FaultPlan.h"
#include "simulator/Fleet.h"
#include "simulator/Journal.h"

namespace simulator {

struct Options {
  std::string address = "127.0.0.1";  ///< where to listen
  std::uint16_t port = 0;             ///< 0 takes a free one
  std::string database = ":memory:";  ///< an SQLite file, or ":memory:"
  std::string username = "fleet";     ///< basic authorisation
  std::string password = "fleet-secret";
  std::size_t bodyLimit = 16 << 20;     ///< bytes of a request's body
  std::size_t journalEntries = 20'000;  ///< requests that the journal keeps
  std::size_t journalBytes = 64 << 20;  ///< bytes of their bodies in all
  std::function<Moment()> clock{};      ///< stamps documents and the journal; empty takes the system's
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

  /// Resources in the store by kind: "managed objects", "alarms", "events", "operations", "measurements",
  /// "SMS", "e-mails".
  std::map<std::string, std::int64_t> counts() const;

  /// What was sent in the name of `sender`, such as "tel:kelvo", or by all when it is empty: JSON texts with the fields
  /// of the message, `id` and `creationTime`, oldest first.
  std::vector<std::string> smsOutbox(const std::string& sender = {}) const;
  /// The e-mails that were sent, in the same form.
  std::vector<std::string> emailOutbox() const;

  /// Stores the documents, tenant options and user of a JSON text as "POST /admin/documents" does: all or nothing,
  /// under the ids that they bear, unchecked. Throws std::runtime_error that names what is wrong.
  void load(const std::string& documents);

  /// Makes a fleet up, in one transaction. Throws std::runtime_error when there are documents but no device.
  void makeFleet(const Fleet& fleet);

  /// Requests that were answered so far, refusals included; a fault that sends no answer doesn't count.
  std::uint64_t requestsServed() const;

  /// Adds a rule behind those of the fault plan.
  void addFault(const Fault& fault);
  /// Empties the fault plan.
  void clearFaults();
  /// The rules of the fault plan in their order, with what they have hit.
  std::vector<FaultState> faults() const;

  /// The latest requests, oldest first. Requests to /admin and those that were no HTTP are not among them.
  std::vector<JournalEntry> journal() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl;
};

}  // namespace simulator
