#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "devhost/devhost.h"
#include "tests/unit/devhost/StandardErrorCapture.h"

namespace {

struct Line {
  std::string category;
  int level;
  std::string text;
};

/// Keeps the lines of the log while it lives.
class LogTest : public testing::Test {
 protected:
  LogTest() {
    devhost::setLogSink([this](const devhost::LogLine& line) {
      lines.push_back({line.category, line.level, line.text});
    });
  }
  ~LogTest() override { devhost::setLogSink({}); }

  /// The text of one line.
  template <class... Arguments>
  std::string logged(const char* format, Arguments... arguments) {
    lines.clear();
    qel_log_at("connectivity.test", 4, format, arguments...);
    return lines.size() == 1 ? lines[0].text : "not one line";
  }

  std::vector<Line> lines;
};

TEST_F(LogTest, LineReachesTheSinkWithCategoryAndLevel) {
  qel_log_at("connectivity.MarlovanceCodec.c1", 3, "<%s> %s", "connectivity.MarlovanceCodec.c1", "dropped");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].category, "connectivity.MarlovanceCodec.c1");
  EXPECT_EQ(lines[0].level, 3);
  EXPECT_EQ(lines[0].text, "<connectivity.MarlovanceCodec.c1> dropped");
}

TEST_F(LogTest, FormatsAsPrintfDoes) {
  EXPECT_EQ(logged("plain"), "plain");
  EXPECT_EQ(logged("%s %d %f %li %lu", "text", -1, 0.5, -2L, 3UL), "text -1 0.500000 -2 3");
  EXPECT_EQ(logged("[%-5s|%05d|%.2f|%*d|%x|%c]", "ab", 42, 3.14159, 4, 7, 255u, 'z'), "[ab   |00042|3.14|   7|ff|z]");
  EXPECT_EQ(logged("%lld %zu %g %e", -5LL, std::size_t{6}, 0.25, 1e10), "-5 6 0.25 1.000000e+10");
  EXPECT_EQ(logged("100%% of %s", "it"), "100% of it");
}

TEST_F(LogTest, SixtyFourBitConversionsReadAllTheirBits) {
  EXPECT_EQ(logged("%I64d", std::int64_t{-9223372036854775807 - 1}), "-9223372036854775808");
  EXPECT_EQ(logged("%I64u", std::uint64_t{18446744073709551615u}), "18446744073709551615");
  EXPECT_EQ(logged("%I64d|%s|%I64u", std::int64_t{1}, "between", std::uint64_t{2}), "1|between|2");
  EXPECT_EQ(logged("[%8I64d|%-8I64u|%+I64d|%016I64x]", std::int64_t{-42}, std::uint64_t{42}, std::int64_t{7},
                   std::uint64_t{0xABCDEF0123456789}),
            "[     -42|42      |+7|abcdef0123456789]");
}

TEST_F(LogTest, EscapedPercentBeforeI64IsText) {
  EXPECT_EQ(logged("%%I64d %d", 5), "%I64d 5");
}

TEST_F(LogTest, NullStringIsShown) {
  EXPECT_EQ(logged("<%s>", static_cast<const char*>(nullptr)), "<(null)>");
}

TEST_F(LogTest, PercentInAnArgumentStaysText) {
  EXPECT_EQ(logged("%s", "100%s %n %I64d"), "100%s %n %I64d");
}

TEST_F(LogTest, LongLinesAreWhole) {
  for (std::size_t length : {511u, 512u, 513u, 100'000u}) {
    const std::string argument(length, 'x');
    EXPECT_EQ(logged("%s", argument.c_str()), argument);
  }
}

TEST_F(LogTest, PercentAtTheEndHarmsNothing) {
  EXPECT_EQ(logged("half %"), "half %");
}

TEST_F(LogTest, NullCategoryAndFormatAreShown) {
  qel_log_at(nullptr, 2, nullptr);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].category, "(null)");
  EXPECT_EQ(lines[0].text, "(null)");
}

TEST_F(LogTest, SecretIsMasked) {
  devhost::maskSecret("s3cret-of-this-test");
  EXPECT_EQ(logged("%s", "password=s3cret-of-this-test; s3cret-of-this-test"), "password=***; ***");
}

TEST_F(LogTest, LongerSecretLeavesNothingWhenAShorterIsPartOfIt) {
  devhost::maskSecret("inner-secret");
  devhost::maskSecret("an-inner-secret-outside");
  EXPECT_EQ(logged("%s", "an-inner-secret-outside inner-secret"), "*** ***");
}

TEST_F(LogTest, SecretIsMaskedInTheCategory) {
  devhost::maskSecret("chain-secret");
  qel_log_at("connectivity.chain-secret", 4, "text");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].category, "connectivity.***");
}

TEST_F(LogTest, Base64WordWithTheSecretAtAnyAlignmentIsMasked) {
  devhost::maskSecret("fleet-secret");
  // "u:fleet-secret", "us:fleet-secret", "use:fleet-secret" and "fleet-secret" behind each other, in base64.
  EXPECT_EQ(logged("Basic %s.", "dTpmbGVldC1zZWNyZXQ="), "Basic ***.");
  EXPECT_EQ(logged("Basic %s.", "dXM6ZmxlZXQtc2VjcmV0"), "Basic ***.");
  EXPECT_EQ(logged("Basic %s.", "dXNlOmZsZWV0LXNlY3JldA=="), "Basic ***.");
  EXPECT_EQ(logged("%s", "ZmxlZXQtc2VjcmV0"), "***");
}

TEST_F(LogTest, Base64WordIsFoundBehindCharactersOfItsAlphabet) {
  devhost::maskSecret("fleet-secret");
  EXPECT_EQ(logged("%s", "x/dXM6ZmxlZXQtc2VjcmV0, next"), "***, next");
}

TEST_F(LogTest, UrlSafeBase64IsMasked) {
  devhost::maskSecret("\xFB\xFF\xFE-url-safe");
  EXPECT_EQ(logged("%s", "-__-LXVybC1zYWZl"), "***");
  EXPECT_EQ(logged("%s", "+//+LXVybC1zYWZl"), "***");
}

TEST_F(LogTest, OtherBase64WordsStay) {
  devhost::maskSecret("fleet-secret");
  // "us:fleet-secrex"
  EXPECT_EQ(logged("Basic %s", "dXM6ZmxlZXQtc2VjcmV4"), "Basic dXM6ZmxlZXQtc2VjcmV4");
}

TEST_F(LogTest, EmptySecretMasksNothing) {
  devhost::maskSecret("");
  EXPECT_EQ(logged("text"), "text");
}

TEST_F(LogTest, SinkThatThrowsLosesNoLine) {
  devhost::setLogSink([](const devhost::LogLine&) { throw std::runtime_error("full"); });
  StandardErrorCapture standardError;
  qel_log_at("category", 2, "kept");
  EXPECT_NE(standardError.text().find("category kept\n"), std::string::npos);
}

TEST_F(LogTest, SinkIsCalledByOneThreadAtATime) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([i] {
      for (int n = 0; n < 500; ++n) qel_log_at("category", 4, "%d.%d", i, n);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(lines.size(), 2000u);
}

/// The text with "0" for each digit.
std::string withoutDigits(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char character) { return character >= '0' && character <= '9'; }, '0');
  return text;
}

TEST(LogLineTest, ShowsTimeLevelCategoryAndText) {
  StandardErrorCapture standardError;
  qel_log_at("connectivity.codec", 2, "first");
  qel_log_at("connectivity.codec", 3, "second");
  qel_log_at("connectivity.codec", 4, "third");
  qel_log_at("connectivity.codec", 5, "fourth");
  qel_log_at("connectivity.codec", 6, "fifth");
  EXPECT_EQ(withoutDigits(standardError.text()),
            "0000-00-00T00:00:00.000Z ERROR connectivity.codec first\n"
            "0000-00-00T00:00:00.000Z WARN  connectivity.codec second\n"
            "0000-00-00T00:00:00.000Z INFO  connectivity.codec third\n"
            "0000-00-00T00:00:00.000Z DEBUG connectivity.codec fourth\n"
            "0000-00-00T00:00:00.000Z LEVEL 0 connectivity.codec fifth\n");
}

TEST(LogLineTest, StaysOneLineWhateverIsInTheText) {
  StandardErrorCapture standardError;
  qel_log_at("category", 4, "%s", "a\nb\rc\td\x1B[31m\x7F Größe");
  const std::string text = standardError.text();
  EXPECT_NE(text.find("category a\\nb\\x0Dc\\x09d\\x1B[31m\\x7F Größe\n"), std::string::npos) << text;
}

TEST(LogLineTest, LinesOfThreadsDoNotMix) {
  StandardErrorCapture standardError;
  std::vector<std::thread> threads;
  for (char name : {'a', 'b', 'c', 'd'}) {
    threads.emplace_back([name] {
      const std::string text(300, name);
      for (int n = 0; n < 250; ++n) qel_log_at("category", 4, "%s", text.c_str());
    });
  }
  for (std::thread& thread : threads) thread.join();

  std::map<std::string, int> texts;
  std::istringstream lines(standardError.text());
  for (std::string line; std::getline(lines, line);) ++texts[line.substr(line.rfind(' ') + 1)];
  const std::map<std::string, int> expected = {{std::string(300, 'a'), 250},
                                               {std::string(300, 'b'), 250},
                                               {std::string(300, 'c'), 250},
                                               {std::string(300, 'd'), 250}};
  EXPECT_EQ(texts, expected);
}

TEST(LogLevelTest, LongestPrefixDecides) {
  devhost::setLogLevel("levels.", 4);
  devhost::setLogLevel("levels.codec", 5);
  devhost::setLogLevel("levels.codec.quiet", 2);
  EXPECT_EQ(qel_get_log_level("levels.other"), 4);
  EXPECT_EQ(qel_get_log_level("levels.codec"), 5);
  EXPECT_EQ(qel_get_log_level("levels.codec.c1"), 5);
  EXPECT_EQ(qel_get_log_level("levels.codec.quiet.c1"), 2);
  EXPECT_EQ(qel_get_log_level("levels.codec.r"), 5);
}

TEST(LogLevelTest, LaterWordOnTheSamePrefixReplacesTheEarlier) {
  devhost::setLogLevel("changing", 5);
  devhost::setLogLevel("changing", 2);
  EXPECT_EQ(qel_get_log_level("changing.c1"), 2);
}

/// In processes of their own, since the environment is read once.
class LogLevelDeathTest : public testing::Test {
 protected:
  LogLevelDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

  static void exitWithLevel() { std::exit(qel_get_log_level("any.category")); }
};

TEST_F(LogLevelDeathTest, IsWarnAtFirst) {
  EXPECT_EXIT(unsetenv("DEVHOST_LOG_LEVEL"); exitWithLevel(), testing::ExitedWithCode(3), "^$");
}

TEST_F(LogLevelDeathTest, ComesFromTheEnvironment) {
  EXPECT_EXIT(setenv("DEVHOST_LOG_LEVEL", "error", 1); exitWithLevel(), testing::ExitedWithCode(2), "^$");
  EXPECT_EXIT(setenv("DEVHOST_LOG_LEVEL", "warn", 1); exitWithLevel(), testing::ExitedWithCode(3), "^$");
  EXPECT_EXIT(setenv("DEVHOST_LOG_LEVEL", "info", 1); exitWithLevel(), testing::ExitedWithCode(4), "^$");
  EXPECT_EXIT(setenv("DEVHOST_LOG_LEVEL", "debug", 1); exitWithLevel(), testing::ExitedWithCode(5), "^$");
}

TEST_F(LogLevelDeathTest, UnknownWordInTheEnvironmentIsTold) {
  EXPECT_EXIT(
      setenv("DEVHOST_LOG_LEVEL", "loud", 1);
      exitWithLevel(), testing::ExitedWithCode(3),
      "^development host: DEVHOST_LOG_LEVEL must be error, warn, info or debug, not \"loud\"; warn is taken\n$");
}

TEST_F(LogLevelDeathTest, EmptyPrefixStandsForTheRest) {
  EXPECT_EXIT(devhost::setLogLevel("", 5); exitWithLevel(), testing::ExitedWithCode(5), "^$");
}

}  // namespace
