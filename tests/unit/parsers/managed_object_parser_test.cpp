#include "parsers/managed_object_parser.h"

#include "tests/unit/parsers/ParserTest.h"

namespace tests {
namespace {

class ManagedObjectParserTest : public ParserTest {
 protected:
  /// The parser builds its tables once in the process, which is not a leak of the first test.
  static void SetUpTestSuite() {
    const plugins::DataConstants constants;
    const product::Logger logger("c");
    plugins::Time time(constants, logger);
    plugins::managedObjectParser(mapFromJson("{}"), time, constants);
  }

  std::string parsed(std::string_view document) { return ParserTest::parsed(plugins::managedObjectParser, document); }
  std::string failure(std::string_view document) {
    return failureOf([&] { parsed(document); });
  }
};

// ---------------------------------------------------------------------------------------- reference collections

struct Collection {
  const char* name;
  const char* to;
};

void PrintTo(const Collection& collection, std::ostream* out) {
  *out << collection.name;
}

class ReferenceCollectionTest : public ManagedObjectParserTest, public testing::WithParamInterface<Collection> {};

TEST_P(ReferenceCollectionTest, BecomesTheListOfItsIds) {
  const std::string from = quoted(GetParam().name), to = quoted(GetParam().to);
  EXPECT_EQ(parsed("{" + from + R"(: {"self": "/x", "references": [{"managedObject": {"id": "11", "name": "a"}},
                                                                {"self": "/y", "managedObject": {"id": "12"}}]}})"),
            json("{" + to + R"(: ["11", "12"]})"));
}

INSTANTIATE_TEST_SUITE_P(
    All, ReferenceCollectionTest,
    testing::Values(Collection{"additionParents", "additionParentIds"}, Collection{"assetParents", "assetParentIds"},
                    Collection{"childAdditions", "childAdditionIds"}, Collection{"childAssets", "childAssetIds"},
                    Collection{"childDevices", "childDeviceIds"}, Collection{"deviceParents", "deviceParentIds"}),
    NameOfCase());

TEST_F(ManagedObjectParserTest, ReshapesEachCollectionOfADocument) {
  EXPECT_EQ(parsed(R"({"childDevices": {"references": [{"managedObject": {"id": "1"}}]},
                       "deviceParents": {"references": [{"managedObject": {"id": "2"}}]},
                       "assetParents": {"references": []}})"),
            json(R"({"childDeviceIds": ["1"], "deviceParentIds": ["2"], "assetParentIds": []})"));
}

TEST_F(ManagedObjectParserTest, MakesAnEmptyListOfACollectionWithoutReferencesInIt) {
  EXPECT_EQ(parsed(R"({"childDevices": {"references": []}})"), json(R"({"childDeviceIds": []})"));
}

TEST_F(ManagedObjectParserTest, TakesIdsOfAnyTypeAndAMissingOneAsEmpty) {
  EXPECT_EQ(parsed(R"({"childDevices": {"references": [{"managedObject": {"id": 7}}, {"managedObject": {}},
                                                       {"managedObject": {"id": {"a": [1]}}},
                                                       {"managedObject": {"id": {"$borrowed": "b"}}}]}})"),
            json(R"({"childDeviceIds": [7, null, {"a": [1]}, {"$borrowed": "b"}]})"));
}

TEST_F(ManagedObjectParserTest, ReplacesAnIdListThatTheDocumentHas) {
  EXPECT_EQ(parsed(R"({"childDeviceIds": "old", "childDevices": {"references": [{"managedObject": {"id": "1"}}]}})"),
            json(R"({"childDeviceIds": ["1"]})"));
}

TEST_F(ManagedObjectParserTest, KeepsAnIdListWithoutItsCollection) {
  EXPECT_EQ(parsed(R"({"childDeviceIds": ["1"]})"), json(R"({"childDeviceIds": ["1"]})"));
}

struct BadElement {
  const char* name;
  const char* document;
  const char* failure;
};

void PrintTo(const BadElement& element, std::ostream* out) {
  *out << element.document;
}

class BadElementTest : public ManagedObjectParserTest, public testing::WithParamInterface<BadElement> {};

TEST_P(BadElementTest, Fails) {
  EXPECT_EQ(failure(GetParam().document), GetParam().failure);
}

constexpr const char* emptyRead = "Get from empty";
constexpr const char* mapNotList = "Incorrect type in get (you asked for map but it's actually list)";
constexpr const char* mapNotString = "Incorrect type in get (you asked for map but it's actually string)";

INSTANTIATE_TEST_SUITE_P(
    Shapes, BadElementTest,
    testing::Values(
        BadElement{"CollectionIsAList", R"({"childDevices": []})", mapNotList},
        BadElement{"CollectionIsEmpty", R"({"childDevices": null})", emptyRead},
        BadElement{"CollectionLacksReferences", R"({"childDevices": {"self": "/x"}})", emptyRead},
        BadElement{"ReferencesAreAMap", R"({"childDevices": {"references": {}}})",
                   "Incorrect type in get (you asked for list but it's actually map)"},
        BadElement{"ReferencesAreText", R"({"assetParents": {"references": "11"}})",
                   "Incorrect type in get (you asked for list but it's actually string)"},
        BadElement{"ReferenceIsText", R"({"childDevices": {"references": ["11"]}})", mapNotString},
        BadElement{"ReferenceIsEmpty", R"({"childDevices": {"references": [null]}})", emptyRead},
        BadElement{"ReferenceLacksItsObject", R"({"childDevices": {"references": [{"self": "/x"}]}})", emptyRead},
        BadElement{"ObjectIsText", R"({"childDevices": {"references": [{"managedObject": "11"}]}})", mapNotString},
        BadElement{"SecondReferenceIsBad",
                   R"({"childDevices": {"references": [{"managedObject": {"id": "1"}}, {"managedObject": 2}]}})",
                   "Incorrect type in get (you asked for map but it's actually integer)"},
        BadElement{"PositionIsText", R"({"q4v_Position": "depot"})", mapNotString},
        BadElement{"PositionIsAList", R"({"q4v_Position": [1.5, 2.5]})", mapNotList},
        BadElement{"PositionIsEmpty", R"({"q4v_Position": null})", emptyRead}),
    NameOfCase());

// ---------------------------------------------------------------------------------------- supported lists

TEST_F(ManagedObjectParserTest, TakesThePrefixOffTheSupportedLists) {
  EXPECT_EQ(parsed(R"({"q4v_SupportedMeasurements": ["t", "p"], "q4v_SupportedOperations": ["restart"]})"),
            json(R"({"supportedMeasurements": ["t", "p"], "supportedOperations": ["restart"]})"));
}

TEST_F(ManagedObjectParserTest, TakesThePrefixOffAnEmptySupportedList) {
  EXPECT_EQ(parsed(R"({"q4v_SupportedMeasurements": []})"), json(R"({"supportedMeasurements": []})"));
}

TEST_F(ManagedObjectParserTest, TakesASupportedListOfBorrowedTexts) {
  EXPECT_EQ(parsed(R"({"q4v_SupportedOperations": [{"$borrowed": "restart"}]})"),
            json(R"({"supportedOperations": [{"$borrowed": "restart"}]})"));
}

TEST_F(ManagedObjectParserTest, ReplacesASupportedListThatTheDocumentHas) {
  EXPECT_EQ(parsed(R"({"supportedOperations": 1, "q4v_SupportedOperations": ["restart"]})"),
            json(R"({"supportedOperations": ["restart"]})"));
}

class UnsupportedListTest : public ManagedObjectParserTest, public testing::WithParamInterface<const char*> {};

TEST_P(UnsupportedListTest, StaysUnderItsOwnName) {
  for (const char* name : {"q4v_SupportedMeasurements", "q4v_SupportedOperations"}) {
    const std::string document = "{" + quoted(name) + ": " + GetParam() + "}";
    EXPECT_EQ(parsed(document), json(document));
  }
}

INSTANTIATE_TEST_SUITE_P(Shapes, UnsupportedListTest,
                         testing::Values(R"(["restart", 7])", R"([null])", R"([["restart"]])", R"("restart")", "null",
                                         R"({"0": "restart"})"));

// ---------------------------------------------------------------------------------------- position

TEST_F(ManagedObjectParserTest, SplitsThePositionIntoNumbersAndTheRest) {
  EXPECT_EQ(parsed(R"({"q4v_Position": {"lat": 52.1, "lng": "13.4", "alt": "0x10", "name": "depot"}})"),
            json(R"({"position": {"lat": 52.1, "lng": "13.4"},
                     "q4v_Position.alt": "0x10", "q4v_Position.name": "depot"})"));
}

TEST_F(ManagedObjectParserTest, SplitsThePositionByTheTypeOfItsEntries) {
  EXPECT_EQ(parsed(R"({"q4v_Position": {"double": 1.5, "integer": 2, "decimal": {"$decimal": 3}, "text": "4",
                                        "borrowed": {"$borrowed": "5"}, "boolean": true, "empty": null,
                                        "list": [6], "map": {"a": 7}, "buffer": {"$buffer": "08"},
                                        "custom": {"$custom": 9}, "word": {"$borrowed": "high"}}})"),
            json(R"({"position": {"double": 1.5, "integer": 2, "decimal": {"$decimal": 3}, "text": "4",
                                  "borrowed": {"$borrowed": "5"}},
                     "q4v_Position.boolean": true, "q4v_Position.empty": null, "q4v_Position.list": [6],
                     "q4v_Position.map": {"a": 7}, "q4v_Position.buffer": {"$buffer": "08"},
                     "q4v_Position.custom": {"$custom": 9}, "q4v_Position.word": {"$borrowed": "high"}})"));
}

struct PositionText {
  const char* text;
  bool isNumeric;
};

void PrintTo(const PositionText& position, std::ostream* out) {
  *out << '"' << position.text << '"';
}

class PositionTextTest : public ManagedObjectParserTest, public testing::WithParamInterface<PositionText> {};

TEST_P(PositionTextTest, StaysInThePositionWhenItIsNumeric) {
  const std::string text = quoted(GetParam().text);
  EXPECT_EQ(parsed(R"({"q4v_Position": {"alt": )" + text + "}}"),
            json(GetParam().isNumeric ? R"({"position": {"alt": )" + text + "}}"
                                      : R"({"position": {}, "q4v_Position.alt": )" + text + "}"));
}

INSTANTIATE_TEST_SUITE_P(Texts, PositionTextTest,
                         testing::Values(PositionText{"13.4", true}, PositionText{"-7", true},
                                         PositionText{"+.5", true}, PositionText{"1e3", true}, PositionText{" 7", true},
                                         PositionText{"inf", true}, PositionText{"nan", true}, PositionText{"", true},
                                         PositionText{"7 ", false}, PositionText{"7m", false},
                                         PositionText{"1,5", false}, PositionText{"0x10", false},
                                         PositionText{"0X10", false}, PositionText{"high", false}));

TEST_F(ManagedObjectParserTest, ReplacesAPositionThatTheDocumentHas) {
  EXPECT_EQ(parsed(R"({"position": "old", "q4v_Position": {"lat": 1.5}})"), json(R"({"position": {"lat": 1.5}})"));
}

TEST_F(ManagedObjectParserTest, ReplacesATopLevelFieldByWhatLeavesThePosition) {
  EXPECT_EQ(parsed(R"({"q4v_Position.accuracy": "old", "q4v_Position": {"accuracy": "high"}})"),
            json(R"({"position": {}, "q4v_Position.accuracy": "high"})"));
}

TEST_F(ManagedObjectParserTest, TakesAnEmptyPosition) {
  EXPECT_EQ(parsed(R"({"q4v_Position": {}})"), json(R"({"position": {}})"));
}

TEST_F(ManagedObjectParserTest, ErasesALeavingEntryWhoseKeyIsBorrowed) {
  for (const bool owned : {true, false}) {
    TestHost::copyBorrowedStringsAsOwned(owned);
    EXPECT_EQ(parsed(R"({"q4v_Position": {"$entries": [[{"$borrowed": "name"}, "depot"]]}})"),
              json(R"({"position": {}, "q4v_Position.name": "depot"})"))
        << "copies are " << (owned ? "owned" : "borrowed");
  }
}

TEST_F(ManagedObjectParserTest, EmptiesALargePosition) {
  std::string entries, expected;
  for (int number = 0; number < 200; ++number) {
    const std::string key = "k" + std::to_string(number);
    entries += std::string(number ? "," : "") + tests::quoted(key) + ":\"word\"";
    expected += tests::quoted("q4v_Position." + key) + ":\"word\",";
  }
  EXPECT_EQ(parsed(R"({"q4v_Position": {)" + entries + "}}"), json("{" + expected + R"("position": {}})"));
}

TEST_F(ManagedObjectParserTest, RefusesAPositionWithAKeyThatIsNoText) {
  product::map_t position;
  position.insert(std::int64_t{7}, 1.5);
  product::map_t document;
  document.insert("q4v_Position", std::move(position));
  EXPECT_EQ(failureOf([&] { plugins::managedObjectParser(std::move(document), time(), constants); }),
            "Incorrect type in get (you asked for string but it's actually integer)");
}

// ---------------------------------------------------------------------------------------- the rest

TEST_F(ManagedObjectParserTest, ChangesOnlyTimestampsOfADocumentWithNothingToReshape) {
  EXPECT_EQ(parsed(R"({"id": "1", "type": "t", "name": "n", "self": "/x", "q4v_IsDevice": {},
                       "creationTime": "2020-09-13T12:26:40.250Z", "lastUpdated": "2020-09-13T14:26:40.250+02:00"})"),
            json(R"({"id": "1", "type": "t", "name": "n", "self": "/x", "q4v_IsDevice": {},
                     "creationTime": 1600000000.25, "lastUpdated": 1600000000.25})"));
}

TEST_F(ManagedObjectParserTest, GivesAnUnreadableTimestampAsZero) {
  EXPECT_EQ(parsed(R"({"lastUpdated": "yesterday"})"), json(R"({"lastUpdated": 0.0})"));
}

TEST_F(ManagedObjectParserTest, ReshapesAWholeDocument) {
  EXPECT_EQ(parsed(R"({"id": "1", "name": "pump", "childDevices": {"references": [{"managedObject": {"id": "2"}}]},
                       "q4v_SupportedOperations": ["restart"], "q4v_Position": {"lat": 1.5, "name": "depot"},
                       "q4v_Hardware": {"serial": "s"}, "lastUpdated": "1970-01-01T00:00:01.000Z"})"),
            json(R"({"id": "1", "name": "pump", "childDeviceIds": ["2"], "supportedOperations": ["restart"],
                     "position": {"lat": 1.5}, "q4v_Position.name": "depot", "q4v_Hardware": {"serial": "s"},
                     "lastUpdated": 1.0})"));
}

}  // namespace
}  // namespace tests
