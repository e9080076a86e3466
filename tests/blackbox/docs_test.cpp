// The tables of the documentation against the library: what they name is what there is.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/blackbox/BlackboxTest.h"

namespace tests {
namespace {

using Row = std::vector<std::string>;

std::string trimmed(const std::string& text) {
  const std::size_t begin = text.find_first_not_of(' ');
  return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

/// The text without the backquotes around it.
std::string plain(const std::string& cell) {
  return cell.size() >= 2 && cell.front() == '`' && cell.back() == '`' ? cell.substr(1, cell.size() - 2) : cell;
}

/// The rows of the first table whose head begins with the given cell.
std::vector<Row> tableOf(const std::string& file, const std::string& firstHead) {
  std::ifstream in(std::string(DOCS_FOLDER) + "/" + file);
  if (!in) throw std::runtime_error("can't read " + file);
  std::vector<Row> rows;
  bool inside = false;
  for (std::string line; std::getline(in, line);) {
    const bool isRow = !line.empty() && line.front() == '|';
    if (inside && !isRow) break;
    if (!isRow) continue;
    Row row;
    std::istringstream cells(line.substr(1));
    for (std::string cell; std::getline(cells, cell, '|');) row.push_back(trimmed(cell));
    if (inside && row.at(0).find("---") != 0)
      rows.push_back(row);
    else if (row.at(0) == firstHead)
      inside = true;
  }
  return rows;
}

std::string wholeText(const std::string& file) {
  std::ifstream in(std::string(DOCS_FOLDER) + "/" + file);
  if (!in) throw std::runtime_error("can't read " + file);
  return {std::istreambuf_iterator<char>(in), {}};
}

const std::string vendor = "com.kelvo.marlovance.";

/// Events that the plug-in refuses, by the reason that it gives.
std::map<std::string, std::vector<MessageBuilder>> refusedEvents() {
  const auto named = [](const char* type) { return event(vendor + type).path("/p"); };
  const char* sms = R"({"message": "m", "address": ["1"]})";
  return {
      {"payload is not a map",
       {named("ManagedObject").payload("1"), named("Alarm").payload("1"), named("Event").payload("1"),
        named("Operation").payload("1"), named("Measurement").payload("1"), named("MeasurementFragment").payload("1"),
        named("SendSMS").payload("1"), named("SendEmail").payload("1")}},
      {"metadata does not have an HTTP mapping",
       {event(vendor + "Alarm").payload("{}"), event(vendor + "SendSMS").payload(sms), event(vendor + "FindAlarm"),
        event(vendor + "GetCurrentUser"), event(vendor + "RequestAllDevices").reqId(1),
        event(vendor + "GenericRequest")}},
      {"metadata.http does not have path value",
       {event(vendor + "Alarm").method("GET").payload("{}"), event(vendor + "FindAlarm").method("GET")}},
      {"update is not allowed",
       {named("Measurement").payload(R"({"id": "1"})"),
        named("MeasurementFragment").payload(R"({"id": "1", "valueFragment": "f", "valueSeries": "s"})")}},
      {"valueFragment or valueSeries is missing", {named("MeasurementFragment").payload(R"({"valueFragment": "f"})")}},
      {"message or receiver address is not found", {named("SendSMS").payload(R"({"message": "m"})")}},
      {"no receiver address is provided", {named("SendSMS").payload(R"({"message": "m", "address": []})")}},
      {"no message is provided", {named("SendSMS").payload(R"({"message": "", "address": ["1"]})")}},
      {"receiver address is not provided", {named("SendEmail").payload(R"({"to": []})")}},
  };
}

class DocsTest : public BlackboxTest {};

TEST_F(DocsTest, ConfigurationTableNamesEveryKeyWithItsType) {
  const std::map<std::string, std::string> nouns{{"string", "a string"},
                                                 {"integer", "an integer"},
                                                 {"boolean", "a boolean"},
                                                 {"`always` or `auto`", "always or auto"}};
  const std::vector<Row> rows = tableOf("configuration.md", "Key");
  EXPECT_EQ(rows.size(), 15u);
  for (const Row& row : rows) {
    const std::string key = plain(row.at(0));
    const std::string others = key == "username"   ? R"("password": "secret", )"
                               : key == "password" ? R"("username": "user", )"
                                                   : R"("username": "user", "password": "secret", )";
    expectCreateToFail("{" + others + "\"" + key + "\": []}");
    EXPECT_EQ(takeLogs(errorLevel),
              Texts{"Exception from create: MarlovanceCodec configuration " + key + " must be " + nouns.at(row.at(1))});
  }
}

TEST_F(DocsTest, ConfigurationTableNamesWhatIsRequired) {
  for (const Row& row : tableOf("configuration.md", "Key")) {
    if (row.at(2) != "yes") continue;
    const std::string key = plain(row.at(0));
    expectCreateToFail(key == "username" ? R"({"password": "secret"})" : R"({"username": "user"})");
    EXPECT_EQ(takeLogs(errorLevel),
              Texts{"Exception from create: MarlovanceCodec missing required configuration element " + key});
  }
}

TEST_F(DocsTest, ConfigurationTableGivesTheDefaultsThatTheLogShows) {
  std::map<std::string, std::string> defaults;
  for (const Row& row : tableOf("configuration.md", "Key")) defaults[plain(row.at(0))] = plain(row.at(3));
  TestHost::setLogLevel(debugLevel);
  createPlugin();
  EXPECT_EQ(takeLogs(infoLevel),
            (Texts{"Marlovance transport is batching measurements with a maximum batch size of " +
                       defaults.at("maxBatchSize"),
                   std::string("Using ") + (defaults.at("concurrencyMode") == "always" ? "full" : "automatic") +
                       " concurrency"}));
  const Texts lines = takeLogs(debugLevel);
  EXPECT_EQ(lines.back(), "Latency Slow Threshold: " + defaults.at("latencySecsSlowThreshold") +
                              ", Latency Log Threshold: " + defaults.at("latencySecsLogThreshold") +
                              ", Latency Batch Threshold: " + defaults.at("batchLatencySecsThreshold"));
}

TEST_F(DocsTest, StatusTableNamesEveryItemInOrderWithItsInitialValue) {
  std::vector<std::pair<std::string, std::string>> documented;
  for (const Row& row : tableOf("status-items.md", "Suffix")) {
    const std::string initial = plain(row.at(2));
    documented.emplace_back("c1.MarlovanceCodec" + plain(row.at(0)), initial == "\"\"" ? "" : initial);
  }
  createPlugin();
  EXPECT_EQ(TestHost::createdStatusItems(), documented);
}

TEST_F(DocsTest, EventsTableNamesSeventeenTypesThatTheLibraryServes) {
  std::set<std::string> types;
  for (const Row& row : tableOf("events.md", "Event type")) types.insert(plain(row.at(0)));
  EXPECT_EQ(types.size(), 17u);
  for (const std::string& type : types) {
    // Nothing of what they need: a type that is served answers with an Error event, an unknown one not at all.
    send(event(type));
    const std::vector<Received> answers = takeHostEvents();
    ASSERT_EQ(answers.size(), 1u) << type;
    EXPECT_EQ(answers[0].type(), "com.kelvo.marlovance.Error") << type;
  }
}

TEST_F(DocsTest, EveryEventTypeHasATableOfItsOwn) {
  const std::string text = wholeText("events.md");
  for (const Row& row : tableOf("events.md", "Event type")) {
    const std::string type = plain(row.at(0));
    const std::string heading = "\n### " + type.substr(vendor.size()) + "\n\n| | `" + type + "` | |\n";
    EXPECT_NE(text.find(heading), std::string::npos) << type;
  }
}

TEST_F(DocsTest, QueriesTableGivesTheEventsOfEachWithTheirChannel) {
  const std::vector<Row> rows = tableOf("events.md", "Query");
  EXPECT_EQ(rows.size(), 5u);
  createPlugin();
  std::int64_t requestId = 0;
  for (const Row& row : rows) {
    send(event(vendor + plain(row.at(0))).method("GET").path("/p").http("queryString", "{}").reqId(7));
    respond(response(requestId++)
                .contentType("application/vnd.com.rdx.marlovance.somecollection+json")
                .payload(R"({"elements": [{"id": "1"}], "statistics": {"currentPage": 1, "totalPages": 1}})"));
    const std::vector<Received> events = takeHostEvents();
    ASSERT_EQ(events.size(), 2u) << row.at(0);
    EXPECT_EQ(events[0].type(), vendor + plain(row.at(1)));
    EXPECT_EQ(events[1].type(), vendor + plain(row.at(2)));
    for (const Received& each : events)
      EXPECT_EQ(each.metadata("qel.channel"), tests::quoted(plain(row.at(3)))) << row.at(0);
    EXPECT_TRUE(events[0].document.at("payload").as_object().contains(plain(row.at(4)))) << events[0].payload();
  }
}

TEST_F(DocsTest, RefusalsTableGivesTheReasonsOfTheErrorEvents) {
  const std::map<std::string, std::vector<MessageBuilder>> refused = refusedEvents();
  std::set<std::string> documented, provoked;
  for (const Row& row : tableOf("events.md", "Reason")) documented.insert(plain(row.at(0)));
  for (const auto& [reason, events] : refused) {
    provoked.insert(reason);
    for (const MessageBuilder& each : events) {
      send(each);
      const std::vector<Received> answers = takeHostEvents();
      ASSERT_EQ(answers.size(), 1u) << reason;
      const boost::json::value& text = answers[0].document.at("payload").at("message");
      EXPECT_TRUE(std::string(text.as_string()).ends_with("] as " + reason)) << text;
    }
  }
  EXPECT_EQ(documented, provoked);
}

TEST_F(DocsTest, OrderingTableNamesTheModesWithTheLinesOfTheLog) {
  TestHost::setLogLevel(infoLevel);
  const std::vector<Row> rows = tableOf("ordering-hints.md", "`concurrencyMode`");
  EXPECT_EQ(rows.size(), 2u);
  for (const Row& row : rows) {
    const std::string mode = row.at(0).substr(0, row.at(0).find(','));
    createPlugin(R"({"username": "user", "password": "secret", "concurrencyMode": ")" + plain(mode) + "\"}");
    const Texts lines = takeLogs(infoLevel);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[1], plain(row.at(1)));
    EXPECT_EQ(session->destroy(), 0);
  }
}

}  // namespace
}  // namespace tests
