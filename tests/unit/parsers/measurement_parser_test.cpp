#include "parsers/measurement_parser.h"

#include "tests/unit/parsers/ParserTest.h"

namespace tests {
namespace {

class MeasurementParserTest : public ParserTest {
 protected:
  std::string parsed(std::string_view document) { return ParserTest::parsed(plugins::measurementParser, document); }
};

TEST_F(MeasurementParserTest, MovesAFragmentUnderMeasurementsAndLeavesPlainFields) {
  EXPECT_EQ(parsed(R"({"id": "1", "type": "t", "self": "/m/1", "source": {"id": "10", "self": "/s/10"},
                       "q4v_Temperature": {"T": {"value": 21.5, "unit": "C"}}})"),
            json(R"({"id": "1", "type": "t", "self": "/m/1", "source": {"id": "10", "self": "/s/10"},
                     "measurements": {"q4v_Temperature": {"T": {"value": 21.5, "unit": "C"}}}})"));
}

TEST_F(MeasurementParserTest, GathersEachFragment) {
  EXPECT_EQ(parsed(R"({"a": {"x": {"value": 1}}, "b": {"y": {"value": 2.5}, "z": {"value": 3}}})"),
            json(R"({"measurements": {"a": {"x": {"value": 1}}, "b": {"y": {"value": 2.5}, "z": {"value": 3}}}})"));
}

TEST_F(MeasurementParserTest, MovesAFragmentWholeForOneSeriesWithAValue) {
  EXPECT_EQ(parsed(R"({"f": {"a": {"unit": "C"}, "b": {"value": null}, "c": "text", "d": 4, "e": [1]}})"),
            json(R"({"measurements": {"f": {"a": {"unit": "C"}, "b": {"value": null}, "c": "text", "d": 4,
                                            "e": [1]}}})"));
}

TEST_F(MeasurementParserTest, LeavesWhatHasNoSeriesWithAValue) {
  EXPECT_EQ(parsed(R"({"a": {}, "b": {"value": 1}, "c": {"s": {"unit": "C"}}, "d": [{"s": {"value": 1}}], "e": null,
                       "f": {"s": {"t": {"value": 1}}}, "g": {"s": [{"value": 1}]}})"),
            json(R"({"a": {}, "b": {"value": 1}, "c": {"s": {"unit": "C"}}, "d": [{"s": {"value": 1}}], "e": null,
                     "f": {"s": {"t": {"value": 1}}}, "g": {"s": [{"value": 1}]}, "measurements": {}})"));
}

TEST_F(MeasurementParserTest, AddsEmptyMeasurementsToADocumentWithoutFragments) {
  EXPECT_EQ(parsed("{}"), json(R"({"measurements": {}})"));
  EXPECT_EQ(parsed(R"({"id": "1"})"), json(R"({"id": "1", "measurements": {}})"));
}

TEST_F(MeasurementParserTest, KeepsMeasurementsOfTheDocumentAndLosesTheFragments) {
  for (const char* own : {R"({"a": 1})", R"("text")", "[]", "null", "{}"}) {
    const std::string measurements = R"("measurements": )" + std::string(own);
    EXPECT_EQ(parsed("{" + measurements + R"(, "id": "1", "f": {"s": {"value": 1}}})"),
              json("{" + measurements + R"(, "id": "1"})"));
  }
}

TEST_F(MeasurementParserTest, TakesMeasurementsOfTheShapeOfAFragmentAsOne) {
  EXPECT_EQ(parsed(R"({"measurements": {"s": {"value": 1}}})"),
            json(R"({"measurements": {"measurements": {"s": {"value": 1}}}})"));
}

TEST_F(MeasurementParserTest, TurnsTimestampsIntoSecondsBeforeItLooksForFragments) {
  EXPECT_EQ(parsed(R"({"time": "2020-09-13T12:26:40.250Z", "creationTime": {"s": {"value": 1}}})"),
            json(R"({"time": 1600000000.25, "creationTime": 0.0, "measurements": {}})"));
}

TEST_F(MeasurementParserTest, KeepsTheDocumentsName) {
  EXPECT_EQ(parsed(R"({"$name": "m", "$map": {"f": {"s": {"value": 1}}}})"),
            json(R"({"$name": "m", "$map": {"measurements": {"f": {"s": {"value": 1}}}}})"));
}

TEST_F(MeasurementParserTest, ReadsADocumentWithoutABlock) {
  EXPECT_EQ(toJson(plugins::measurementParser(product::map_t(), time(), constants)), json(R"({"measurements": {}})"));
}

// The host may copy a borrowed key as an owned one, which is another key.
TEST_F(MeasurementParserTest, LeavesNothingOfAFragmentUnderABorrowedKey) {
  for (const auto& [owned, fragments] :
       {std::pair{true, R"({"f": {"s": {"value": 1}}})"},
        std::pair{false, R"({"$entries": [[{"$borrowed": "f"}, {"s": {"value": 1}}]]})"}}) {
    TestHost::copyBorrowedStringsAsOwned(owned);
    EXPECT_EQ(parsed(R"({"$entries": [[{"$borrowed": "f"}, {"s": {"value": 1}}], ["id", "1"]]})"),
              json(R"({"id": "1", "measurements": )" + std::string(fragments) + "}"));
  }
}

TEST_F(MeasurementParserTest, MovesAFragmentUnderAnEmptyKey) {
  const product::data_t nothing;
  product::map_t series, fragment, document;
  series.insert("value", std::int64_t{1});
  fragment.insert("s", std::move(series));
  document[nothing] = std::move(fragment);
  const product::map_t parsed = plugins::measurementParser(std::move(document), time(), constants);
  EXPECT_FALSE(parsed.contains(nothing));
  EXPECT_TRUE(parsed.at("measurements").get<product::map_t>().contains(nothing));
}

TEST_F(MeasurementParserTest, GathersTenThousandSeries) {
  std::string series;
  for (int number = 0; number < 10000; ++number)
    series += (series.empty() ? R"("s)" : R"(, "s)") + std::to_string(number) + R"(": {"value": )" +
              std::to_string(number) + "}";
  EXPECT_EQ(parsed(R"({"f": {)" + series + "}}"), json(R"({"measurements": {"f": {)" + series + "}}}"));
}

// ---------------------------------------------------------------------------------------- fragments

class MeasurementFragmentParserTest : public ParserTest {
 protected:
  std::string parsed(std::string_view document) {
    return ParserTest::parsed(plugins::measurementFragmentParser, document);
  }
  std::string failure(std::string_view document) {
    return failureOf([&] { return parsed(document); });
  }
};

TEST_F(MeasurementFragmentParserTest, FlattensTheOneSeriesOfTheOneFragment) {
  EXPECT_EQ(parsed(R"({"id": "1", "time": "1970-01-01T00:00:01.000Z", "f": {"s": {"value": 21.5, "unit": "C"}}})"),
            json(R"({"id": "1", "time": 1.0, "valueFragment": "f", "valueSeries": "s", "value": 21.5, "unit": "C",
                     "params": {}, "measurements": {}})"));
}

TEST_F(MeasurementFragmentParserTest, KeepsTheRestOfTheSeriesAsParameters) {
  EXPECT_EQ(parsed(R"({"f": {"s": {"value": 1, "unit": "C", "min": 0, "quality": {"good": true}}}})"),
            json(R"({"valueFragment": "f", "valueSeries": "s", "value": 1, "unit": "C",
                     "params": {"min": 0, "quality": {"good": true}}, "measurements": {}})"));
}

TEST_F(MeasurementFragmentParserTest, GivesNoUnitToASeriesWithoutOne) {
  EXPECT_EQ(parsed(R"({"f": {"s": {"value": null}}})"),
            json(R"({"valueFragment": "f", "valueSeries": "s", "value": null, "params": {}, "measurements": {}})"));
}

TEST_F(MeasurementFragmentParserTest, GivesNoFlatFieldsToADocumentWithoutFragments) {
  EXPECT_EQ(parsed(R"({"id": "1"})"), json(R"({"id": "1", "measurements": {}})"));
}

TEST_F(MeasurementFragmentParserTest, KeepsFieldsOfTheDocumentOverThoseOfTheSeries) {
  EXPECT_EQ(parsed(R"({"unit": "K", "value": 7, "params": "own", "valueFragment": 1, "valueSeries": 2,
                       "f": {"s": {"value": 1, "unit": "C", "min": 0}}})"),
            json(R"({"unit": "K", "value": 7, "params": "own", "valueFragment": 1, "valueSeries": 2,
                     "measurements": {}})"));
}

TEST_F(MeasurementFragmentParserTest, DropsAValueThatTheDocumentHidesRatherThanKeepItAsAParameter) {
  EXPECT_EQ(parsed(R"({"value": 7, "f": {"s": {"value": 1, "unit": "C"}}})"),
            json(R"({"value": 7, "unit": "C", "params": {}, "valueFragment": "f", "valueSeries": "s",
                     "measurements": {}})"));
}

TEST_F(MeasurementFragmentParserTest, FlattensMeasurementsThatTheDocumentBrings) {
  EXPECT_EQ(parsed(R"({"measurements": {"f": {"s": {"other": 1}}}})"),
            json(R"({"valueFragment": "f", "valueSeries": "s", "params": {"other": 1}, "measurements": {}})"));
}

TEST_F(MeasurementFragmentParserTest, StopsAtAFragmentWithoutSeries) {
  EXPECT_EQ(parsed(R"({"id": "1", "measurements": {"f": {}}})"), json(R"({"id": "1", "measurements": {}})"));
}

TEST_F(MeasurementFragmentParserTest, TakesOneOfSeveralFragmentsWithItsOwnSeries) {
  const auto left = parseJson(
      parsed(R"({"f": {"s1": {"value": 1}, "s2": {"value": 2}}, "g": {"s3": {"value": 3}, "s4": {"value": 4}}})"));
  const std::string series(left.at("valueSeries").as_string());
  EXPECT_EQ(left.at("value").as_int64(), series.at(1) - '0');
  EXPECT_EQ(left.at("valueFragment").as_string(), series == "s1" || series == "s2" ? "f" : "g");
  EXPECT_EQ(left.as_object().size(), 5u);
}

TEST_F(MeasurementFragmentParserTest, FailsOnMeasurementsOfAnotherType) {
  EXPECT_EQ(failure(R"({"measurements": "text"})"),
            "Incorrect type in get (you asked for map but it's actually string)");
  EXPECT_EQ(failure(R"({"measurements": [1]})"), "Incorrect type in get (you asked for map but it's actually list)");
  EXPECT_EQ(failure(R"({"measurements": null})"), "Get from empty");
}

TEST_F(MeasurementFragmentParserTest, FailsOnAFragmentThatIsNoMap) {
  EXPECT_EQ(failure(R"({"measurements": {"f": 1}})"),
            "Incorrect type in get (you asked for map but it's actually integer)");
}

TEST_F(MeasurementFragmentParserTest, FailsOnASeriesThatIsNoMap) {
  EXPECT_EQ(failure(R"({"measurements": {"f": {"s": "text"}}})"),
            "Incorrect type in get (you asked for map but it's actually string)");
}

}  // namespace
}  // namespace tests
