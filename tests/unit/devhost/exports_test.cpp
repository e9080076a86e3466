// The libraries show the host interface and the introspection API, and nothing else.
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <set>
#include <string>

namespace {

using Names = std::set<std::string>;

/// Names that `library` defines for others, C++ ones without their parameters.
Names exportsOf(const std::string& library) {
  const std::string command = "nm --dynamic --defined-only --demangle --format=posix '" + library + "'";
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  Names names;
  char line[1024];
  while (std::fgets(line, sizeof line, pipe.get()) != nullptr) {
    const std::string text = line;
    names.insert(text.substr(0, text.find_first_of("([ ")));
  }
  return names;
}

TEST(ExportsTest, CommonLibraryShowsItsTwoFunctions) {
  EXPECT_EQ(exportsOf(KVCOMMON_LIBRARY), (Names{"kv_getUTF8", "kv_malloc"}));
}

TEST(ExportsTest, ClientLibraryShowsTheInterfaceAlone) {
  EXPECT_EQ(exportsOf(KVCLIENT_LIBRARY), (Names{"Platform::char8ToFloat64",
                                                "Platform::float64ToChar8",
                                                "Platform::kv_free",
                                                "Platform::relativeHighResTimeFloat",
                                                "decimal64::toString",
                                                "devhost::checkFreedBlocks",
                                                "devhost::customObject",
                                                "devhost::ledgerLevel",
                                                "devhost::liveBlocks",
                                                "devhost::makeBuffer",
                                                "devhost::makeCustom",
                                                "devhost::makeDecimal",
                                                "devhost::maskSecret",
                                                "devhost::publishedStatus",
                                                "devhost::setLedgerLevel",
                                                "devhost::setLogLevel",
                                                "devhost::setLogSink",
                                                "devhost::statusItems",
                                                "qel_allocate_map",
                                                "qel_allocate_vector",
                                                "qel_copy_data",
                                                "qel_copy_string",
                                                "qel_create_user_status_item",
                                                "qel_delete_user_status_item",
                                                "qel_free_buffer",
                                                "qel_free_custom",
                                                "qel_free_map",
                                                "qel_free_string",
                                                "qel_free_vector",
                                                "qel_get_log_level",
                                                "qel_hash_string",
                                                "qel_log_at",
                                                "qel_reallocate_map",
                                                "qel_reallocate_vector",
                                                "qel_set_user_status_item",
                                                "qel_set_user_status_map"}));
}

}  // namespace
