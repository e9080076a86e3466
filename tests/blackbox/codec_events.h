// Events and answers that the tests of the codec's flows share.
#pragma once

#include <cstdint>
#include <string>

#include "tests/support/messages.h"

namespace tests {

/// An alarm that becomes a POST.
inline MessageBuilder alarm() {
  return event("com.kelvo.marlovance.Alarm").path("/alarm/alarms").payload(R"({"text": "hot"})");
}

/// One whose answer the application awaits.
inline MessageBuilder awaitedAlarm(std::int64_t reqId) {
  return alarm().reqId(reqId).requiresResponse();
}

/// An alarm that the codec refuses, and the text with which it does.
inline MessageBuilder alarmWithoutBody() {
  return event("com.kelvo.marlovance.Alarm");
}
inline constexpr const char* refusal =
    "Dropping [{qel.type:com.kelvo.marlovance.Alarm} / (null)] as payload is not a map";

/// The platform's answer to a creation.
inline MessageBuilder created(std::int64_t requestId) {
  return response(requestId).status(201).reason("Created").contentType("application/json").payload(R"({"id": "1"})");
}

/// An answer that has nothing but its id, and so always the same text.
inline MessageBuilder bareResponse(std::int64_t requestId) {
  return response(requestId).without("requestSentTime").without("http");
}

/// The event that tells the host of a message that was lost.
inline std::string errorEvent(const std::string& text) {
  return json(R"({"metadata": {"qel.type": "com.kelvo.marlovance.Error"}, "payload": {"message": )" +
              tests::quoted(text) + "}}");
}

}  // namespace tests
