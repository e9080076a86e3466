#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "connectivity/host_abi.h"

// Sanitizers end the process over memory that can't be had, unless they are told to give null as the C library does.
extern "C" {
__attribute__((visibility("default"))) const char* __asan_default_options() {
  return "allocator_may_return_null=1";
}
__attribute__((visibility("default"))) const char* __tsan_default_options() {
  return "allocator_may_return_null=1";
}
}

namespace {

std::string utf8Of(const std::u16string& text) {
  char* copy = kv_getUTF8(reinterpret_cast<const uint16_t*>(text.c_str()));
  const std::string result = copy;
  std::free(copy);
  return result;
}

TEST(GetUTF8Test, EachLengthOfEncodingComesOutRight) {
  EXPECT_EQ(utf8Of(u""), "");
  EXPECT_EQ(utf8Of(u"pump 7"), "pump 7");
  EXPECT_EQ(utf8Of(u"\u007F\u0080\u07FF\u0800\uFFFF"), "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF");
  EXPECT_EQ(utf8Of(u"\U00010000\U0001F600\U0010FFFF"), "\xF0\x90\x80\x80\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF");
}

TEST(GetUTF8Test, SurrogateWithoutItsOtherHalfBecomesTheReplacementCharacter) {
  const char16_t high = 0xD83D;
  const char16_t low = 0xDE00;
  EXPECT_EQ(utf8Of({high}), "\xEF\xBF\xBD");
  EXPECT_EQ(utf8Of({low}), "\xEF\xBF\xBD");
  EXPECT_EQ(utf8Of({u'a', high, u'b'}),
            "a\xEF\xBF\xBD"
            "b");
  EXPECT_EQ(utf8Of({low, high}), "\xEF\xBF\xBD\xEF\xBF\xBD");
  EXPECT_EQ(utf8Of({high, high, low}), "\xEF\xBF\xBD\xF0\x9F\x98\x80");
}

TEST(GetUTF8Test, AsciiOfAnyLengthStaysAsItIs) {
  for (const std::size_t size : {1, 62, 63, 64, 65, 1'000}) {
    EXPECT_EQ(utf8Of(std::u16string(size, u'~')), std::string(size, '~')) << size;
    EXPECT_EQ(utf8Of(std::u16string(size - 1, u'~') + u'\u00E9'), std::string(size - 1, '~') + "\xC3\xA9") << size;
  }
}

TEST(GetUTF8Test, LongTextOfTheWidestCharactersFits) {
  std::u16string text;
  std::string expected;
  for (int i = 0; i < 10'000; ++i) {
    text += u'\u20AC';
    expected += "\xE2\x82\xAC";
  }
  EXPECT_EQ(utf8Of(text), expected);
}

TEST(KvMallocTest, GivesABlockThatFreeTakes) {
  auto* block = static_cast<char*>(kv_malloc(1000));
  ASSERT_NE(block, nullptr);
  std::memset(block, 'x', 1000);
  std::free(block);
}

TEST(KvMallocTest, GivesNullWhenMemoryIsExhausted) {
  EXPECT_EQ(kv_malloc(std::uint64_t{1} << 62), nullptr);
}

}  // namespace
