#pragma once

#include <string>
#include <string_view>

#include "tests/unit/parsers/ParserTest.h"

namespace tests {

/// A test of times on their way to the platform.
class TimeTowardsPlatformTest : public ParserTest {
 protected:
  /// What becomes of a value, as JSON, under "dateFrom" of a query string.
  std::string converted(std::string_view value) {
    product::map_t query = mapFromJson(R"({"dateFrom": )" + std::string(value) + "}");
    time().convertQueryTime(query, product::hashed_key("dateFrom"));
    return toJson(query.at(product::hashed_key("dateFrom")));
  }

  /// The message after the conversion of its times.
  std::string convertedMessage(std::string_view metadata, std::string_view payload) {
    product::Message message = messageFromJson(metadata, payload);
    time().convertMessageTimes(message);
    return toJson(message);
  }

  /// The payload of a message without metadata, after the conversion.
  std::string convertedPayload(std::string_view payload) {
    product::Message message = messageFromJson("{}", payload);
    time().convertMessageTimes(message);
    return toJson(message.getPayload());
  }

  std::string failureOfPayload(std::string_view payload) {
    return failureOf([&] { convertedPayload(payload); });
  }
};

}  // namespace tests
