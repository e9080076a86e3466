#pragma once

#include <atomic>
#include <cstdio>
#include <string>
#include <string_view>

#include "chainrunner/RunRecord.h"
#include "chainrunner/values.h"
#include "connectivity/plugin_abi.h"
#include "connectivity/thread_annotations.h"

namespace chainrunner {

/// Makes the lines of events: {"type", "channel", "reqId", "object", "payload"}. "channel" is there when the event's
/// metadata has it, "reqId" when its metadata or else its payload has it, "object" when the payload bears a name.
/// Read-only. [any thread]
class EventLines {
 public:
  /// The event's type, or "(none)". It lies in the event.
  std::string_view typeOf(const Message& event) const;

  /// Appends the line of an event, without its end. Throws std::runtime_error when the event has no JSON form; part of
  /// the line may be there then.
  void append(std::string& out, const Message& event) const;

 private:
  const data_t* reqIdOf(const Message& event) const;

  const hashed_key type{HOST_MESSAGE_TYPE}, channel{HOST_MESSAGE_CHANNEL}, reqId{"reqId"};
};

/// The host's end of the chain: writes each event as a line. An event that has no JSON form costs a line in the log.
/// Lines are written when they come, or together at the end of a gathering. [any thread]
class EventSink {
 public:
  /// `out` stays the caller's and must outlive the sink, as must `record`.
  EventSink(std::FILE* out, RunRecord& record) : out(out), record(record) {}

  /// While it lives more events are about to come, and lines may wait for each other; its end writes them all. Make it
  /// around what delivers without waiting for anything. [one thread]
  class Gathering {
   public:
    explicit Gathering(EventSink& sink) : sink(sink) { ++sink.gatherings; }
    Gathering(const Gathering&) = delete;
    Gathering& operator=(const Gathering&) = delete;
    ~Gathering() {
      --sink.gatherings;
      sink.flush();
    }

   private:
    EventSink& sink;
  };

  /// The sink as a chain element's entry point; `self` is the sink.
  static int receiveBatch(void* self, qel_message* begin, qel_message* end) noexcept;

  /// Writes what has been gathered so far.
  void flush() noexcept EXCLUDES(mutex);

  /// Why `out` could not be written, as an errno number; 0 when all is well.
  int writeError() const { return firstError.load(); }

 private:
  void receiveAll(Message* begin, Message* end) EXCLUDES(mutex);
  void receive(Message& event) REQUIRES(mutex);
  void write() REQUIRES(mutex);

  std::FILE* const out;
  RunRecord& record;
  const EventLines lineOf;
  std::atomic<int> firstError{0};
  std::atomic<int> gatherings{0};
  com::tallowmere::connectivity10_15_4::Mutex mutex;  ///< keeps lines whole
  std::string lines GUARDED_BY(mutex);                ///< that have not been written
  std::string lastType GUARDED_BY(mutex);
};

}  // namespace chainrunner
