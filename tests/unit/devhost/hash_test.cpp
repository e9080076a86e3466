#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "connectivity/host_abi.h"

namespace {

struct Case {
  const char* text;
  std::uint64_t hash;
};

void PrintTo(const Case& each, std::ostream* out) {
  *out << '"' << each.text << '"';
}

class HashTest : public testing::TestWithParam<Case> {};

TEST_P(HashTest, IsTheSameInEveryModuleAndRun) {
  EXPECT_EQ(qel_hash_string(GetParam().text), GetParam().hash);
}

// No tail, tails of each kind, and bytes above 127.
INSTANTIATE_TEST_SUITE_P(Texts, HashTest,
                         testing::Values(Case{"", 0xE36925AE8296B197}, Case{"a", 0x60455235038D56CB},
                                         Case{"id", 0xBB1430B8007AEF41}, Case{"name", 0x6A0B32C0F30E9628},
                                         Case{"payload", 0x5B7743E87372A850}, Case{"http.uri", 0x3596266F17165682},
                                         Case{"requestId", 0x9ED2C389B68D1BAF},
                                         Case{"concurrencyControlKey", 0xDA830379AA6FF1A6},
                                         Case{"Größe", 0x473EB0313E88DC6C}));

TEST(HashOfAddressTest, DependsOnTheBytesAlone) {
  const std::string twice = "-http.uri|http.uri";
  EXPECT_EQ(qel_hash_string(twice.c_str() + 10), qel_hash_string("http.uri"));
}

}  // namespace
