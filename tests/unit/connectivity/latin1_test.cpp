#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "connectivity/conversion.h"
#include "tests/support/TestHost.h"
#include "tests/unit/connectivity/failure.h"
#include "tests/unit/connectivity/host_variations.h"

namespace tests {
namespace {

using com::tallowmere::connectivity10_15_4::toLatin1;
using Numbers = std::vector<std::uint64_t>;

std::string latin1(const std::string& text) {
  return toLatin1(text).get();
}

TEST(Latin1Test, KeepsPlainText) {
  EXPECT_EQ(latin1("plain text, 123!"), "plain text, 123!");
  EXPECT_EQ(latin1(""), "");
}

TEST(Latin1Test, TurnsLatinLettersIntoOneByteEach) {
  EXPECT_EQ(latin1("Größe: 5 °C, ÿ"),
            "Gr\xF6\xDF"
            "e: 5 \xB0"
            "C, \xFF");
}

TEST(Latin1Test, PutsASubstituteForEachOtherCharacter) {
  EXPECT_EQ(latin1("5 €"), "5 \x1A");
  EXPECT_EQ(latin1("a日本b"),
            "a\x1A\x1A"
            "b");
  EXPECT_EQ(latin1("😀"), "\x1A");
}

TEST(Latin1Test, PutsASubstituteForInvalidBytes) {
  EXPECT_EQ(latin1("a\xFF"
                   "b"),
            "a\x1A"
            "b");
}

TEST(Latin1Test, EndsAtTheFirstNul) {
  EXPECT_EQ(latin1(std::string("ab\0cd", 5)), "ab");
}

TEST(Latin1Test, AsksTheHostForTheLengthAndTwo) {
  TestHost::forgetCalls();
  latin1("");
  latin1("abc");
  latin1("ö");
  EXPECT_EQ(TestHost::arguments(HostCall::kv_malloc), (Numbers{2, 5, 4}));
}

TEST(Latin1Test, RefusesWhenThereIsNoMemory) {
  const ExhaustedMemory exhausted;
  EXPECT_EQ(failureOf([] { return toLatin1("text"); }), "Failed to allocate memory");
}

TEST(Latin1Test, NamesBothCharacterSetsWhenTheConversionFails) {
  const FailingConversion failing;
  EXPECT_EQ(failureOf([] { return toLatin1("text"); }), "Could not convert argument from UTF-8 to iso8859-1");
}

}  // namespace
}  // namespace tests
