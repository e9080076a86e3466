#include "tests/blackbox/PluginLibrary.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "tests/blackbox/BlackboxTest.h"

namespace tests {
namespace {

std::string refusalOf(const std::string& path) {
  try {
    Session session(path);
    return "";
  } catch (const std::runtime_error& refusal) {
    return refusal.what();
  }
}

TEST(PluginLibraryTest, NamesAMissingFile) {
  EXPECT_NE(refusalOf("/nowhere/plugin.so").find("/nowhere/plugin.so"), std::string::npos);
}

TEST(PluginLibraryTest, NamesAMissingEntryPoint) {
  EXPECT_EQ(refusalOf(PLUGIN_WITHOUT_START),
            std::string(PLUGIN_WITHOUT_START) + " lacks qel_plugin_start_MarlovanceCodec");
}

TEST(PluginLibraryTest, NamesAnotherApiVersion) {
  EXPECT_EQ(refusalOf(PLUGIN_API_VERSION_3), std::string(PLUGIN_API_VERSION_3) + " has API version 3");
}

TEST(PluginLibraryTest, LoadsAPluginThatRefusesToBeCreated) {
  Session session(PLUGIN_CREATE_FAILS);
  EXPECT_FALSE(session.create("{}"));
  EXPECT_EQ(takeLogs(errorLevel), (Texts{"This plug-in always refuses to be created"}));
}

}  // namespace
}  // namespace tests
