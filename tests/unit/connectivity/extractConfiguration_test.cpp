#include "connectivity/extractConfiguration.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include "tests/support/TestHost.h"
#include "tests/unit/connectivity/extraction.h"

namespace tests {
namespace {

using product::ConfigKey;
using product::data_t;
using product::either;
using product::extractConfiguration;
using product::map_t;
using product::nested;

TEST(ExtractConfigurationTest, GivesTheValuesInTheOrderOfTheElements) {
  const auto [name, size, flag, mode] =
      extractConfiguration(label, mapFromJson(R"({"mode": "AUTO", "flag": true, "size": 5, "name": "text"})"),
                           String{plain("name"), true, ""}, Integer{plain("size"), true, 0},
                           Boolean{plain("flag"), true, false}, Mode{plain("mode"), true, {}});
  EXPECT_EQ(name, "text");
  EXPECT_EQ(size, 5);
  EXPECT_TRUE(flag);
  EXPECT_EQ(mode.word, "auto");
}

TEST(ExtractConfigurationTest, GivesDefaultsForMissingKeys) {
  const auto [name, size, flag] =
      extractConfiguration(label, mapFromJson("{}"), String{plain("name"), false, "default"},
                           Integer{plain("size"), false, -1}, Boolean{plain("flag"), false, true});
  EXPECT_EQ(name, "default");
  EXPECT_EQ(size, -1);
  EXPECT_TRUE(flag);
}

TEST(ExtractConfigurationTest, GivesDefaultsWithoutABlock) {
  const auto [size] = extractConfiguration(label, map_t(), Integer{plain("size"), false, 7});
  EXPECT_EQ(size, 7);
}

TEST(ExtractConfigurationTest, DoesNotValidateADefault) {
  const auto [mode] = extractConfiguration(label, map_t(), Mode{plain("mode"), false, std::string("Whatever")});
  EXPECT_EQ(mode.word, "Whatever");
}

TEST(ExtractConfigurationTest, TakesNoElementsOfNothing) {
  EXPECT_EQ(failureOfExtracting("{}"), "(no failure)");
}

TEST(ExtractConfigurationTest, LeavesTheConfigurationAsItIs) {
  const map_t config = mapFromJson(R"({"a": 1, "b": {"c": "x"}})");
  extractConfiguration(label, config, Integer{plain("a"), true, 0}, String{nested{"b", "c"}, true, ""});
  EXPECT_EQ(toJson(config), R"({"a":1,"b":{"c":"x"}})");
  EXPECT_EQ(config.header()->tombstones, 0u);
  failureOfExtracting(config, Integer{plain("a"), true, 0});
  EXPECT_EQ(toJson(config), R"({"a":1,"b":{"c":"x"}})");
}

TEST(ExtractConfigurationTest, EndsWithTheFirstFailure) {
  EXPECT_EQ(failureOfExtracting(R"({"b": "x", "z": 1})", Integer{plain("a"), true, 0}, Integer{plain("b"), true, 0}),
            "MarlovanceCodec missing required configuration element a");
  EXPECT_EQ(failureOfExtracting(R"({"b": "x", "z": 1})", Integer{plain("b"), true, 0}, Integer{plain("a"), true, 0}),
            "MarlovanceCodec configuration b must be an integer");
}

TEST(ExtractConfigurationTest, RefusesAMissingMandatoryKey) {
  EXPECT_EQ(failureOfExtracting("{}", String{plain("k"), true, "default"}),
            "MarlovanceCodec missing required configuration element k");
}

TEST(ExtractConfigurationTest, ConsumesAKeyWithTheFirstElementThatNamesIt) {
  const auto [first, second] = extractConfiguration(label, mapFromJson(R"({"k": 1})"), Integer{plain("k"), true, 0},
                                                    Integer{plain("k"), false, 99});
  EXPECT_EQ(first, 1);
  EXPECT_EQ(second, 99);
  EXPECT_EQ(failureOfExtracting(R"({"k": 1})", Integer{plain("k"), true, 0}, Integer{plain("k"), true, 0}),
            "MarlovanceCodec missing required configuration element k");
}

TEST(ExtractConfigurationTest, UsesTheLabelItIsGiven) {
  EXPECT_EQ(failureOf([] {
              return extractConfiguration("Other", map_t(), Integer{plain("k"), true, 0});
            }),
            "Other missing required configuration element k");
}

TEST(ExtractConfigurationTest, FreesEverythingAfterAFailure) {
  const LiveBlocks before = TestHost::liveBlocks();
  failureOfExtracting(R"({"k": {"$custom": 1}, "other": ["x"]})", Integer{plain("k"), true, 0});
  EXPECT_EQ(TestHost::liveBlocks(), before);
}

// ---- nested keys

TEST(ConfigNestedTest, IsReadThroughItsMaps) {
  const auto [value, other] =
      extractConfiguration(label, mapFromJson(R"({"a": {"b": {"c": 5, "d": "x"}}})"),
                           Integer{nested{"a", "b", "c"}, true, 0}, String{nested{"a", "b", "d"}, true, ""});
  EXPECT_EQ(value, 5);
  EXPECT_EQ(other, "x");
}

TEST(ConfigNestedTest, MayHaveOneNameOnly) {
  const auto [value] = extractConfiguration(label, mapFromJson(R"({"a": 5})"), Integer{nested{"a"}, true, 0});
  EXPECT_EQ(value, 5);
}

TEST(ConfigNestedTest, IsMissingAtAnyLevel) {
  const Integer mandatory{nested{"a", "b", "c"}, true, 0};
  const char* missing = "MarlovanceCodec missing required configuration element a/b/c";
  EXPECT_EQ(failureOfExtracting("{}", mandatory), missing);
  EXPECT_EQ(failureOfExtracting(R"({"a": {}})", mandatory), missing);
  EXPECT_EQ(failureOfExtracting(R"({"a": {"b": {}}})", mandatory), missing);
  const auto [value] =
      extractConfiguration(label, mapFromJson(R"({"a": {"b": {}}})"), Integer{nested{"a", "b", "c"}, false, 9});
  EXPECT_EQ(value, 9);
}

TEST(ConfigNestedTest, RefusesAPathThroughWhatIsNoMap) {
  const char* failure = "MarlovanceCodec configuration a/b incorrectly nested map";
  for (const char* config : {R"({"a": 1})", R"({"a": null})", R"({"a": "x"})", R"({"a": [1]})"}) {
    EXPECT_EQ(failureOfExtracting(config, Integer{nested{"a", "b"}, false, 0}), failure) << config;
  }
  EXPECT_EQ(failureOfExtracting(R"({"a": {"b": 1}})", Integer{nested{"a", "b", "c"}, false, 0}),
            "MarlovanceCodec configuration a/b/c incorrectly nested map");
}

TEST(ConfigNestedTest, RefusesAWrongTypeByItsWholePath) {
  EXPECT_EQ(failureOfExtracting(R"({"a": {"b": "x"}})", Integer{nested{"a", "b"}, true, 0}),
            "MarlovanceCodec configuration a/b must be an integer");
}

TEST(ConfigNestedTest, RefusesAnEmptyPath) {
  EXPECT_EQ(failureOfExtracting("{}", Integer{nested{}, false, 0}),
            "MarlovanceCodec configuration cannot specify an empty nested{} name");
}

TEST(ConfigNestedTest, LeavesItsEmptyMapsBehindWithoutAnError) {
  EXPECT_EQ(failureOfExtracting(R"({"a": {"b": {"c": 1}}})", Integer{nested{"a", "b", "c"}, true, 0}), "(no failure)");
}

// ---- alternatives

TEST(ConfigEitherTest, TakesTheOneThatIsThere) {
  const Integer element{either(plain("a"), plain("b")), true, 0};
  EXPECT_EQ(std::get<0>(extractConfiguration(label, mapFromJson(R"({"a": 1})"), element)), 1);
  EXPECT_EQ(std::get<0>(extractConfiguration(label, mapFromJson(R"({"b": 2})"), element)), 2);
}

TEST(ConfigEitherTest, GivesTheDefaultWhenNeitherIsThere) {
  const Integer element{either(plain("a"), plain("b")), false, 9};
  EXPECT_EQ(std::get<0>(extractConfiguration(label, mapFromJson("{}"), element)), 9);
}

TEST(ConfigEitherTest, NamesTheSecondWhenNeitherIsThere) {
  EXPECT_EQ(failureOfExtracting("{}", Integer{either(plain("a"), plain("b")), true, 0}),
            "MarlovanceCodec missing required configuration element b");
}

TEST(ConfigEitherTest, RefusesBoth) {
  EXPECT_EQ(failureOfExtracting(R"({"a": 1, "b": 2})", Integer{either(plain("a"), plain("b")), true, 0}),
            "You cannot specify both a and b for MarlovanceCodec configuration");
  EXPECT_EQ(failureOfExtracting(R"({"a": {"x": 1}, "b": 2})", Integer{either(nested{"a", "x"}, plain("b")), true, 0}),
            "You cannot specify both a/x and b for MarlovanceCodec configuration");
}

TEST(ConfigEitherTest, NamesTheOneThatIsWrong) {
  const Integer element{either(plain("a"), plain("b")), true, 0};
  EXPECT_EQ(failureOfExtracting(R"({"a": "x"})", element), "MarlovanceCodec configuration a must be an integer");
  EXPECT_EQ(failureOfExtracting(R"({"b": "x"})", element), "MarlovanceCodec configuration b must be an integer");
}

TEST(ConfigEitherTest, HoldsAlternativesInItself) {
  const ConfigKey inner = either(plain("a"), plain("b"));
  const Integer element{either(inner, nested{"c", "d"}), true, 0};
  EXPECT_EQ(std::get<0>(extractConfiguration(label, mapFromJson(R"({"b": 2})"), element)), 2);
  EXPECT_EQ(std::get<0>(extractConfiguration(label, mapFromJson(R"({"c": {"d": 3}})"), element)), 3);
  EXPECT_EQ(failureOfExtracting("{}", element), "MarlovanceCodec missing required configuration element c/d");
  EXPECT_EQ(failureOfExtracting(R"({"a": 1, "c": {"d": 3}})", element),
            "You cannot specify both a and c/d for MarlovanceCodec configuration");
}

TEST(ConfigEitherTest, ResolvesTheSecondThoughTheFirstIsFound) {
  EXPECT_EQ(failureOfExtracting(R"({"a": 1, "b": 2})", Integer{either(plain("a"), nested{"b", "c"}), true, 0}),
            "MarlovanceCodec configuration b/c incorrectly nested map");
}

// ---- where a key is found

TEST(ConfigResolveTest, GivesMapNameAndPosition) {
  map_t root = mapFromJson(R"({"a": {"b": 1}, "c": 2})");
  const auto plainKey = product::resolve(label, plain("c"), root);
  EXPECT_EQ(plainKey.map, &root);
  EXPECT_EQ(plainKey.displayName, "c");
  EXPECT_TRUE(plainKey.position == root.find("c"));
  map_t& inner = root.find("a")->second.get<map_t>();
  const auto nestedKey = product::resolve(label, nested{"a", "b"}, root);
  EXPECT_EQ(nestedKey.map, &inner);
  EXPECT_EQ(nestedKey.displayName, "a/b");
  EXPECT_TRUE(nestedKey.position == inner.find("b"));
}

TEST(ConfigResolveTest, GivesTheEndOfTheRootForWhatIsMissingAtAnyLevel) {
  map_t root = mapFromJson(R"({"a": {"b": {}}})");
  for (const ConfigKey& key :
       {plain("x"), ConfigKey(nested{"x", "y"}), ConfigKey(nested{"a", "x", "y"}), ConfigKey(nested{"a", "b", "x"})}) {
    const auto found = product::resolve(label, key, root);
    EXPECT_EQ(found.map, &root);
    EXPECT_TRUE(found.position == root.end());
  }
}

// ---- what remains

TEST(ConfigLeftoverTest, IsReported) {
  EXPECT_EQ(failureOfExtracting(R"({"k": 1})"), "Unknown configuration element k in MarlovanceCodec");
  EXPECT_EQ(failureOfExtracting(R"({"k": 1, "known": 2})", Integer{plain("known"), true, 0}),
            "Unknown configuration element k in MarlovanceCodec");
}

TEST(ConfigLeftoverTest, IsReportedWhateverItsType) {
  for (const char* config : {R"({"k": null})", R"({"k": "x"})", R"({"k": []})", R"({"k": {"$buffer": ""}})",
                             R"({"k": {"$custom": 1}})", R"({"k": {"$decimal": 1}})"}) {
    EXPECT_EQ(failureOfExtracting(config), "Unknown configuration element k in MarlovanceCodec") << config;
  }
}

TEST(ConfigLeftoverTest, IsReportedByItsPath) {
  EXPECT_EQ(failureOfExtracting(R"({"a": {"b": {"c": 1}}})"), "Unknown configuration element a/b/c in MarlovanceCodec");
  EXPECT_EQ(failureOfExtracting(R"({"a": {"b": null}})"), "Unknown configuration element a/b in MarlovanceCodec");
  EXPECT_EQ(failureOfExtracting(R"({"a": {"known": 1, "other": 2}})", Integer{nested{"a", "known"}, true, 0}),
            "Unknown configuration element a/other in MarlovanceCodec");
}

TEST(ConfigLeftoverTest, MayBeAnEmptyMap) {
  EXPECT_EQ(failureOfExtracting(R"({"a": {}, "b": {"c": {}}, "d": {"$name": "n", "$map": {}}})"), "(no failure)");
  map_t config;
  config["a"] = map_t();
  EXPECT_EQ(failureOfExtracting(config), "(no failure)");
}

TEST(ConfigLeftoverTest, IsReportedInSlotOrder) {
  // Hashes of the test's choice place the keys; a copy places them alike.
  TestHost::useHash([](std::string_view key) { return key == "later" ? std::uint64_t{6} : std::uint64_t{2}; });
  map_t config;
  config["later"] = true;
  config["sooner"] = true;
  EXPECT_EQ(failureOfExtracting(config), "Unknown configuration element sooner in MarlovanceCodec");
}

TEST(ConfigLeftoverTest, HasAStringForAKey) {
  map_t config;
  config[integer(5)] = map_t();
  testing::internal::CaptureStderr();
  EXPECT_EQ(failureOf([&] { return extractConfiguration(label, config); }),
            "Incorrect type in get (you asked for string but it's actually integer)");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "GetVisitor<PKc>.operator()(PKc)\n");
}

TEST(ConfigLeftoverTest, HasAStringForANestedKeyToo) {
  map_t inner, config;
  inner[data_t(true)] = std::int64_t{1};
  config["a"] = std::move(inner);
  EXPECT_EQ(failureOfExtracting(config), "Incorrect type in get (you asked for string but it's actually boolean)");
}

TEST(ConfigLeftoverTest, IsWhatABorrowedKeyHolds) {
  TestHost::copyBorrowedStringsAsOwned(false);
  map_t config;
  config[borrowed("k")] = std::int64_t{1};
  EXPECT_EQ(failureOfExtracting(config, Integer{plain("k"), false, 0}),
            "Unknown configuration element k in MarlovanceCodec");
}

}  // namespace
}  // namespace tests
