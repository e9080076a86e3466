// What one exchange costs the host: how many of its operations the plug-in calls on a message's way. No more strings
// and tables than a request has to have, and no hash of a ready-made key.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>

#include "tests/blackbox/BlackboxTest.h"
#include "tests/blackbox/codec_events.h"

namespace tests {
namespace {

class HostOperationsTest : public BlackboxTest {
 protected:
  HostOperationsTest() { createPlugin(); }

  /// The calls of the operations that make or hash something, while a batch of one passes.
  static std::string operations() {
    std::string text;
    for (const auto& [call, name] :
         {std::pair(HostCall::qel_hash_string, "hash"), std::pair(HostCall::qel_copy_string, "string"),
          std::pair(HostCall::qel_copy_data, "copy"), std::pair(HostCall::qel_allocate_map, "map"),
          std::pair(HostCall::qel_reallocate_map, "growth")})
      text += std::string(text.empty() ? "" : " ") + name + "=" + std::to_string(TestHost::calls(call));
    return text;
  }

  std::string operationsOfRequest(const MessageBuilder& event) {
    Batch batch({event});
    TestHost::forgetCalls();
    session->sendTowardsTransport(batch);
    return operations();
  }

  std::string operationsOfResponse(const MessageBuilder& response) {
    Batch batch({response});
    TestHost::forgetCalls();
    session->sendTowardsHost(batch);
    return operations();
  }

  std::string operationsOfPage(int elements) {
    send(
        event("com.kelvo.marlovance.FindAlarm").path("/alarm/alarms").method("GET").reqId(7).query("currentPage", "1"));
    std::string texts;
    for (int element = 0; element < elements; ++element)
      texts += std::string(element > 0 ? "," : "") + R"({"id": "1", "time": "2020-09-13T12:26:40.000Z"})";
    return operationsOfResponse(response(takeRequest().requestId())
                                    .contentType("application/vnd.com.rdx.marlovance.alarmcollection+json")
                                    .payload(R"({"alarms": [)" + texts + "]}"));
  }
};

const MessageBuilder awaited = awaitedAlarm(7).payload(R"({"source": {"id": "1"}, "type": "t", "time": 1600000000.0})");

// The copy of the request, for its record, hashes its metadata anew; nothing else is hashed.
TEST_F(HostOperationsTest, OfARequest) {
  EXPECT_EQ(operationsOfRequest(awaited), "hash=6 string=2 copy=25 map=3 growth=0");
}

TEST_F(HostOperationsTest, OfAnAcknowledgement) {
  send(awaited);
  EXPECT_EQ(operationsOfResponse(created(takeRequest().requestId()).payload(R"({"id": "1", "source": {"id": "1"},
      "time": "2020-09-13T12:26:40.000Z", "creationTime": "2020-09-13T12:26:40.000Z"})")),
            "hash=0 string=3 copy=5 map=0 growth=0");
}

// One more element costs what the element is, and not the walk around it.
TEST_F(HostOperationsTest, OfAnElementOfAPage) {
  EXPECT_EQ(operationsOfPage(1), "hash=0 string=3 copy=16 map=4 growth=1");
  EXPECT_EQ(operationsOfPage(2), "hash=0 string=3 copy=22 map=6 growth=1");
}

}  // namespace
}  // namespace tests
