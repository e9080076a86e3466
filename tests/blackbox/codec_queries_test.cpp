// Queries on their way through the codec: which events each type yields, and how a walk over pages is tracked.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/blackbox/BlackboxTest.h"
#include "tests/blackbox/DeliveryThread.h"
#include "tests/blackbox/codec_events.h"

namespace tests {
namespace {

constexpr const char* collection = "application/vnd.com.rdx.marlovance.alarmcollection+json";

/// A page of `elements` objects with ids from `firstId`.
MessageBuilder page(std::int64_t requestId, int elements, int currentPage, int totalPages, int firstId = 1) {
  std::string list;
  for (int id = firstId; id < firstId + elements; ++id)
    list += (list.empty() ? "" : ", ") + (R"({"id": ")" + std::to_string(id) + R"("})");
  return response(requestId)
      .contentType(collection)
      .payload(R"({"elements": [)" + list + R"(], "statistics": {"currentPage": )" + std::to_string(currentPage) +
               R"(, "totalPages": )" + std::to_string(totalPages) + "}}");
}

MessageBuilder query(const std::string& type, int reqId = 7) {
  return event(type).method("GET").path("/some/things").http("queryString", "{}").reqId(reqId).payload("{}");
}

// Which events a query yields

struct FindCase {
  const char* type;
  const char* responseType;
  const char* completionType;
  const char* channel;
  const char* bodyKey;
};

void PrintTo(const FindCase& each, std::ostream* out) {
  *out << each.type;
}

class FindTypesTest : public BlackboxTest, public testing::WithParamInterface<FindCase> {
 protected:
  std::string named(const char* type) const { return std::string("com.kelvo.marlovance.") + type; }
};

TEST_P(FindTypesTest, AnswerWithTheirEventsOnTheirChannel) {
  createPlugin(R"({"username": "u", "password": "p", "queryResponsesChannelPrefix": "q.",
                   "genericResponseBodyMap": "content"})");
  send(query(named(GetParam().type)).metadata("isPaging", "true"));
  takeRequest();
  respond(page(0, 2, 1, 1));

  const std::vector<Received> events = takeHostEvents();
  EXPECT_EQ(types(events),
            (Texts{named(GetParam().responseType), named(GetParam().responseType), named(GetParam().completionType)}));
  for (const Received& event : events)
    EXPECT_EQ(event.metadata("qel.channel"), tests::quoted(std::string("q.") + GetParam().channel));
  const auto& body = events.at(1).document.at("payload").as_object();
  ASSERT_TRUE(body.contains(GetParam().bodyKey)) << events.at(1).payload();
  EXPECT_EQ(textOf(body.at(GetParam().bodyKey).at("id")), R"("2")");
}

INSTANTIATE_TEST_SUITE_P(
    Rows, FindTypesTest,
    testing::Values(
        FindCase{"FindManagedObject", "FindManagedObjectResponse", "FindManagedObjectResponseAck",
                 "marlovance.finddevice.response", "managedObject"},
        FindCase{"FindMeasurement", "FindMeasurementResponse", "FindMeasurementResponseAck",
                 "marlovance.findmeasurement.response", "measurement"},
        FindCase{"FindAlarm", "FindAlarmResponse", "FindAlarmResponseAck", "marlovance.findalarm.response", "alarm"},
        FindCase{"FindEvent", "FindEventResponse", "FindEventResponseAck", "marlovance.findevent.response", "evt"},
        FindCase{"FindOperation", "FindOperationResponse", "FindOperationResponseAck",
                 "marlovance.findoperation.response", "operation"},
        FindCase{"GenericRequest", "GenericResponse", "GenericResponseComplete", "marlovance.generic.response",
                 "content"}),
    [](const auto& row) { return row.param.type; });

// How a walk is tracked

class CodecQueriesTest : public BlackboxTest {
 protected:
  static constexpr const char* findAlarm = "com.kelvo.marlovance.FindAlarm";
  static constexpr const char* answered = "com.kelvo.marlovance.FindAlarmResponse";
  static constexpr const char* completed = "com.kelvo.marlovance.FindAlarmResponseAck";

  /// A query whose pages hold `pageSize` elements.
  static MessageBuilder alarms(int pageSize = 60, int reqId = 7) {
    return query(findAlarm, reqId).query("pageSize", std::to_string(pageSize));
  }

  static constexpr const char* plain =
      R"({"username": "user", "password": "secret", "latencySecsSlowThreshold": 0, "latencySecsLogThreshold": 0,
          "batchLatencySecsThreshold": 0})";
};

TEST_F(CodecQueriesTest, YieldTheDevicesThemselvesWhenAllAreRequested) {
  send(query("com.kelvo.marlovance.RequestAllDevices").responseChannel("devices"));
  respond(page(0, 1, 1, 1));
  const std::vector<Received> events = takeHostEvents();
  EXPECT_EQ(types(events),
            (Texts{"com.kelvo.marlovance.ManagedObject", "com.kelvo.marlovance.RequestAllDevicesComplete"}));
  EXPECT_EQ(events.at(0).metadata("qel.channel"), R"("devices")");
  EXPECT_EQ(textOf(events.at(0).document.at("payload").at("id")), R"("1")");
}

TEST_F(CodecQueriesTest, HaveARequestIdPerPageAndOneRequestNumber) {
  send(alarms());
  TestHost::advanceClock(1.5);
  respond(page(0, 60, 1, 2));
  Texts stamps;
  for (const Received& request : takeRequests())
    stamps.push_back(request.metadata("requestId") + " " + request.metadata("metrics"));
  EXPECT_EQ(stamps, (Texts{R"(0 {"batchNo":1,"batchStartTime":1000.0,"individualStartTime":1000.0,"requestNo":0})",
                           R"(1 {"batchNo":1,"batchStartTime":1000.0,"individualStartTime":1001.5,"requestNo":0})"}));
}

TEST_F(CodecQueriesTest, EndOnceWithTheirLastPage) {
  createPlugin(plain);
  send(alarms());
  Texts seen;
  for (int number = 0; number < 3; ++number) {
    TestHost::advanceClock(1.0);
    respond(page(number, number == 2 ? 1 : 60, number + 1, 3));
    const std::vector<Received> events = takeHostEvents();
    seen.push_back(std::to_string(events.size()) + " " + events.back().type() + " " +
                   TestHost::statusItems().at("c1.MarlovanceCodec.maxLatencyInLastHourMillis") + " " +
                   TestHost::statusItems().at("c1.MarlovanceCodec.requestLatencyEWMAShortMillis"));
  }
  EXPECT_EQ(seen, (Texts{std::string("60 ") + answered + " 1000 0", std::string("60 ") + answered + " 2000 0",
                         std::string("2 ") + completed + " 3000 3000"}));
  EXPECT_EQ(session->destroy(), 0);
  EXPECT_EQ(TestHost::drain().size(), 0u);
}

TEST_F(CodecQueriesTest, EndOnceWithThePluginWhenAPageNeverComes) {
  createPlugin(plain);
  send(alarms());
  respond(page(0, 60, 1, 2));
  takeHostEvents();
  EXPECT_EQ(session->destroy(), 0);
  EXPECT_EQ(types(takeHostEvents()), Texts{completed});
}

TEST_F(CodecQueriesTest, AskForNoOrderAmongThemselves) {
  createPlugin(R"({"username": "user", "password": "secret", "concurrencyMode": "auto"})");
  send({alarms(), alarm(), alarms(), alarms()});
  Texts flushes;
  for (const Received& request : takeRequests()) flushes.push_back(request.metadata("concurrencyControlFlush"));
  EXPECT_EQ(flushes, (Texts{"absent", "true", "true", "absent"}));
}

TEST_F(CodecQueriesTest, AreReportedWhileTheyKeepThePlatformBusy) {
  send(alarms());
  const auto sentAt = [](const char* seconds, MessageBuilder answer) {
    return answer.metadata("requestSentTime", seconds);
  };
  TestHost::advanceClock(12.0);
  respond(sentAt("1001.0", page(0, 60, 1, 3)));
  EXPECT_EQ(takeLogs(warnLevel).size(), 1u);
  TestHost::advanceClock(31.0);
  respond(sentAt("1013.0", page(1, 60, 2, 3)));
  const Texts progress = takeLogs(warnLevel);
  ASSERT_EQ(progress.size(), 1u);
  const std::string head =
      "Long running query in-progress: request 0 in batch 1 has been running for 43.000000 seconds (of which 1.000000 "
      "seconds was queue time), with currentPage=2, totalPages=3, pageSize=60, requestDetails=\"GET /some/things?";
  EXPECT_EQ(progress[0].substr(0, head.size()), head);
  TestHost::advanceClock(1.0);
  respond(sentAt("1043.0", page(2, 1, 3, 3)));
  const Texts end = takeLogs(warnLevel);
  ASSERT_EQ(end.size(), 1u);
  EXPECT_TRUE(end[0].starts_with(R"(Long running query completed: request 0 "GET /some/things?)")) << end[0];
  EXPECT_TRUE(end[0].ends_with(R"(" completed after 44.000000 seconds)")) << end[0];
}

TEST_F(CodecQueriesTest, TellHowManyPagesAreLeftOfAWalkById) {
  send(alarms(60).query("q", "type eq 'x'"));
  respond(page(0, 60, 1, 5));
  TestHost::advanceClock(12.0);
  takeLogs(warnLevel);
  respond(page(1, 60, 1, 4, 61).metadata("requestSentTime", "1000.0"));
  const Texts lines = takeLogs(warnLevel);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(
      lines[0].ends_with(" (of which 0.000000 seconds was queue time), with pagesLeft=5, totalPages=5 and "
                         "pageSize=60"))
      << lines[0];
}

TEST_F(CodecQueriesTest, HoldWhileBothThreadsSend) {
  createPlugin(R"({"username": "user", "password": "secret", "latencySecsLogThreshold": 0,
                   "batchLatencySecsThreshold": 1, "concurrencyMode": "auto"})");
  constexpr int batches = 100, pages = 3;
  TestHost::advanceAtEachReading(2.0);
  {
    DeliveryThread delivery;
    session->transport.onMessage = [&](const Received& request) {
      if (request.type() != findAlarm) return delivery.post([this, id = request.requestId()] { respond(created(id)); });
      const boost::json::value* asked =
          request.document.at("metadata").at("http").at("queryString").as_object().if_contains("currentPage");
      const int number = asked ? static_cast<int>(asked->as_int64()) : 1;
      delivery.post([this, number, id = request.requestId()] { respond(page(id, 51, number, pages)); });
    };
    for (int batch = 0; batch < batches; ++batch) EXPECT_EQ(send({alarms(51, batch), alarm(), alarms(51, batch)}), 0);
    delivery.drain();
  }
  TestHost::advanceAtEachReading(0.0);

  EXPECT_EQ(takeRequests().size(), static_cast<std::size_t>(batches * (2 * pages + 1)));
  std::size_t elements = 0, ends = 0;
  for (const Received& event : takeHostEvents()) ++(event.type() == completed ? ends : elements);
  EXPECT_EQ(ends, static_cast<std::size_t>(batches * 2));
  EXPECT_EQ(elements, static_cast<std::size_t>(batches * 2 * pages * 51));
  EXPECT_EQ(takeLogs(warnLevel).size(), static_cast<std::size_t>(batches));
  EXPECT_EQ(session->destroy(), 0);
  EXPECT_EQ(takeHostEvents().size(), 0u);
}

}  // namespace
}  // namespace tests
