// The tables of the documentation against the library: what they name is what there is.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
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

}  // namespace
}  // namespace tests
