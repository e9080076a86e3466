#pragma once

#include <atomic>
#include <cstdio>
#include <string>

#include "chainrunner/RunRecord.h"
#include "chainrunner/values.h"
#include "connectivity/plugin_abi.h"
#include "connectivity/thread_annotations.h"

namespace chainrunner {

/// The host's end of the chain: writes each event as a line of JSON, {"type", "channel", "reqId", "object", "payload"}.
/// "channel" is there when the event's metadata has it, "reqId" when its metadata or else its payload has it, "object"
/// when the payload bears a name. An event that has no JSON form costs a line in the log. [any thread]
class EventSink {
 public:
  /// `out` stays the caller's and must outlive the sink, as must `record`.
  EventSink(std::FILE* out, RunRecord& record) : out(out), record(record) {}

  /// The sink as a chain element's entry point; `self` is the sink.
  static int receiveBatch(void* self, qel_message* begin, qel_message* end) noexcept;

  /// Why `out` could not be written, as an errno number; 0 when all is well.
  int writeError() const { return firstError.load(); }

 private:
  void receive(Message& event, std::string& lines);
  void write(const std::string& lines) EXCLUDES(mutex);

  std::FILE* const out;
  RunRecord& record;
  std::atomic<int> firstError{0};
  com::tallowmere::connectivity10_15_4::Mutex mutex;  ///< keeps lines whole
};

/// The line of an event, without its end. Throws std::runtime_error when the event has no JSON form. [any thread]
std::string eventLine(const Message& event);

}  // namespace chainrunner
