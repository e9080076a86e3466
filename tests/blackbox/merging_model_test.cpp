// Random batches of host events beside a simple model of what becomes of them: which measurements are merged into one
// request, what goes out by itself, what goes nowhere, and all in the order of the events.
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <ostream>
#include <string>
#include <vector>

#include "tests/blackbox/BlackboxTest.h"

namespace tests {
namespace {

/// What an event is. Only the first kind is merged; those from `update` on are refused.
enum class Kind { measurement, awaited, alarm, fragment, sms, control, update, noMap, badFragment, unknownType };

std::ostream& operator<<(std::ostream& out, Kind kind) {
  static constexpr const char* names[] = {"measurement", "awaited", "alarm", "fragment",    "sms",
                                          "control",     "update",  "noMap", "badFragment", "unknownType"};
  return out << names[static_cast<int>(kind)];
}

rc::Gen<Kind> anyKind() {
  return rc::gen::weightedElement<Kind>({{12, Kind::measurement},
                                         {3, Kind::awaited},
                                         {3, Kind::alarm},
                                         {2, Kind::fragment},
                                         {2, Kind::sms},
                                         {2, Kind::control},
                                         {1, Kind::update},
                                         {1, Kind::noMap},
                                         {1, Kind::badFragment},
                                         {1, Kind::unknownType}});
}

using Batches = std::vector<std::vector<Kind>>;

/// The event of a kind; `number` tells it from all others.
MessageBuilder eventOf(Kind kind, int number) {
  const std::string n = R"("n": )" + std::to_string(number);
  const auto of = [](const char* type) {
    return event(std::string("com.kelvo.marlovance.") + type).path("/some/path");
  };
  switch (kind) {
    case Kind::measurement:
      return of("Measurement").payload("{" + n + R"(, "measurements": {"f": {"s": {"value": 1, "unit": ""}}}})");
    case Kind::awaited:
      return of("Measurement").requiresResponse().reqId(number).payload("{" + n + "}");
    case Kind::alarm:
      return of("Alarm").payload("{" + n + "}");
    case Kind::fragment:
      return of("MeasurementFragment").payload("{" + n + R"(, "valueFragment": "f", "valueSeries": "s"})");
    case Kind::sms:
      return of("SendSMS").payload("{" + n + R"(, "message": "m", "address": ["1", "2"], "senderName": ""})");
    case Kind::control:
      return controlObject();
    case Kind::update:
      return of("Measurement").payload("{" + n + R"(, "id": "5"})");
    case Kind::noMap:
      return of("Measurement").payload("5");
    case Kind::badFragment:
      return of("MeasurementFragment").payload("{" + n + "}");
    case Kind::unknownType:
      return of("Nothing").payload("{" + n + "}");
  }
  return {};
}

/// What reaches the neighbours: each request as number of merged events and body, and how many Error events.
struct Outcome {
  Texts requests;
  std::size_t errors = 0;

  bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  for (const std::string& request : outcome.requests) out << request << "\n";
  return out << outcome.errors << " errors";
}

class Model {
 public:
  explicit Model(int maxBatchSize) : maxBatchSize(maxBatchSize) {}

  void send(const std::vector<Kind>& batch) {
    for (const Kind kind : batch) take(kind, next++);
    flush();
  }

  Outcome outcome;

 private:
  void take(Kind kind, int number) {
    const std::string n = R"("n": )" + std::to_string(number);
    switch (kind) {
      case Kind::measurement:
        merged += (merged.empty() ? "{" : ", {") + n + R"(, "f": {"s": {"value": 1}}})";
        if (++count == maxBatchSize) flush();
        return;
      case Kind::awaited:
      case Kind::alarm:
        return alone("{" + n + "}");
      case Kind::fragment:
        return alone("{" + n + R"(, "f": {"s": {}}})");
      case Kind::sms:
        for (const char* address : {"tel:1", "tel:2"})
          alone(R"({"outboundSMSMessageRequest": {"outboundSMSTextMessage": {"message": "m"}, "senderName": "",
                    "senderAddress": "tel:kelvo", "address": [)" +
                tests::quoted(address) + "], " + n + "}}");
        return;
      case Kind::control:
        return alone("null");
      case Kind::unknownType:
        return;
      case Kind::update:
      case Kind::noMap:
      case Kind::badFragment:
        ++outcome.errors;
        return;
    }
  }

  void alone(const std::string& body) {
    flush();
    outcome.requests.push_back("absent " + json(body));
  }

  void flush() {
    if (count > 0)
      outcome.requests.push_back(std::to_string(count) + " " + json(R"({"measurements": [)" + merged + "]}"));
    merged.clear();
    count = 0;
  }

  int maxBatchSize;
  std::string merged;
  int count = 0;
  int next = 0;
};

class MergingModelTest : public BlackboxTest {
 protected:
  /// What a fresh plug-in makes of the batches.
  Outcome play(const Batches& batches, int maxBatchSize) {
    session = std::make_unique<Session>();
    createPlugin(R"({"username": "user", "password": "secret", "maxBatchSize": )" + std::to_string(maxBatchSize) + "}");
    int number = 0;
    for (const std::vector<Kind>& batch : batches) {
      std::vector<MessageBuilder> events;
      for (const Kind kind : batch) events.push_back(eventOf(kind, number++));
      RC_ASSERT(send(events) == 0);
    }
    Outcome outcome;
    std::int64_t nextId = 0;
    for (const Received& request : takeRequests()) {
      outcome.requests.push_back(request.metadata("batchedMessagesCount") + " " + request.payload());
      if (request.metadata("requestId") != "absent") RC_ASSERT(request.requestId() == nextId++);
    }
    outcome.errors = takeHostEvents().size();
    RC_ASSERT(session->destroy() == 0);
    TestHost::drain();
    return outcome;
  }
};

TEST_F(MergingModelTest, SendsTheRequestsThatTheModelSays) {
  EXPECT_TRUE(rc::check("requests are those of the model", [this] {
    const int maxBatchSize = *rc::gen::element(-1, 0, 1, 2, 3, 7);
    const Batches batches =
        *rc::gen::scale(0.3, rc::gen::container<Batches>(rc::gen::container<std::vector<Kind>>(anyKind())));
    Model model(maxBatchSize);
    for (const std::vector<Kind>& batch : batches) model.send(batch);
    RC_ASSERT(play(batches, maxBatchSize) == model.outcome);
  }));
}

}  // namespace
}  // namespace tests
