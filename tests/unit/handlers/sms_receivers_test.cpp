// Receivers of an SMS that answer on another thread, in any order, while the requests to others are still going out.
#include <set>

#include "tests/unit/handlers/HandlerFixture.h"
#include "tests/unit/handlers/ShufflingThread.h"

namespace tests {
namespace {

class SmsReceiversTest : public HandlerFixture, public testing::WithParamInterface<int> {
 protected:
  SmsReceiversTest() {
    TestHost::setLogLevel(warnLevel);
    // Each batch counts as long-running, so that its end is one line; no request does.
    configure(R"({"batchLatencySecsThreshold": 1, "latencySecsLogThreshold": 0})");
    use("SendSMS");
  }

  MessageBuilder smsToAll() const {
    std::string list;
    for (int number = 1; number <= GetParam(); ++number) list += (list.empty() ? "" : ", ") + std::to_string(number);
    return event("/sms/outbound").method("POST").payload(R"({"message": "hello", "address": [)" + list + "]}");
  }
};

TEST_P(SmsReceiversTest, EndTheirEventOnceInAnyOrder) {
  constexpr int events = 40;
  TestHost::advanceAtEachReading(2.0);
  {
    ShufflingThread platform(7);
    parts->transport.onMessage = [&](const Received& request) {
      const std::int64_t id = request.requestId();
      const std::int64_t status = id % 10 == 3 ? 500 : 201;
      platform.post([this, id, status] { respond(response(id).status(status).payload("{}")); });
    };
    for (int number = 0; number < events; ++number) send(smsToAll());
  }
  TestHost::advanceAtEachReading(0.0);
  parts->transport.onMessage = nullptr;

  std::set<std::string> ended;
  const Texts lines = takeLogs(warnLevel);
  for (const std::string& line : lines) ended.insert(line.substr(0, line.find(" \"")));
  std::set<std::string> expected;
  for (int number = 1; number <= events; ++number)
    expected.insert("Long running batch: batch " + std::to_string(number));
  EXPECT_EQ(ended, expected);
  EXPECT_EQ(lines.size(), expected.size());

  const std::size_t requests = static_cast<std::size_t>(events * GetParam());
  EXPECT_EQ(parts->transport.takeAll().size(), requests);
  EXPECT_EQ(takeHostEvents().size(), (requests + 6) / 10);
  EXPECT_EQ(parts->outstanding.size(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Receivers, SmsReceiversTest, testing::Values(1, 2, 50));

}  // namespace
}  // namespace tests
