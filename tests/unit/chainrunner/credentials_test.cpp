#include "chainrunner/credentials.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace chainrunner {
namespace {

class CredentialsTest : public testing::Test {
 protected:
  CredentialsTest() { clear(); }
  ~CredentialsTest() override { clear(); }

  static void set(const char* name, const std::string& value) { setenv(name, value.c_str(), 1); }
  static std::string failure() {
    try {
      credentialsFromEnvironment();
      return "no failure";
    } catch (const std::runtime_error& error) {
      return error.what();
    }
  }

 private:
  static void clear() {
    for (const char* name : {"MARLOVANCE_USERNAME", "MARLOVANCE_PASSWORD", "MARLOVANCE_PASSWORD_FILE"}) unsetenv(name);
  }
};

TEST_F(CredentialsTest, AreNoneInAnEmptyEnvironment) {
  EXPECT_FALSE(credentialsFromEnvironment().has_value());
}

TEST_F(CredentialsTest, ComeFromTheEnvironment) {
  set("MARLOVANCE_USERNAME", "me");
  set("MARLOVANCE_PASSWORD", "secret");
  EXPECT_EQ(credentialsFromEnvironment()->username, "me");
  EXPECT_EQ(credentialsFromEnvironment()->password, "secret");
}

TEST_F(CredentialsTest, TakeTheFirstLineOfAPasswordFile) {
  const auto file = std::filesystem::temp_directory_path() / ("password_" + std::to_string(getpid()));
  std::ofstream(file) << "from file\r\nmore\n";
  set("MARLOVANCE_USERNAME", "me");
  set("MARLOVANCE_PASSWORD_FILE", file);
  EXPECT_EQ(credentialsFromEnvironment()->password, "from file");
  set("MARLOVANCE_PASSWORD", "secret");
  EXPECT_EQ(failure(), "MARLOVANCE_PASSWORD and MARLOVANCE_PASSWORD_FILE are both set");
  std::filesystem::remove(file);
}

TEST_F(CredentialsTest, NameWhatIsMissing) {
  set("MARLOVANCE_USERNAME", "me");
  EXPECT_EQ(failure(), "neither MARLOVANCE_PASSWORD nor MARLOVANCE_PASSWORD_FILE is set");
  set("MARLOVANCE_PASSWORD_FILE", "/nowhere/password");
  EXPECT_EQ(failure(), "/nowhere/password: No such file or directory");
  unsetenv("MARLOVANCE_PASSWORD_FILE");
  unsetenv("MARLOVANCE_USERNAME");
  set("MARLOVANCE_PASSWORD", "secret");
  EXPECT_EQ(failure(), "MARLOVANCE_USERNAME is not set");
}

TEST_F(CredentialsTest, OfAnOwnSimulatorAreNeverTheSame) {
  EXPECT_NE(freshCredentials().password, freshCredentials().password);
}

}  // namespace
}  // namespace chainrunner
