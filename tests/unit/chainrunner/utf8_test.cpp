#include "chainrunner/utf8.h"

#include <gtest/gtest.h>

namespace chainrunner {
namespace {

TEST(Utf8Test, MeasuresWellFormedCharacters) {
  EXPECT_EQ(utf8CharacterLength("a"), 1U);
  EXPECT_EQ(utf8CharacterLength("\xC3\xA9x"), 2U);
  EXPECT_EQ(utf8CharacterLength("\xE2\x82\xAC"), 3U);
  EXPECT_EQ(utf8CharacterLength("\xF4\x8F\xBF\xBF"), 4U);
}

TEST(Utf8Test, FindsNoCharacterInBadBytes) {
  EXPECT_EQ(utf8CharacterLength("\x80"), 0U);
  EXPECT_EQ(utf8CharacterLength("\xC3"), 0U);
  EXPECT_EQ(utf8CharacterLength("\xC3("), 0U);
  EXPECT_EQ(utf8CharacterLength("\xC0\xAF"), 0U) << "overlong";
  EXPECT_EQ(utf8CharacterLength("\xE0\x80\xAF"), 0U) << "overlong";
  EXPECT_EQ(utf8CharacterLength("\xED\xA0\x80"), 0U) << "surrogate";
  EXPECT_EQ(utf8CharacterLength("\xF4\x90\x80\x80"), 0U) << "beyond the last character";
  EXPECT_EQ(utf8CharacterLength("\xFF"), 0U);
}

TEST(Utf8Test, RepairsByteByByte) {
  EXPECT_EQ(repairedUtf8("a\xC3\xA9"
                         "b"),
            "a\xC3\xA9"
            "b");
  EXPECT_EQ(repairedUtf8("a\xFF\xE2\x82z"), "a\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBDz");
}

}  // namespace
}  // namespace chainrunner
