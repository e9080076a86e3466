#pragma once

#include "handlers/MessagingHandler.h"

namespace com::tallowmere::connectivity::plugins {

/// Sends one e-mail per event.
class SendEmailHandler final : public MessagingHandler {
 public:
  explicit SendEmailHandler(const HandlerServices& services)
      : MessagingHandler(services, "An error occurred in email handling") {}

  // Handler

  /// Throws also `DropMessage` "receiver address is not provided".
  void handleRequest(Message& event, BatchSender& batch) override;

 private:
  void checkReceivers(const Message& event) const;
};

}  // namespace com::tallowmere::connectivity::plugins
