#include "parsers/generic_parser.h"

#include "tests/unit/parsers/ParserTest.h"

namespace tests {
namespace {

class GenericParserTest : public ParserTest {
 protected:
  std::string parsed(std::string_view document) { return ParserTest::parsed(plugins::genericParser, document); }
};

TEST_F(GenericParserTest, TurnsEachTimestampIntoSeconds) {
  EXPECT_EQ(parsed(R"({"time": "2020-09-13T12:26:40.250Z", "creationTime": "1970-01-01T00:00:01.000Z",
                       "lastUpdated": "1970-01-01T00:00:02.000Z", "firstOccurrenceTime": "1970-01-01T00:00:03.000Z"})"),
            json(R"({"time": 1600000000.25, "creationTime": 1.0, "lastUpdated": 2.0, "firstOccurrenceTime": 3.0})"));
}

TEST_F(GenericParserTest, LeavesEverythingElseAsItCame) {
  constexpr const char* document = R"({"id": "1", "text": "hot", "count": 3, "severity": null,
      "source": {"id": "10", "time": "2020-09-13T12:26:40.250Z"}, "history": [{"time": "2020-09-13T12:26:40.250Z"}],
      "childDevices": {"references": []}, "q4v_Position": {"lat": 1.5}, "dateFrom": "2020-09-13T12:26:40.250Z"})";
  EXPECT_EQ(parsed(document), json(document));
}

TEST_F(GenericParserTest, AddsNothingToAnEmptyDocument) {
  EXPECT_EQ(parsed("{}"), "{}");
}

TEST_F(GenericParserTest, KeepsTheDocumentsName) {
  EXPECT_EQ(parsed(R"({"$name": "body", "$map": {"id": "1"}})"), json(R"({"$name": "body", "$map": {"id": "1"}})"));
}

TEST_F(GenericParserTest, ReadsADocumentWithoutABlock) {
  EXPECT_EQ(toJson(plugins::genericParser(product::map_t(), time(), constants)), "{}");
}

}  // namespace
}  // namespace tests
