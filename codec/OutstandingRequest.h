#pragma once

#include "connectivity/Message.h"

namespace com::tallowmere::connectivity::plugins {

using namespace com::tallowmere::connectivity10_15_4;

class Handler;

/// The record of a request in flight: the request as it was when it was recorded, and who handles it.
///
/// A request ends where its record does. The record of a response is taken out of the table and dies when the response
/// has been handled, however that went; its destructor then runs the handler's finishing step. A query that goes on
/// hands the record's own message to the transport, which takes its contents: the emptied record finishes nothing, and
/// the query lives on in the record of its next page.
class OutstandingRequest : public Message {
 public:
  /// Takes the message over. `handler` must outlive the record.
  OutstandingRequest(Message&& request, Handler& handler) noexcept : Message(std::move(request)), handler(&handler) {}
  OutstandingRequest(OutstandingRequest&&) noexcept = default;
  OutstandingRequest& operator=(OutstandingRequest&&) = delete;

  /// Runs `handler->finishedHandling` unless the message is empty. Lets nothing out: a failure is one error line
  /// "Exception during finishedHandling in OutstandingRequest finalization: TEXT".
  ~OutstandingRequest();

  Handler& getHandler() const noexcept { return *handler; }

 private:
  Handler* handler;
};

}  // namespace com::tallowmere::connectivity::plugins
