#include "parsers/error_response.h"

#include "tests/unit/parsers/ParserTest.h"

namespace tests {
namespace {

TEST(ErrorResponseTest, KnowsTheMediaTypeOfErrorBodies) {
  EXPECT_EQ(toJson(plugins::errorMediaType), R"("application/vnd.com.rdx.marlovance.error+json")");
}

struct Indented {
  const char* name;
  const char* text;
  const char* expected;
};

void PrintTo(const Indented& line, std::ostream* out) {
  *out << line.name;
}

class IndentNewlinesTest : public testing::TestWithParam<Indented> {};

TEST_P(IndentNewlinesTest, PutsAnArrowBehindEachLineBreak) {
  EXPECT_EQ(plugins::indentNewlines(GetParam().text), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Texts, IndentNewlinesTest,
                         testing::Values(Indented{"Empty", "", ""}, Indented{"OneLine", "one line", "one line"},
                                         Indented{"LineFeed", "a\nb", "a\n\t---> b"},
                                         Indented{"CarriageReturn", "a\rb", "a\n\t---> b"},
                                         Indented{"BothAreOneBreak", "a\r\nb", "a\n\t---> b"},
                                         Indented{"TheOtherOrderIsTwoBreaks", "a\n\rb", "a\n\t---> \n\t---> b"},
                                         Indented{"EmptyLines", "\n\n", "\n\t---> \n\t---> "},
                                         Indented{"DollarsAreOrdinary", "a\n$1$&", "a\n\t---> $1$&"}),
                         NameOfCase());

TEST(ErrorResponseTest, IndentsALongBody) {
  const std::string line(1000000, 'x');
  EXPECT_EQ(plugins::indentNewlines(line + "\n" + line), line + "\n\t---> " + line);
}

}  // namespace
}  // namespace tests
