// Both directions at once, as the codec's two threads drive them: for the thread sanitizer, and for formatters that
// would give wrong texts and numbers if they were shared.
#include <thread>

#include "tests/unit/handlers/HandlerFixture.h"

namespace tests {
namespace {

constexpr std::int64_t exchanges = 1000;

class DirectionsTest : public HandlerFixture {
 protected:
  DirectionsTest() {
    TestHost::setLogLevel(warnLevel);
    environment.set("TZ", "Europe/Berlin");
    configure("{}");
    use("Alarm");
  }

  /// An alarm whose second of the epoch is its number.
  MessageBuilder alarm(std::int64_t number) const {
    return event("/alarm/alarms")
        .reqId(number)
        .requiresResponse()
        .payload(R"({"time": )" + std::to_string(1600000000 + number) + ".0}");
  }

  static MessageBuilder answer(std::int64_t number) {
    const std::int64_t second = number % 60;
    return response(number)
        .status(201)
        .contentType("application/json")
        .payload(R"({"time": "2020-09-13T12:26:)" + std::string(second < 10 ? "0" : "") + std::to_string(second) +
                 R"(.000Z"})");
  }
};

TEST_F(DirectionsTest, DoNotDisturbEachOther) {
  for (std::int64_t number = 0; number < exchanges; ++number) send(alarm(number));
  std::thread responses([this] {
    for (std::int64_t number = 0; number < exchanges; ++number) respond(answer(number));
  });
  for (std::int64_t number = 0; number < exchanges; ++number) send(alarm(number));
  responses.join();

  const std::vector<Received> requests = parts->transport.takeAll();
  ASSERT_EQ(requests.size(), std::size_t{2 * exchanges});
  for (std::size_t number = 0; number < std::size_t{exchanges}; ++number)
    ASSERT_EQ(requests[number].payload(), requests[number + exchanges].payload());

  const std::vector<Received> events = takeHostEvents();
  ASSERT_EQ(events.size(), std::size_t{exchanges});
  for (std::int64_t number = 0; number < exchanges; ++number) {
    const Received& event = events[static_cast<std::size_t>(number)];
    ASSERT_EQ(event.metadata("reqId"), std::to_string(number));
    ASSERT_EQ(event.payload(), json(R"({"$name": "com.kelvo.marlovance.Alarm", "$map": {"time": )" +
                                    std::to_string(1599999960 + number % 60) + ".0}}"));
  }
}

TEST_F(DirectionsTest, ShareThePresent) {
  std::thread other([this] {
    for (int round = 0; round < 1000; ++round) ASSERT_EQ(parts->time.formatNow().size(), 24u);
  });
  for (int round = 0; round < 1000; ++round) ASSERT_EQ(parts->time.formatNow().size(), 24u);
  other.join();
}

}  // namespace
}  // namespace tests
