#include "chainrunner/json_reader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "chainrunner/json_writer.h"

namespace chainrunner {
namespace {

TEST(JsonReaderTest, GivesEachKindItsTag) {
  const data_t value = readJson(R"({"a":null,"b":true,"c":1,"d":1.0,"e":"text","f":[],"g":{}})");
  const map_t& map = value.get<map_t>();
  EXPECT_EQ(map.at(data_t("a")).type(), Tag::empty);
  EXPECT_EQ(map.at(data_t("b")).type(), Tag::boolean);
  EXPECT_EQ(map.at(data_t("c")).type(), Tag::integer);
  EXPECT_EQ(map.at(data_t("d")).type(), Tag::number);
  EXPECT_EQ(map.at(data_t("e")).type(), Tag::string);
  EXPECT_EQ(map.at(data_t("f")).type(), Tag::list);
  EXPECT_EQ(map.at(data_t("g")).type(), Tag::map);
}

TEST(JsonReaderTest, KeepsIntegersOfSixtyFourBits) {
  EXPECT_EQ(readJson("9223372036854775807").get<std::int64_t>(), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(readJson("-9223372036854775808").get<std::int64_t>(), std::numeric_limits<std::int64_t>::min());
}

TEST(JsonReaderTest, MakesGreaterIntegersDoubles) {
  EXPECT_EQ(readJson("9223372036854775808").get<double>(), 9223372036854775808.0);
  EXPECT_EQ(readJson("18446744073709551616").get<double>(), 18446744073709551616.0);
  EXPECT_EQ(readJson("-9223372036854775809").get<double>(), -9223372036854775808.0);
}

TEST(JsonReaderTest, TakesAnExponentForADouble) {
  EXPECT_EQ(readJson("1e3").get<double>(), 1000.0);
}

TEST(JsonReaderTest, ReadsTheNearestDouble) {
  // Halfway cases and long texts, where a multiplication by powers of ten is off by one.
  EXPECT_EQ(readJson("9007199254740993.0").get<double>(), 9007199254740992.0);
  EXPECT_EQ(readJson("0.1234567890123456789").get<double>(), 0.1234567890123456789);
  EXPECT_EQ(readJson("8.3e-319").get<double>(), 8.3e-319);
  EXPECT_EQ(readJson("1795225464.3610001").get<double>(), 1795225464.3610001);
}

TEST(JsonReaderTest, KeepsTheSignOfZero) {
  EXPECT_TRUE(std::signbit(readJson("-0.0").get<double>()));
  EXPECT_TRUE(std::signbit(readJson("-1e-999").get<double>()));
}

TEST(JsonReaderTest, RoundsWhatIsTooSmallToZero) {
  EXPECT_EQ(readJson("1e-999").get<double>(), 0.0);
}

TEST(JsonReaderTest, RoundsTheLeastExponentToZero) {
  EXPECT_EQ(readJson("0.001e-9223372036854775807").get<double>(), 0.0);
}

TEST(JsonReaderTest, LetsTheLastOfDuplicateKeysWin) {
  EXPECT_EQ(toJson(readJson(R"({"a":1,"b":2,"a":{"c":3}})")), R"({"a":{"c":3},"b":2})");
}

TEST(JsonReaderTest, AcceptsAnEmptyKey) {
  EXPECT_EQ(toJson(readJson(R"({"":1})")), R"({"":1})");
}

TEST(JsonReaderTest, ReadsEscapesAndSurrogatePairs) {
  EXPECT_EQ(readJson(R"("a\u00e9\ud83d\ude00\n\/")").get<std::string>(), "a\xC3\xA9\xF0\x9F\x98\x80\n/");
}

TEST(JsonReaderTest, AllowsBlanksAroundTheDocument) {
  EXPECT_EQ(readJson("  7 \r\n").get<std::int64_t>(), 7);
}

TEST(JsonReaderTest, AcceptsNestingUpToTheLimit) {
  JsonLimits limits;
  limits.depth = 3;
  EXPECT_EQ(toJson(readJson("[[[1]]]", limits)), "[[[1]]]");
}

TEST(JsonReaderTest, GivesEmptyContainersNoBlock) {
  EXPECT_EQ(readJson("[]").bits(), 0u);
  EXPECT_EQ(readJson("{ }").bits(), 0u);
}

TEST(JsonReaderTest, BuildsMapsInWhichInsertionAndSearchGoOn) {
  std::string text = "{";
  for (int i = 0; i < 100; ++i) text += (i > 0 ? ",\"key " : "\"key ") + std::to_string(i) + "\":" + std::to_string(i);
  data_t document = readJson(text + "}");
  map_t& map = document.get<map_t>();
  for (int i = 100; i < 200; ++i) map[data_t("key " + std::to_string(i))] = std::int64_t{i};
  ASSERT_EQ(map.size(), 200u);
  for (int i = 0; i < 200; ++i) EXPECT_EQ(map.at(data_t("key " + std::to_string(i))).get<std::int64_t>(), i);
}

TEST(JsonReaderTest, GivesMapsTheSlotsOfInsertionOneByOne) {
  for (int count = 1; count < 60; ++count) {
    map_t inserted;
    std::string text;
    for (int i = 0; i < count; ++i) {
      inserted[data_t("k" + std::to_string(i))] = true;
      text += (i > 0 ? ",\"k" : "{\"k") + std::to_string(i) + "\":true";
    }
    const data_t read = readJson(text + "}");
    const map_header* block = read.get<map_t>().header();
    ASSERT_EQ(block->capacity, inserted.header()->capacity) << count;
    EXPECT_EQ(block->tombstones, 0u);
    const auto* expected = reinterpret_cast<const map_slot*>(inserted.header() + 1);
    const auto* actual = reinterpret_cast<const map_slot*>(block + 1);
    for (std::uint64_t i = 0; i < block->capacity; ++i)
      EXPECT_EQ(actual[i].hash, expected[i].hash) << count << " " << i;
  }
}

TEST(JsonReaderTest, FreesTheValuesThatDuplicateKeysReplace) {
  EXPECT_EQ(toJson(readJson(R"([{"a":"x","a":["y"],"a":{"b":"z"}}])")), R"([{"a":{"b":"z"}}])");
}

TEST(JsonReaderTest, TellsKeysWithEqualBeginningsApart) {
  // The second object stands where the first one's keys are remembered.
  EXPECT_EQ(toJson(readJson(R"([{"temperature":1,"b":2},{"temperatures":3,"c":4},{"temperatur":5,"b":6}])")),
            R"([{"b":2,"temperature":1},{"c":4,"temperatures":3},{"b":6,"temperatur":5}])");
}

TEST(JsonReaderTest, TellsEscapedKeysFromWhatTheyLookLike) {
  EXPECT_EQ(toJson(readJson(R"([{"\\":1},{"\"":2},{"\\":3},{"\u0061":4},{"a":5}])")),
            R"([{"\\":1},{"\"":2},{"\\":3},{"a":4},{"a":5}])");
}

TEST(JsonReaderTest, RemembersNoKeyBeyondAnotherDocumentsLimit) {
  readJson(R"({"abcdef":1})");
  JsonLimits limits;
  limits.keyBytes = 5;
  EXPECT_THROW(readJson(R"({"abcdef":1})", limits), JsonError);
}

TEST(JsonReaderTest, ReadsKeysOfEveryLength) {
  for (std::size_t length = 0; length < 100; ++length) {
    const std::string key(length, 'k');
    const std::string text = "{\"" + key + "\":1}";
    EXPECT_EQ(toJson(readJson("[" + text + "," + text + "]")), "[" + text + "," + text + "]");
    EXPECT_EQ(toJson(readJson(text)), text);
  }
}

TEST(JsonReaderTest, FindsASpecialCharacterAtEveryPlaceOfAText) {
  for (std::size_t before = 0; before < 40; ++before) {
    for (std::size_t after = 0; after < 40; ++after) {
      const std::string head(before, 'a');
      const std::string tail(after, 'b');
      EXPECT_EQ(readJson("\"" + head + "\\n" + tail + "\"").get<std::string>(), head + "\n" + tail);
      EXPECT_EQ(readJson("\"" + head + "\xC3\xA9" + tail + "\"").get<std::string>(), head + "\xC3\xA9" + tail);
    }
  }
}

TEST(JsonReaderTest, ReadsTextsLongerThanItsBuffer) {
  const std::string text = std::string(5000, 'x') + "\xE2\x82\xAC" + std::string(5000, 'y');
  EXPECT_EQ(readJson("\"" + text + "\"").get<std::string>(), text);
}

TEST(JsonReaderTest, ReadsEveryEscapedCharacter) {
  EXPECT_EQ(readJson(R"("\"\\\/\b\f\n\r\t\u0041\u00E9\u20ac\uFFFF\uDBFF\uDFFF")").get<std::string>(),
            "\"\\/\b\f\n\r\tA\xC3\xA9\xE2\x82\xAC\xEF\xBF\xBF\xF4\x8F\xBF\xBF");
}

TEST(JsonReaderTest, TellsGreatNumbersFromSmallOnes) {
  EXPECT_EQ(readJson("0." + std::string(400, '0') + "1").get<double>(), 0.0);
  EXPECT_EQ(readJson("0e99999999999999999999").get<double>(), 0.0);
  EXPECT_EQ(readJson("1e-99999999999999999999").get<double>(), 0.0);
  EXPECT_EQ(readJson("0." + std::string(400, '0') + "1e401").get<double>(), 1.0);
  EXPECT_THROW(readJson("1" + std::string(400, '0')), JsonError);
  EXPECT_THROW(readJson("0.001e312"), JsonError);
  EXPECT_THROW(readJson("1e99999999999999999999"), JsonError);
}

struct BadText {
  const char* name;
  std::string text;
  const char* reason;
  std::size_t offset;
};

void PrintTo(const BadText& bad, std::ostream* out) {
  *out << bad.name;
}

class JsonReaderBadTextTest : public testing::TestWithParam<BadText> {};

TEST_P(JsonReaderBadTextTest, IsRefusedWithReasonAndPlace) {
  JsonLimits limits;
  limits.depth = 3;
  limits.keyBytes = 5;
  try {
    readJson(GetParam().text, limits);
    FAIL() << "nothing was thrown";
  } catch (const JsonError& error) {
    EXPECT_STREQ(error.what(), GetParam().reason);
    EXPECT_EQ(error.offset, GetParam().offset);
  }
}

INSTANTIATE_TEST_SUITE_P(
    All, JsonReaderBadTextTest,
    testing::Values(BadText{"Nothing", "", "the text ends too early", 0},
                    BadText{"OnlyBlanks", " \n", "the text ends too early", 2},
                    BadText{"HalfAnObject", R"({"a":)", "the text ends too early", 5},
                    BadText{"HalfAKey", R"({"a)", "the text ends too early", 3},
                    BadText{"HalfAList", "[1,", "the text ends too early", 3},
                    BadText{"HalfAWord", "[tru", "the text ends too early", 4},
                    BadText{"HalfANumber", "-", "the text ends too early", 1},
                    BadText{"HalfAnEscape", R"("\)", "the text ends too early", 2},
                    BadText{"HalfAHexEscape", R"("\u00)", "the text ends too early", 5},
                    BadText{"HalfAPair", R"("\ud800)", "the text ends too early", 7},
                    BadText{"MissingValue", R"({"a":})", "syntax error: a value is expected", 5},
                    BadText{"MissingColon", R"({"a" 1})", "syntax error: a colon is expected", 5},
                    BadText{"MissingKey", "{1:2}", "syntax error: a key is expected", 1},
                    BadText{"CommaBehindTheLastMember", R"({"a":1,})", "syntax error: a key is expected", 7},
                    BadText{"CommaBehindTheLastElement", "[1,]", "syntax error: a value is expected", 3},
                    BadText{"MissingCommaInObject", R"({"a":1 "b":2})",
                            "syntax error: a comma or the end of the object is expected", 7},
                    BadText{"MissingCommaInList", "[1 2]", "syntax error: a comma or the end of the list is expected",
                            3},
                    BadText{"WrongBracket", "[1}", "syntax error: a comma or the end of the list is expected", 2},
                    BadText{"TextBehind", "1 2", "more text behind the document", 2},
                    BadText{"TooDeep", "[[[[1]]]]", "nested deeper than 3", 3},
                    BadText{"LongKey", R"({"abcdef":1})", "a key is longer than 5 bytes", 1},
                    BadText{"NulInText", R"("a\u0000b")", "a text holds the character NUL", 2},
                    BadText{"NulInKey", R"({"a\u0000b":1})", "a text holds the character NUL", 3},
                    BadText{"RawNul", std::string("\"a\0b\"", 5), "syntax error: a control character within a text", 2},
                    BadText{"LineBreakInText", "\"a\nb\"", "syntax error: a control character within a text", 2},
                    BadText{"UnknownEscape", R"("\x")", "syntax error: an unknown escape", 1},
                    BadText{"NoHexDigit", R"("\u00g0")", "syntax error: a hexadecimal digit is expected", 5},
                    BadText{"TooGreat", "[1e999]", "a number is beyond the range of a double", 1},
                    BadText{"GreatestExponent", "1e9223372036854775807", "a number is beyond the range of a double", 0},
                    BadText{"TooSmall", "-1e999", "a number is beyond the range of a double", 0},
                    BadText{"NotANumber", "NaN", "syntax error: a value is expected", 0},
                    BadText{"NotAWord", "trux", "syntax error: a value is expected", 0},
                    BadText{"Plus", "+1", "syntax error: a value is expected", 0},
                    BadText{"MinusAlone", "[-]", "syntax error: a digit is expected", 2},
                    BadText{"PointAlone", "[1.]", "syntax error: a digit is expected", 3},
                    BadText{"ExponentAlone", "[1e+]", "syntax error: a digit is expected", 4},
                    BadText{"LeadingZero", "01", "more text behind the document", 1},
                    BadText{"HighSurrogateAlone", R"("a\ud800b")", "syntax error: half of a surrogate pair", 2},
                    BadText{"LowSurrogateAlone", R"("\udc00")", "syntax error: half of a surrogate pair", 1},
                    BadText{"TwoHighSurrogates", R"("\ud800\ud800")", "syntax error: half of a surrogate pair", 1},
                    BadText{"NotUtf8", "\"\xff\"", "a text is not UTF-8", 1},
                    BadText{"OverlongUtf8", "\"a\xc0\x80\"", "a text is not UTF-8", 2},
                    BadText{"Comment", "[1 /* */]", "syntax error: a comma or the end of the list is expected", 3}),
    [](const auto& each) { return each.param.name; });

}  // namespace
}  // namespace chainrunner
