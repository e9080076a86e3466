// Plays the scenario files named on the command line, each as a test of its own, and each once more with a hash under
// which nearly all keys collide: no scenario may depend on where a map keeps its entries.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

#include "tests/blackbox/ScenarioPlayer.h"
#include "tests/support/TestHost.h"

namespace {

class ScenarioTest : public testing::Test {
 public:
  using Hash = std::uint64_t (*)(std::string_view);

  ScenarioTest(std::filesystem::path file, Hash hash) : file(std::move(file)), hash(hash) {}

  void TestBody() override {
    std::ifstream stream(file);
    ASSERT_TRUE(stream) << "can't read " << file;
    if (hash) tests::TestHost::useHash(hash);
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    for (const std::string& difference : tests::ScenarioPlayer(text).play()) ADD_FAILURE() << difference;
  }

 private:
  std::filesystem::path file;
  Hash hash;
};

/// Gives each scenario tables full of the two hash values that mark free slots and tombstones.
std::uint64_t collidingHash(std::string_view text) {
  return text.size() % 2;
}

void addTest(const std::string& name, const std::filesystem::path& file, ScenarioTest::Hash hash) {
  testing::RegisterTest("ScenarioTest", name.c_str(), nullptr, nullptr, file.c_str(), 1,
                        [file, hash] { return new ScenarioTest(file, hash); });
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  for (int index = 1; index < argc; ++index) {
    const std::filesystem::path file(argv[index]);
    addTest(file.stem(), file, nullptr);
    addTest(file.stem().string() + "_with_colliding_keys", file, collidingHash);
  }
  if (argc < 2) return 2;
  return RUN_ALL_TESTS();
}
