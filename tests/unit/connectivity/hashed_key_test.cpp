// Ready-made keys, and a map's operations with them beside the same with plain keys.
#include "connectivity/hashed_key.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

#include "connectivity/Message.h"
#include "connectivity/conversion.h"
#include "tests/support/TestHost.h"
#include "tests/unit/connectivity/failure.h"
#include "tests/unit/connectivity/made_values.h"

namespace tests {
namespace {

using product::data_t;
using product::hashed_key;
using product::map_t;

class HashedKeyTest : public testing::Test {
 protected:
  const hashed_key name{"name"};
  const hashed_key other{"other"};
};

TEST_F(HashedKeyTest, IsAnOwnedStringWithTheHostsHash) {
  EXPECT_TRUE(name.is(product::Tag::string));
  EXPECT_EQ(name.get<std::string>(), "name");
  EXPECT_EQ(name.hash(), qel_hash_string("name"));
  EXPECT_EQ(hashed_key(std::string("text")).get<std::string>(), "text");
}

TEST_F(HashedKeyTest, OfNothingIsTheEmptyValue) {
  const hashed_key nothing;
  EXPECT_TRUE(nothing.empty());
  map_t map;
  map[nothing] = data_t(std::int64_t{1});  // the one way to store an empty key
  EXPECT_TRUE(map.contains(nothing));
}

TEST_F(HashedKeyTest, MovesWithItsHash) {
  hashed_key source("name"), target;
  target = hashed_key(std::move(source));
  EXPECT_EQ(target.get<std::string>(), "name");
  EXPECT_EQ(target.hash(), name.hash());
  const hashed_key nothing;
  map_t map;
  map[nothing] = true;
  EXPECT_FALSE(map.contains(target));
  EXPECT_TRUE(source.empty());
  EXPECT_TRUE(map.contains(source)) << "what is left is the key of nothing";
}

TEST_F(HashedKeyTest, FindsWhatAPlainKeyStored) {
  map_t map;
  map.insert("name", std::int64_t{1});
  EXPECT_EQ(map.find(name)->second.get<std::int64_t>(), 1);
  EXPECT_EQ(std::as_const(map).find(name)->second.get<std::int64_t>(), 1);
  EXPECT_EQ(map.at(name).get<std::int64_t>(), 1);
  EXPECT_TRUE(map.contains(name));
  EXPECT_TRUE(map.find(other) == map.end());
  EXPECT_FALSE(map.contains(other));
}

TEST_F(HashedKeyTest, IsLookedUpWithoutAHostOperation) {
  map_t map;
  map.insert("name", std::int64_t{1});
  TestHost::forgetCalls();
  EXPECT_TRUE(map.contains(name));
  EXPECT_FALSE(map.contains(other));
  static_cast<void>(map.at(name));
  map.set(name, std::int64_t{2});
  map.erase(other);
  EXPECT_EQ(TestHost::calls(HostCall::qel_hash_string), 0u);
  EXPECT_EQ(TestHost::calls(HostCall::qel_copy_string), 0u);
}

TEST_F(HashedKeyTest, IsAnotherKeyThanABorrowedString) {
  map_t map;
  map.insert(borrowed("name"), std::int64_t{1});
  EXPECT_FALSE(map.contains(name));
}

TEST_F(HashedKeyTest, IsStoredBesideABorrowedString) {
  map_t map;
  map.insert(borrowed("name"), std::int64_t{1});
  map.set(name, std::int64_t{2});
  EXPECT_EQ(map.size(), 2u);
  EXPECT_EQ(map.at(borrowed("name")).get<std::int64_t>(), 1);
  EXPECT_EQ(map.at(name).get<std::int64_t>(), 2);
  map.erase(name);
  EXPECT_TRUE(map.insert(name, std::int64_t{3}).second);
  EXPECT_TRUE(map.erase(name));
  EXPECT_EQ(map.size(), 1u);
  EXPECT_EQ(map.at(borrowed("name")).get<std::int64_t>(), 1);
}

TEST_F(HashedKeyTest, WithoutAnEntryFails) {
  map_t map;
  try {
    map.at(name);
    FAIL();
  } catch (const std::runtime_error& failure) {
    EXPECT_STREQ(failure.what(), "Element not in map");
  }
}

TEST_F(HashedKeyTest, IsInsertedAsACopy) {
  map_t map;
  const auto [entry, isNew] = map.insert(name, std::int64_t{1});
  EXPECT_TRUE(isNew);
  EXPECT_EQ(entry->first.get<std::string>(), "name");
  EXPECT_NE(entry->first.bits(), name.bits());
  EXPECT_TRUE(map.contains("name"));
}

TEST_F(HashedKeyTest, InsertedAgainLeavesTheEntryAsItIs) {
  map_t map;
  map.insert(name, std::int64_t{1});
  data_t rejected("text");
  const auto [entry, isNew] = map.insert(name, std::move(rejected));
  EXPECT_FALSE(isNew);
  EXPECT_EQ(entry->second.get<std::int64_t>(), 1);
  EXPECT_TRUE(rejected.empty());
}

TEST_F(HashedKeyTest, IsSetWhetherItIsThereOrNot) {
  map_t map;
  EXPECT_EQ(map.set(name, std::int64_t{1}).get<std::int64_t>(), 1);
  EXPECT_EQ(map.set(name, "text").get<std::string>(), "text");
  EXPECT_EQ(map.size(), 1u);
  EXPECT_EQ(map.at("name").get<std::string>(), "text");
}

TEST_F(HashedKeyTest, EntriesSurviveTheGrowthOfTheTable) {
  map_t map;
  for (int number = 0; number < 100; ++number) map.set(hashed_key(std::to_string(number)), std::int64_t{number});
  for (int number = 0; number < 100; ++number)
    EXPECT_EQ(map.at(data_t(std::to_string(number))).get<std::int64_t>(), number);
  EXPECT_EQ(map.size(), 100u);
}

TEST_F(HashedKeyTest, IsErasedAndTaken) {
  map_t map;
  map.set(name, std::int64_t{1});
  map.set(other, std::int64_t{2});
  EXPECT_EQ(map.take(other).get<std::int64_t>(), 2);
  EXPECT_TRUE(map.take(other).empty());
  EXPECT_TRUE(map.erase(name));
  EXPECT_FALSE(map.erase(name));
  EXPECT_TRUE(map.empty());
}

TEST_F(HashedKeyTest, OfNothingIsRefusedByInsertionAndMetadata) {
  const hashed_key nothing;
  map_t map;
  map[nothing] = data_t(std::int64_t{1});
  EXPECT_EQ(failureOf([&] { map.insert(nothing, data_t()); }), "Cannot have a null key");
  EXPECT_EQ(failureOf([&] { map.set(nothing, data_t()); }), "Cannot have a null key");
  product::Message message;
  EXPECT_EQ(failureOf([&] { message.putMetadataValue(nothing, data_t()); }),
            "Cannot use non-string keys into metadata");
}

TEST_F(HashedKeyTest, SetsMetadata) {
  product::Message message;
  message.putMetadataValue(name, std::int64_t{1}).putMetadataValue(name, std::int64_t{2});
  EXPECT_EQ(message.getMetadataMap().at("name").get<std::int64_t>(), 2);
}

}  // namespace
}  // namespace tests
