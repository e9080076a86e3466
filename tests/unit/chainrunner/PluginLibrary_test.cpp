#include "chainrunner/PluginLibrary.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "chainrunner/PluginObject.h"
#include "devhost/devhost.h"

namespace chainrunner {
namespace {

std::string failureOf(const std::string& file) {
  try {
    const PluginLibrary library(file);
    return "no failure";
  } catch (const PluginError& error) {
    return error.what();
  }
}

TEST(PluginLibraryTest, LoadsAPluginWithAllEntryPoints) {
  const PluginLibrary library(PLUGIN_PASSING_ON);
  EXPECT_EQ(library.entries().apiVersion(), 4U);
  EXPECT_STREQ(library.entries().productVersion(), "10.15.4.1");
}

TEST(PluginLibraryTest, NamesAFileThatIsNotThere) {
  EXPECT_EQ(failureOf("/nowhere/plugin.so"),
            "/nowhere/plugin.so: can't be loaded: /nowhere/plugin.so: cannot open shared object file: No such file or "
            "directory");
}

TEST(PluginLibraryTest, NamesAFileThatIsNoLibrary) {
  const auto file = std::filesystem::temp_directory_path() / ("no_library_" + std::to_string(getpid()) + ".so");
  std::ofstream(file) << "this is text, and too short to be anything else";
  EXPECT_TRUE(failureOf(file).starts_with(file.string() + ": can't be loaded: ")) << failureOf(file);
  std::filesystem::remove(file);
}

TEST(PluginLibraryTest, LooksInTheFolderAtHandForABareName) {
  EXPECT_TRUE(failureOf("libc.so.6").starts_with("libc.so.6: can't be loaded: ./libc.so.6: "))
      << failureOf("libc.so.6");
}

TEST(PluginLibraryTest, NamesAMissingEntryPoint) {
  EXPECT_EQ(failureOf(PLUGIN_WITHOUT_START),
            PLUGIN_WITHOUT_START ": the entry point qel_plugin_start_MarlovanceCodec is missing");
}

TEST(PluginLibraryTest, NamesAnApiVersionThatDiffers) {
  EXPECT_EQ(failureOf(PLUGIN_API_VERSION_3), PLUGIN_API_VERSION_3 ": has API version 3, and 4 is needed");
}

TEST(PluginObjectTest, NamesAPluginThatRefusesToBeCreated) {
  std::string logged;
  devhost::setLogSink([&](const devhost::LogLine& line) { logged = line.text; });
  const PluginLibrary library(PLUGIN_CREATE_FAILS);
  const ChainElement nobody{nullptr, nullptr};
  try {
    const PluginObject object(library, "codec", "c1", {}, nobody, nobody);
    ADD_FAILURE() << "nothing was thrown";
  } catch (const PluginError& error) {
    EXPECT_STREQ(error.what(), PLUGIN_CREATE_FAILS ": refuses its configuration (see the log line above)");
  }
  devhost::setLogSink({});
  EXPECT_EQ(logged, "This plug-in always refuses to be created");
}

}  // namespace
}  // namespace chainrunner
