// Plays the scenario files named on the command line, each as a test of its own.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/blackbox/ScenarioPlayer.h"

namespace {

class ScenarioTest : public testing::Test {
 public:
  explicit ScenarioTest(std::filesystem::path file) : file(std::move(file)) {}

  void TestBody() override {
    std::ifstream stream(file);
    ASSERT_TRUE(stream) << "can't read " << file;
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    for (const std::string& difference : tests::ScenarioPlayer(text).play()) ADD_FAILURE() << difference;
  }

 private:
  std::filesystem::path file;
};

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  for (int index = 1; index < argc; ++index) {
    const std::filesystem::path file(argv[index]);
    testing::RegisterTest("ScenarioTest", file.stem().c_str(), nullptr, nullptr, argv[index], 1,
                          [file] { return new ScenarioTest(file); });
  }
  if (argc < 2) return 2;
  return RUN_ALL_TESTS();
}
