#pragma once

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "chainrunner/ChainFile.h"
#include "chainrunner/EventSink.h"
#include "chainrunner/HttpTransport.h"
#include "chainrunner/PluginObject.h"
#include "chainrunner/RunRecord.h"
#include "chainrunner/credentials.h"

namespace chainrunner {

/// A chain in this process: events come in through `send`, pass the plug-in and become HTTP requests; answers come back
/// through the plug-in and leave as events at the sink.
class Chain {
 public:
  /// Creates and starts the plug-in between sink and transport. `file.transport.platform` is as `checkedPlatform` gives
  /// it. All arguments but the credentials must outlive the chain. Throws PluginError.
  Chain(const PluginLibrary& library, const ChainFile& file, const Credentials& credentials, std::FILE* out,
        RunRecord& record);

  /// Shuts the plug-in down and destroys it. Answers that have not been delivered are lost: call `waitUntilIdle` first.
  ~Chain();
  Chain(const Chain&) = delete;
  Chain& operator=(const Chain&) = delete;

  /// Sends a batch of events and leaves it empty. Waits while too many requests are in flight. [one thread]
  void send(std::vector<Message>& events);

  /// Waits until all that was sent has its outcome. [thread of `send`]
  void waitUntilIdle() { transport.waitUntilIdle(); }

  /// Requests whose answers have not been delivered. [any thread]
  std::size_t inFlight() const { return transport.inFlight(); }

  /// The queries that are under way from page to page. [any thread]
  std::vector<WalkProgress> walksInProgress() const { return transport.walksInProgress(); }

  /// Gives every request that has no answer an error answer, now and from now on. [any thread]
  void cancel() { transport.cancel(); }

  /// Why the sink could not write, as an errno number; 0 when all is well. [any thread]
  int writeError() const { return sink.writeError(); }

 private:
  void deliver(Message& answer);
  static int passOn(void* self, qel_message* begin, qel_message* end) noexcept;

  EventSink sink;
  std::optional<EventSink::Gathering> gathering;  ///< of the answers at hand; of the delivery thread
  HttpTransport transport;
  PluginObject plugin;
};

}  // namespace chainrunner
