// The types of configuration elements: what each accepts, and what messages call it.
#include <gtest/gtest.h>

#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <cstdint>
#include <locale>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#include "tests/unit/connectivity/cases.h"
#include "tests/unit/connectivity/extraction.h"

namespace tests {
namespace {

using product::ConfigElement;
using product::Enumeration;
using product::extractConfiguration;
using product::map_t;

struct Colours {
  static std::vector<std::string> words() { return {"Red", "Green", "Blue"}; }
};
struct Single {
  static std::vector<std::string> words() { return {"only"}; }
};

struct TypeCase {
  const char* name;
  const char* value;  // JSON
  const char *asString, *asInteger, *asBoolean, *asMode;
};

void PrintTo(const TypeCase& each, std::ostream* out) {
  *out << each.name;
}

class ConfigTypeTest : public testing::TestWithParam<TypeCase> {
 protected:
  static std::string shown(const std::string& value) { return "text " + value; }
  static std::string shown(std::int64_t value) { return std::to_string(value); }
  static std::string shown(bool value) { return value ? "yes" : "no"; }
  static std::string shown(const Enumeration<Modes>& value) { return "word " + value.word; }

  template <class T>
  std::string outcome() {
    map_t config;
    config["k"] = dataFromJson(GetParam().value);
    std::string result;
    testing::internal::CaptureStderr();
    const std::string failure = failureOf([&] {
      result = shown(std::get<0>(extractConfiguration(label, config, ConfigElement<T>{plain("k"), true, T()})));
    });
    testing::internal::GetCapturedStderr();
    return failure == "(no failure)" ? result : failure;
  }
};

constexpr const char* noString = "MarlovanceCodec configuration k must be a string";
constexpr const char* noInteger = "MarlovanceCodec configuration k must be an integer";
constexpr const char* noBoolean = "MarlovanceCodec configuration k must be a boolean";
constexpr const char* noMode = "MarlovanceCodec configuration k must be always or auto";

TEST_P(ConfigTypeTest, IsReadOrRefused) {
  EXPECT_EQ(outcome<std::string>(), GetParam().asString);
  EXPECT_EQ(outcome<std::int64_t>(), GetParam().asInteger);
  EXPECT_EQ(outcome<bool>(), GetParam().asBoolean);
  EXPECT_EQ(outcome<Enumeration<Modes>>(), GetParam().asMode);
}

INSTANTIATE_TEST_SUITE_P(
    Tags, ConfigTypeTest,
    testing::Values(TypeCase{"Empty", "null", noString, noInteger, noBoolean, noMode},
                    TypeCase{"True", "true", noString, noInteger, "yes", noMode},
                    TypeCase{"False", "false", noString, noInteger, "no", noMode},
                    TypeCase{"Double", "5.0", noString, noInteger, noBoolean, noMode},
                    TypeCase{"Integer", "-5", noString, "-5", noBoolean, noMode},
                    TypeCase{"IntegerOne", "1", noString, "1", noBoolean, noMode},
                    TypeCase{"Decimal", R"({"$decimal": 5})", noString, noInteger, noBoolean, noMode},
                    TypeCase{"List", "[5]", noString, noInteger, noBoolean, noMode},
                    TypeCase{"Map", R"({"a": 5})", noString, noInteger, noBoolean, noMode},
                    TypeCase{"Buffer", R"({"$buffer": "35"})", noString, noInteger, noBoolean, noMode},
                    TypeCase{"Custom", R"({"$custom": 5})", noString, noInteger, noBoolean, noMode},
                    TypeCase{"BorrowedText", R"({"$borrowed": "5"})", "text 5", "5", noBoolean, noMode},
                    TypeCase{"BorrowedWord", R"({"$borrowed": "Auto"})", "text Auto", noInteger, noBoolean,
                             "word auto"}),
    NameOfCase());

INSTANTIATE_TEST_SUITE_P(
    Texts, ConfigTypeTest,
    testing::Values(TypeCase{"Nothing", R"("")", "text ", noInteger, noBoolean, noMode},
                    TypeCase{"Digits", R"("42")", "text 42", "42", noBoolean, noMode},
                    TypeCase{"Plus", R"("+5")", "text +5", "5", noBoolean, noMode},
                    TypeCase{"Minus", R"("-5")", "text -5", "-5", noBoolean, noMode},
                    TypeCase{"LeadingZeros", R"("007")", "text 007", "7", noBoolean, noMode},
                    TypeCase{"SignsAlone", R"("-")", "text -", noInteger, noBoolean, noMode},
                    TypeCase{"TwoSigns", R"("+-5")", "text +-5", noInteger, noBoolean, noMode},
                    TypeCase{"LetterBehind", R"("5x")", "text 5x", noInteger, noBoolean, noMode},
                    TypeCase{"BlankBefore", R"(" 5")", "text  5", noInteger, noBoolean, noMode},
                    TypeCase{"BlankBehind", R"("5 ")", "text 5 ", noInteger, noBoolean, noMode},
                    TypeCase{"Fraction", R"("5.0")", "text 5.0", noInteger, noBoolean, noMode},
                    TypeCase{"Exponent", R"("5e1")", "text 5e1", noInteger, noBoolean, noMode},
                    TypeCase{"Hexadecimal", R"("0x5")", "text 0x5", noInteger, noBoolean, noMode},
                    TypeCase{"GroupedDigits", R"("1,000")", "text 1,000", noInteger, noBoolean, noMode},
                    TypeCase{"Highest", R"("9223372036854775807")", "text 9223372036854775807", "9223372036854775807",
                             noBoolean, noMode},
                    TypeCase{"AboveTheHighest", R"("9223372036854775808")", "text 9223372036854775808", noInteger,
                             noBoolean, noMode},
                    TypeCase{"Lowest", R"("-9223372036854775808")", "text -9223372036854775808", "-9223372036854775808",
                             noBoolean, noMode},
                    TypeCase{"BelowTheLowest", R"("-9223372036854775809")", "text -9223372036854775809", noInteger,
                             noBoolean, noMode},
                    TypeCase{"TwentyDigits", R"("12345678901234567890")", "text 12345678901234567890", noInteger,
                             noBoolean, noMode},
                    TypeCase{"LowerTrue", R"("true")", "text true", noInteger, "yes", noMode},
                    TypeCase{"UpperTrue", R"("TRUE")", "text TRUE", noInteger, "yes", noMode},
                    TypeCase{"MixedFalse", R"("False")", "text False", noInteger, "no", noMode},
                    TypeCase{"Yes", R"("yes")", "text yes", noInteger, noBoolean, noMode},
                    TypeCase{"Zero", R"("0")", "text 0", "0", noBoolean, noMode},
                    TypeCase{"TrueAndBlank", R"("true ")", "text true ", noInteger, noBoolean, noMode},
                    TypeCase{"Always", R"("always")", "text always", noInteger, noBoolean, "word always"},
                    TypeCase{"MixedAuto", R"("aUtO")", "text aUtO", noInteger, noBoolean, "word auto"},
                    TypeCase{"WordsBeginning", R"("alway")", "text alway", noInteger, noBoolean, noMode},
                    TypeCase{"OtherWord", R"("never")", "text never", noInteger, noBoolean, noMode}),
    NameOfCase());

TEST(ConfigEnumerationTest, NamesItsWordsInTheMessage) {
  EXPECT_EQ(failureOfExtracting(R"({"k": "x"})", ConfigElement<Enumeration<Colours>>{plain("k"), true, {}}),
            "MarlovanceCodec configuration k must be Red, Green or Blue");
  EXPECT_EQ(failureOfExtracting(R"({"k": "x"})", ConfigElement<Enumeration<Single>>{plain("k"), true, {}}),
            "MarlovanceCodec configuration k must be only");
}

TEST(ConfigEnumerationTest, ComparesInLowerCaseOnBothSides) {
  const auto [colour] = extractConfiguration(label, mapFromJson(R"({"k": "GREEN"})"),
                                             ConfigElement<Enumeration<Colours>>{plain("k"), true, {}});
  EXPECT_EQ(colour.word, "green");
}

TEST(ConfigTypeLineTest, ComesOnStandardErrorForWhatIsNoString) {
  const auto line = [](const char* config, const auto& element) {
    testing::internal::CaptureStderr();
    failureOf([&] { return extractConfiguration(label, mapFromJson(config), element); });
    return testing::internal::GetCapturedStderr();
  };
  const char* ofPointer = "GetVisitor<PKc>.operator()(PKc)\n";
  EXPECT_EQ(line(R"({"k": 1})", String{plain("k"), true, ""}), ofPointer);
  EXPECT_EQ(line(R"({"k": true})", Integer{plain("k"), true, 0}), ofPointer);
  EXPECT_EQ(line(R"({"k": 1})", Boolean{plain("k"), true, false}), ofPointer);
  EXPECT_EQ(line(R"({"k": 1})", Mode{plain("k"), true, {}}), ofPointer);
  EXPECT_EQ(line(R"({"k": null})", Integer{plain("k"), true, 0}), "");
  EXPECT_EQ(line(R"({"k": "5x"})", Integer{plain("k"), true, 0}), "");
  EXPECT_EQ(line(R"({"k": 5})", Integer{plain("k"), true, 0}), "");
}

TEST(ConfigConversionTest, FailsWithAReasonOfItsOwnBeforeItIsReplaced) {
  EXPECT_EQ(failureOf([] { return product::Conversion<bool>::convert(text("yes")); }), "not a bool");
  EXPECT_EQ(failureOf([] { return product::Conversion<Enumeration<Modes>>::convert(text("never")); }),
            "not in the enumeration");
  EXPECT_THROW(product::Conversion<std::int64_t>::convert(text("5x")), boost::bad_lexical_cast);
}

struct Grouping : std::numpunct<char> {
  char do_thousands_sep() const override { return ','; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(ConfigTypesTest, IntegersAreReadAlikeWhateverTheLocale) {
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
  const std::string failure = failureOfExtracting(R"({"k": "1,000"})", Integer{plain("k"), true, 0});
  std::locale::global(before);
  EXPECT_EQ(failure, "MarlovanceCodec configuration k must be an integer");
}

}  // namespace
}  // namespace tests
