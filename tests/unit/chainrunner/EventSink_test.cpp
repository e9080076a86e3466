#include "chainrunner/EventSink.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "chainrunner/json_reader.h"
#include "devhost/devhost.h"

namespace chainrunner {
namespace {

Message event(const char* metadata, const char* payload) {
  return Message(readJson(payload), std::move(readJson(metadata).get<map_t>()));
}

std::string eventLine(const Message& event) {
  std::string line;
  EventLines().append(line, event);
  return line;
}

TEST(EventLineTest, ShowsTypeChannelReqIdAndPayload) {
  EXPECT_EQ(
      eventLine(event(R"({"qel.type": "t", "qel.channel": "c", "reqId": 7, "http": {}})", R"({"b": 1, "a": 2.0})")),
      R"({"type":"t","channel":"c","reqId":7,"payload":{"a":2.0,"b":1}})");
}

TEST(EventLineTest, LeavesOutWhatTheEventHasNot) {
  EXPECT_EQ(eventLine(event(R"({"qel.type": "t"})", "null")), R"({"type":"t","payload":null})");
}

TEST(EventLineTest, ShowsTheReqIdOfThePayloadWhenTheMetadataHasNone) {
  EXPECT_EQ(eventLine(event(R"({"qel.type": "t"})", R"({"reqId": 8})")),
            R"({"type":"t","reqId":8,"payload":{"reqId":8}})");
  EXPECT_EQ(eventLine(event(R"({"qel.type": "t", "reqId": 7})", R"({"reqId": 8})")),
            R"({"type":"t","reqId":7,"payload":{"reqId":8}})");
}

TEST(EventLineTest, ShowsTheNameOfThePayload) {
  Message named = event(R"({"qel.type": "t"})", "{}");
  named.getPayload().get<map_t>().setName("com.kelvo.marlovance.Alarm");
  EXPECT_EQ(eventLine(named), R"({"type":"t","object":"com.kelvo.marlovance.Alarm","payload":{}})");
}

class EventSinkTest : public testing::Test {
 protected:
  ~EventSinkTest() override {
    std::fclose(file);
    std::free(text);
  }
  void receive(Message& message) { EXPECT_EQ(EventSink::receiveBatch(&sink, &message, &message + 1), 0); }

  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* file = open_memstream(&text, &size);
  RunRecord record;
  EventSink sink{file, record};
};

TEST_F(EventSinkTest, WritesALineAndTakesTheEvent) {
  Message message = event(R"({"qel.type": "t"})", "1");
  receive(message);
  EXPECT_STREQ(text, "{\"type\":\"t\",\"payload\":1}\n");
  EXPECT_TRUE(message.getPayload().empty());
  EXPECT_TRUE(message.getMetadataMap().empty());
  EXPECT_EQ(record.counts().eventsOut.at("t"), 1U);
}

TEST_F(EventSinkTest, WritesTheWholeLinesOfALongBatch) {
  std::vector<Message> batch;
  std::string expected;
  for (int n = 0; n < 5000; ++n) {
    batch.push_back(event(R"({"qel.type": "t"})", std::to_string(n).c_str()));
    expected += "{\"type\":\"t\",\"payload\":" + std::to_string(n) + "}\n";
  }
  EXPECT_EQ(EventSink::receiveBatch(&sink, batch.data(), batch.data() + batch.size()), 0);
  EXPECT_EQ(std::string(text, size), expected);
}

TEST_F(EventSinkTest, WritesWhatItGatheredTogether) {
  {
    const EventSink::Gathering gathering(sink);
    for (const char* number : {"1", "2"}) {
      Message message = event(R"({"qel.type": "t"})", number);
      receive(message);
    }
    std::fflush(file);
    EXPECT_EQ(size, 0U);
    EXPECT_EQ(record.counts().eventsOut.at("t"), 2U);
  }
  EXPECT_STREQ(text, "{\"type\":\"t\",\"payload\":1}\n{\"type\":\"t\",\"payload\":2}\n");
}

TEST_F(EventSinkTest, WritesWhatHasPiledUpDuringALongGathering) {
  const EventSink::Gathering gathering(sink);
  Message message = event(R"({"qel.type": "t"})", ('"' + std::string(65536, 'x') + '"').c_str());
  receive(message);
  EXPECT_EQ(std::string(text, size), "{\"type\":\"t\",\"payload\":\"" + std::string(65536, 'x') + "\"}\n");
}

TEST_F(EventSinkTest, WritesWhatItGatheredWhenItIsTold) {
  const EventSink::Gathering gathering(sink);
  Message message = event(R"({"qel.type": "t"})", "1");
  receive(message);
  sink.flush();
  EXPECT_STREQ(text, "{\"type\":\"t\",\"payload\":1}\n");
}

TEST_F(EventSinkTest, WritesAtOnceWhenAGatheringIsOver) {
  { const EventSink::Gathering gathering(sink); }
  Message message = event(R"({"qel.type": "t"})", "1");
  receive(message);
  EXPECT_STREQ(text, "{\"type\":\"t\",\"payload\":1}\n");
}

TEST_F(EventSinkTest, KeepsTheLinesOfTwoThreadsWhole) {
  constexpr int rounds = 500;
  const auto send = [&](const char* type, bool gathers) {
    for (int n = 0; n < rounds; ++n) {
      std::optional<EventSink::Gathering> gathering;
      if (gathers) gathering.emplace(sink);
      Message message = event((R"({"qel.type": ")" + std::string(type) + "\"}").c_str(), "1");
      receive(message);
    }
  };
  std::thread gatherer(send, "gathered", true);
  send("alone", false);
  gatherer.join();
  std::istringstream lines(std::string(text, size));
  std::map<std::string, int> counts;
  for (std::string line; std::getline(lines, line);) ++counts[line];
  EXPECT_EQ(counts, (std::map<std::string, int>{{R"({"type":"alone","payload":1})", rounds},
                                                {R"({"type":"gathered","payload":1})", rounds}}));
}

TEST_F(EventSinkTest, CallsAnEventWithoutATypeNone) {
  Message message = event(R"({"qel.type": 5})", "1");
  receive(message);
  EXPECT_STREQ(text, "{\"type\":\"(none)\",\"payload\":1}\n");
}

TEST_F(EventSinkTest, AcceptsAnEmptyBatch) {
  EXPECT_EQ(EventSink::receiveBatch(&sink, nullptr, nullptr), 0);
}

TEST_F(EventSinkTest, LogsAnEventThatHasNoJsonForm) {
  std::vector<std::string> lines;
  devhost::setLogSink([&](const devhost::LogLine& line) { lines.push_back(line.text); });
  Message bad = event(R"({"qel.type": "t"})", "1");
  bad.setPayload(data_t(std::nan("")));
  receive(bad);
  Message good = event(R"({"qel.type": "t"})", "2");
  receive(good);
  devhost::setLogSink({});
  EXPECT_EQ(lines, std::vector<std::string>{
                       "An event of type t can't be written: A number that is not finite has no JSON form"});
  EXPECT_STREQ(text, "{\"type\":\"t\",\"payload\":2}\n");
}

TEST(EventSinkFailureTest, RemembersThatTheOutputFails) {
  std::FILE* full = std::fopen("/dev/full", "w");
  RunRecord record;
  EventSink sink(full, record);
  Message message = event(R"({"qel.type": "t"})", "1");
  EXPECT_EQ(EventSink::receiveBatch(&sink, &message, &message + 1), 0);
  EXPECT_EQ(sink.writeError(), ENOSPC);
  std::fclose(full);
}

}  // namespace
}  // namespace chainrunner
