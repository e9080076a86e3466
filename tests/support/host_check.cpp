// Runs the host's check at both ends of each test. Registers itself, so that no test can forget it.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/TestHost.h"

namespace tests {
namespace {

class HostCheck : public testing::EmptyTestEventListener {
  static constexpr std::size_t linesShown = 10;

  void OnTestStart(const testing::TestInfo&) override { TestHost::beginTest(); }

  void OnTestEnd(const testing::TestInfo&) override {
    const std::vector<std::string> lines = TestHost::endTest();
    for (std::size_t index = 0; index < std::min(lines.size(), linesShown); ++index) ADD_FAILURE() << lines[index];
    if (lines.size() > linesShown) ADD_FAILURE() << "and " << lines.size() - linesShown << " more";
  }
};

[[maybe_unused]] const bool registered = [] {
  testing::UnitTest::GetInstance()->listeners().Append(new HostCheck);
  return true;
}();

}  // namespace
}  // namespace tests
