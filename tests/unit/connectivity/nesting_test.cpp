// Values nested 10,000 deep are handled on a stack of 8 MiB.
#include <gtest/gtest.h>
#include <pthread.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "connectivity/Message.h"
#include "connectivity/extractConfiguration.h"
#include "connectivity/to_string.h"
#include "connectivity/value_hash.h"
#include "tests/unit/connectivity/failure.h"
#include "tests/unit/connectivity/made_values.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SANITIZERS_WIDEN_FRAMES
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define SANITIZERS_WIDEN_FRAMES
#endif
#endif

namespace tests {
namespace {

using product::data_t;
using product::map_t;
using product::to_string;

constexpr int depth = 10000;
#if defined(SANITIZERS_WIDEN_FRAMES)
constexpr std::size_t stackSize = std::size_t{256} << 20;
#else
constexpr std::size_t stackSize = std::size_t{8} << 20;
#endif

void* runBody(void* body) {
  (*static_cast<std::function<void()>*>(body))();
  return nullptr;
}

/// Runs the body on a thread of its own with that stack.
void onThatStack(std::function<void()> body) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, stackSize), 0);
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, &attributes, runBody, &body), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

data_t nestedLists(std::int64_t innermost) {
  data_t value = innermost;
  for (int level = 0; level < depth; ++level) value = listOf(std::move(value));
  return value;
}

data_t nestedMaps(data_t innermost) {
  data_t value = std::move(innermost);
  for (int level = 0; level < depth; ++level) {
    map_t map;
    map["k"] = std::move(value);
    value = std::move(map);
  }
  return value;
}

std::string repeated(const std::string& text) {
  std::string all;
  for (int level = 0; level < depth; ++level) all += text;
  return all;
}

TEST(NestingTest, ListsAreRendered) {
  onThatStack([] { EXPECT_EQ(to_string(nestedLists(1)), repeated("[") + "1" + repeated("]")); });
}

TEST(NestingTest, MapsAreRendered) {
  onThatStack([] { EXPECT_EQ(to_string(nestedMaps(integer(1))), repeated("{k:") + "1" + repeated("}")); });
}

TEST(NestingTest, MessagesAreRendered) {
  onThatStack([] {
    product::Message message(nestedLists(1));
    message.putMetadataValue("k", nestedMaps(data_t()));
    EXPECT_EQ(to_string(message).size(), (depth + 1) * 4u + 6 + 3 + 2 * depth + 1);
  });
}

TEST(NestingTest, ListsAreCompared) {
  onThatStack([] {
    const data_t one = nestedLists(1), same = nestedLists(1), other = nestedLists(2);
    EXPECT_TRUE(one == same);
    EXPECT_FALSE(one == other);
  });
}

TEST(NestingTest, MapsAreCompared) {
  onThatStack([] {
    const data_t one = nestedMaps(integer(1)), same = nestedMaps(integer(1)), other = nestedMaps(integer(2));
    EXPECT_TRUE(one == same);
    EXPECT_FALSE(one == other);
  });
}

TEST(NestingTest, ListsAreHashed) {
  onThatStack([] {
    const std::uint64_t ofOne = hash(nestedLists(1), 7);
    EXPECT_EQ(ofOne, hash(integer(1), product::tableSeed));
    EXPECT_NE(ofOne, hash(nestedLists(2), 7));
  });
}

TEST(NestingTest, MapsAreHashed) {
  onThatStack([] {
    const std::uint64_t ofOne = hash(nestedMaps(integer(1)), 7);
    EXPECT_EQ(ofOne, hash(nestedMaps(integer(1)), 7));
    EXPECT_NE(ofOne, hash(nestedMaps(integer(2)), 7));
  });
}

TEST(NestingTest, HashOfADeepCustomValueIsRefused) {
  onThatStack([] {
    const data_t value = nestedMaps(custom());
    EXPECT_EQ(failureOf([&] { return hash(value, 7); }), "Cannot use custom values as a key");
  });
}

TEST(NestingTest, ListsAreKeys) {
  onThatStack([] {
    map_t map;
    map[nestedLists(1)] = "value";
    EXPECT_STREQ(map.at(nestedLists(1)).get<const char*>(), "value");
    EXPECT_FALSE(map.contains(nestedLists(2)));
  });
}

TEST(NestingTest, ValuesAreCopiedMovedAndDestroyed) {
  onThatStack([] {
    data_t list = nestedLists(1), map = nestedMaps(integer(1));
    EXPECT_TRUE(list.copy() == list);
    EXPECT_TRUE(map.get<map_t>().copy() == map.get<map_t>());
    list = std::move(map);
    list = data_t();
  });
}

TEST(NestingTest, EmptyMapsPassTheCheckOfAConfiguration) {
  onThatStack([] {
    const data_t config = nestedMaps(map_t());
    EXPECT_EQ(failureOf([&] { return product::extractConfiguration("Label", config.get<map_t>()); }), "(no failure)");
  });
}

TEST(NestingTest, EntryLeftInAConfigurationIsReported) {
  onThatStack([] {
    const data_t config = nestedMaps(integer(1));
    const std::string path = repeated("/k").substr(1);
    EXPECT_EQ(failureOf([&] { return product::extractConfiguration("Label", config.get<map_t>()); }),
              "Unknown configuration element " + path + " in Label");
  });
}

}  // namespace
}  // namespace tests
