// The border of the built library, as the dynamic linker sees it.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>

#include "tests/blackbox/BlackboxTest.h"

namespace tests {
namespace {

using Names = std::set<std::string>;

std::string outputOf(const std::string& command) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  if (!pipe) throw std::runtime_error("can't run " + command);
  std::string output;
  char part[4096];
  while (const std::size_t size = std::fread(part, 1, sizeof part, pipe.get())) output.append(part, size);
  return output;
}

/// The symbols of the dynamic table that nm shows with the option.
Names symbols(const std::string& option) {
  std::istringstream lines(outputOf(NM_PROGRAM " --dynamic --format=posix " + option + " " + pluginLibraryPath()));
  Names names;
  for (std::string line; std::getline(lines, line);) names.insert(line.substr(0, line.find_first_of(" @")));
  return names;
}

bool isOfTheHost(const std::string& symbol) {
  return symbol.starts_with("qel_") || symbol.starts_with("kv_") || symbol.find("9decimal64") != std::string::npos ||
         symbol.find("8Platform") != std::string::npos;
}

TEST(ExportsTest, AreTheElevenEntryPointsAndNothingElse) {
  EXPECT_EQ(symbols("--defined-only"), (Names{
                                           "qel_plugin_api_version_MarlovanceCodec",
                                           "qel_plugin_product_version_MarlovanceCodec",
                                           "qel_create_plugin_with_params_MarlovanceCodec",
                                           "qel_destroy_plugin_MarlovanceCodec",
                                           "qel_plugin_start_MarlovanceCodec",
                                           "qel_plugin_hostReady_MarlovanceCodec",
                                           "qel_plugin_shutdown_MarlovanceCodec",
                                           "qel_plugin_setNextTowardsHost_MarlovanceCodec",
                                           "qel_plugin_setNextTowardsTransport_MarlovanceCodec",
                                           "qel_plugin_sendBatchTowardsHost_MarlovanceCodec",
                                           "qel_plugin_sendBatchTowardsTransport_MarlovanceCodec",
                                       }));
}

TEST(ExportsTest, LeaveTheHostsOperationsToTheHost) {
  Names undefined = symbols("--undefined-only");
  std::erase_if(undefined, [](const std::string& symbol) { return !isOfTheHost(symbol); });
  EXPECT_EQ(undefined, (Names{
                           "qel_copy_data",
                           "qel_copy_string",
                           "qel_allocate_map",
                           "qel_reallocate_map",
                           "qel_free_map",
                           "qel_allocate_vector",
                           "qel_reallocate_vector",
                           "qel_free_vector",
                           "qel_free_string",
                           "qel_free_buffer",
                           "qel_free_custom",
                           "qel_hash_string",
                           "qel_log_at",
                           "qel_get_log_level",
                           "qel_create_user_status_item",
                           "qel_set_user_status_item",
                           "qel_delete_user_status_item",
                           "qel_set_user_status_map",
                           "kv_getUTF8",
                           "kv_malloc",
                           "_ZNK9decimal648toStringEPc",
                           "_ZN8Platform14float64ToChar8EPcd",
                           "_ZN8Platform14char8ToFloat64EPKcPS1_",
                           "_ZN8Platform24relativeHighResTimeFloatEv",
                           "_ZN8Platform7kv_freeEPv",
                       }));
}

TEST(ExportsTest, NeedNoLibraryOfTheHost) {
  const std::string needed = outputOf(READELF_PROGRAM " --dynamic --wide " + pluginLibraryPath());
  ASSERT_NE(needed.find("(NEEDED)"), std::string::npos);
  EXPECT_EQ(needed.find("kvclient"), std::string::npos);
  EXPECT_EQ(needed.find("kvcommon"), std::string::npos);
}

TEST(ExportsTest, LoadAtOnceAndUnloadForGood) {
  const std::string path = pluginLibraryPath();
  { PluginLibrary library(path); }
  EXPECT_EQ(dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
}

}  // namespace
}  // namespace tests
