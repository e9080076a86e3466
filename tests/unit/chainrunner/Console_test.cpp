#include "chainrunner/Console.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>

namespace chainrunner {
namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

/// What a console writes of a line.
std::string written(const std::string& text) {
  const File file(std::tmpfile());
  Console(file.get(), true).line(text);
  std::rewind(file.get());
  std::string out(1000, '\0');
  out.resize(std::fread(out.data(), 1, out.size(), file.get()));
  return out;
}

TEST(ConsoleTest, EndsEachLine) {
  EXPECT_EQ(written("Čerpadlo \"7\" \\ naïve ¡ 漢字"), "Čerpadlo \"7\" \\ naïve ¡ 漢字\n");
  EXPECT_EQ(written(""), "\n");
}

TEST(ConsoleTest, WritesControlCharactersAsText) {
  EXPECT_EQ(written("a\x1B[2Jb\rc\nWARN d\x7F"), "a\\x1B[2Jb\\x0Dc\\nWARN d\\x7F\n");
  EXPECT_EQ(written(std::string("a\0b", 3)), "a\\x00b\n");
  EXPECT_EQ(written("a\xC2\x9B"
                    "2Jb"),
            "a\\xC2\\x9B2Jb\n");
}

TEST(ConsoleTest, LeavesTabsAndBytesBesideControlCharactersAsTheyAre) {
  EXPECT_EQ(written("a\tb"), "a\tb\n");
  EXPECT_EQ(written("\xC2\xA0\xC3\x9B\xC2"), "\xC2\xA0\xC3\x9B\xC2\n");
}

TEST(ConsoleTest, ShowsNoProgressButOnATerminal) {
  const File file(std::tmpfile());
  Console console(file.get(), true);
  EXPECT_FALSE(console.showsProgress());
  console.progress("half");
  console.clearProgress();
  EXPECT_EQ(std::ftell(file.get()), 0);
}

}  // namespace
}  // namespace chainrunner
